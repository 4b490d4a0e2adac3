// One sweep: every command line, with everything that can go wrong with each of its messages.
//
// lines.cpp has the command lines, cases.cpp what can go wrong and what is to come of it, run.cpp
// one run in a process and a phone of its own, sweep.cpp the whole.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "support/desk.h"

namespace sweep {

struct Line {
  std::string words;
  std::string probe;  // run in the same process, with the phone as new, whatever has happened
  int limit_s;        // of virtual time, whatever happens
  bool euicc;         // slot 2 is connected to the eUICC
  bool recovers;      // its clients outlast a restart; others are the process's for good
};
// Every command line that has messages on the bus.
const std::vector<Line>& lines();

// A message that passed: the nth of its service and kind.
struct Message : desk::Message {
  uint32_t nth;
};

// What goes wrong: a rule for phone.toml, or the bus, which is lost with the nth request of all.
struct Fault {
  static constexpr uint32_t kNoBus = UINT32_MAX;  // there is none from the start

  std::string toml;
  uint32_t cut_at = 0;    // 0: the bus stays
  bool answered = false;  // the modem still gets that request
  std::string capture{};  // a file that the bus is captured to
  std::string replay{};   // one that the modem answers from
};

// NV items and EFS files: path and contents.
using State = std::set<std::pair<std::string, std::string>>;

struct Run {
  int status = -1;  // of the process, as a shell has it
  int64_t virtual_ms = -1;
  int descriptors = 0;
  int threads = 0;
  std::string output;             // of both streams; error and debug lines are marked
  std::string probe;              // what the probe then wrote
  std::vector<Message> messages;  // of the command
  State state;                    // when it ended
};
inline constexpr char kErrorMark[] = "E ";
inline constexpr char kDebugMark[] = "D ";

// A phone that has what the command lines ask for.
void make_phone(const std::string& phone, bool euicc);
State state_of(const std::string& phone);
// Starts the run in a child process, with a copy of that phone; its files go below `folder`, which
// is there and empty. `clean` is the run in which nothing goes wrong, once that is known.
int start(const Line& line, const Fault& fault, const Run& clean, const std::string& phone,
          const std::string& folder);
// What it left there, given how the child ended.
Run result(const std::string& folder, int wait_status);

struct Case {
  const Line& line;
  const State& before;  // the phone
  const Run& clean;
  Message message;  // what it happens to, as it is in the clean run
  std::string action;
  bool fatal;  // the exchange cannot succeed
  Fault fault;

  std::string name() const;
};
// Every case of a line. The seed chooses the octets that are changed at random.
std::vector<Case> cases_of(const Line& line, const State& before, const Run& clean, uint32_t seed);

// Whether the command need not report it, and a table of those: what, and why.
bool is_excepted(const Case& c);
std::string exceptions();

enum Outcome { kFailure, kSuccess, kUnaffected };
// Whether the run reported a failure that the clean one has not; else whether it printed the same.
Outcome outcome_of(const Case& c, const Run& run);
// What it printed, without the debug lines, whose order and addresses vary.
std::string shown(const std::string& output);
// What is wrong with a run; empty when nothing is. Without a case: what holds for a clean one too.
std::string problem_of(const Case& c, const Run& run);
std::string problem_of(const Line& line, const Run& run);

}  // namespace sweep

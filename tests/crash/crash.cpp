// What is left of a phone, whatever ends or fails while its files are changed.
//
// Every command line here is ended at each of its changes of the phone in turn: killed, killed in
// the middle of a write, and the power lost. And it is run with the nth allocation, thread or call
// of a kind failing, for every n.
//
// Then each file of the phone has its old contents or new ones, a run that did not fail has done
// what it does, and the same command line, run once more with nothing in its way, ends as it
// should.
//
//   usage: crash [--part N] [--only TEXT]
//
// --part: only every Nth allocation. --only: the cases whose names have that text, with what they
// write.

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <set>
#include <thread>
#include <vector>

#include "crash/calls.h"
#include "sim/phone/phone.h"
#include "support/command.h"
#include "vex/process.h"

namespace {

namespace fs = std::filesystem;
using crash::Call;
using crash::Counts;
using crash::Plan;
using crash::Then;

constexpr unsigned kHungAfterS = 60;  // of real time; a run takes a few hundredths

struct Line {
  const char* words;
  bool makes_phone = false;     // there is none before
  bool loses_unsynced = false;  // the phone keeps what a restart brings back
  bool changes = true;          // the phone
};

constexpr Line kLines[] = {
    {.words = "4 1 0 550", .makes_phone = true},
    {.words = "4 2 0 551 1 2 3"},
    {.words = "4 2 0 550 1 2 3", .loses_unsynced = true},
    {.words = "4 3 0 550"},
    {.words = "4 5 0 /crash/new/file 7 8 9"},
    {.words = "4 5 0 /crash/file 7 8 9", .loses_unsynced = true},
    {.words = "4 6 0 /crash/file"},
    {.words = "3 0 1 2 3"},
    {.words = "5 10 1 1"},
    {.words = "5 10 2 1"},
    {.words = "11 3 1"},
    {.words = "11 4 1"},
    {.words = "5 0 0 0 1000 0", .changes = false},
    {.words = "9 31 0", .changes = false},
    {.words = "10 0 1", .changes = false},
    {.words = "12 0", .changes = false},
};

using State = desk::Files;

struct Run {
  int status = -1;  // as a shell has it
  std::string output;
  State state;
  Counts counts{};
  std::set<std::string> versions;  // what files were replaced with
};

// Logs and dumps have the time in them, scratch files are nobody's state, and of the marker only
// its existence matters.
bool is_state(const std::string& path) {
  for (const char* other : {"log/", "dump/", ".vex-scratch/", ".vex-phone", ".lock"}) {
    if (path.starts_with(other)) return false;
  }
  return true;
}

State state_of(const fs::path& phone) {
  State state = desk::files_below(phone);
  std::erase_if(state, [](const auto& file) { return !is_state(file.first); });
  return state;
}

void write(const fs::path& path, const std::string& contents) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << contents;
}

void make_phone(const std::string& phone, const Line& line) {
  if (line.makes_phone) return;
  fs::create_directory(phone);
  std::string why;
  if (!sim::Phone(phone).prepare(&why)) std::abort();
  write(phone + "/efs/0/crash/file", std::string(300, '\2'));
  if (line.loses_unsynced) {
    write(phone + "/phone.toml", "[modem]\nunsynced = \"lost\"\n");
  }
}

// In a child.
[[noreturn]] void run(const char* words, const Plan& plan, const std::string& folder,
                      Counts* counts) {
  ::alarm(kHungAfterS);
  ::setenv("VEX_PHONE", (folder + "/phone").c_str(), 1);
  ::setenv("VEX_MODEM", "embedded", 1);
  desk::write_to(folder + "/output");
  desk::TestClock::install().run_by_itself();
  desk::Vex vex{std::string(words)};
  vex::prepare_process();
  crash::begin(plan, folder, counts);
  vex.run();
  std::fflush(stdout);
  crash::end();
  std::_Exit(0);
}

pid_t start(const char* words, const Plan& plan, const std::string& folder, Counts* counts) {
  const pid_t child = ::fork();
  if (child == 0) run(words, plan, folder, counts);
  return child;
}

Run wait_for(pid_t child, const std::string& folder, const Counts& counts) {
  int status = 0;
  if (::waitpid(child, &status, 0) != child) std::abort();
  Run run{desk::shell_status(status),
          desk::read(folder + "/output"),
          state_of(folder + "/phone"),
          counts,
          {}};
  for (const auto& [path, contents] : desk::files_below(folder + "/versions")) {
    run.versions.insert(contents);
  }
  return run;
}

// What is wrong with the files that are left.
std::string problem_of(const State& before, const Run& clean, const State& state) {
  std::set<std::string> paths;
  for (const State* each : {&before, &clean.state, &state}) {
    for (const auto& [path, contents] : *each) paths.insert(path);
  }
  for (const std::string& path : paths) {
    const auto now = state.find(path);
    if (now == state.end()) {
      if (before.contains(path) && clean.state.contains(path)) return path + " is gone";
      continue;
    }
    const auto old = before.find(path);
    if ((old == before.end() || old->second != now->second) &&
        !clean.versions.contains(now->second)) {
      return path + " is neither old nor new";
    }
  }
  return "";
}

struct Case {
  const Line* line;
  Plan plan;
  std::string name;
};

class Crash {
 public:
  Crash(std::string folder, size_t part, std::string only)
      : folder_(std::move(folder)), part_(part), only_(std::move(only)) {
    void* const shared =
        ::mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    counts_ = static_cast<Counts*>(shared);
  }

  void run_line(const Line& line) {
    const std::string phone = folder_ + "/before";
    make_phone(phone, line);
    const State before = state_of(phone);
    const Run clean = run_case(line, {});
    if (clean.status != 0 || (clean.state != before) != line.changes) {
      problem(line.words, line.changes ? "does not change the phone" : "changes the phone");
    }
    for (const Case& each : cases_of(line, clean)) {
      if (each.name.find(only_) == std::string::npos) continue;
      ++cases_;
      const Run first = run_case(line, each.plan);
      const std::string wrong = judge(each, before, clean, first);
      if (!wrong.empty()) problem(each.name, wrong);
      if (!only_.empty()) std::cout << each.name << ":\n" << first.output;
    }
    fs::remove_all(phone);
  }

  int report() const {
    std::cout << cases_ << " cases, " << problems_ << " problems\n";
    return problems_ == 0 && cases_ > 0 ? 0 : 1;
  }

 private:
  std::vector<Case> cases_of(const Line& line, const Run& clean) const {
    std::vector<Case> cases;
    const auto add = [&](Then then, Call call, uint32_t nth, const std::string& what) {
      const std::string name = std::string("vex ") + line.words +
                               (line.loses_unsynced ? " (loses unsynced)" : "") + ", " + what +
                               " " + std::to_string(nth);
      cases.push_back({&line, {then, call, nth}, name});
    };
    for (uint32_t nth = 1; nth <= clean.counts.changes; ++nth) {
      add(Then::kKill, crash::kCalls, nth, "killed after change");
      add(Then::kTear, crash::kCalls, nth, "killed within change");
      add(Then::kLosePower, crash::kCalls, nth, "power lost after change");
      add(Then::kLoseOctets, crash::kCalls, nth, "octets lost after change");
    }
    for (int call = 0; call < crash::kCalls; ++call) {
      const size_t step = call == crash::kMemory ? part_ : 1;
      for (size_t nth = 1; nth <= clean.counts.calls[static_cast<size_t>(call)]; nth += step) {
        add(Then::kFail, static_cast<Call>(call), static_cast<uint32_t>(nth),
            std::string("failing ") + crash::kNames[call]);
      }
    }
    return cases;
  }

  // The files that are left are in "phone" of the folder of the run, which is kept until the next.
  Run run_case(const Line& line, const Plan& plan) {
    const std::string own = folder_ + "/run";
    fs::remove_all(own);
    fs::create_directory(own);
    if (fs::exists(folder_ + "/before")) {
      fs::copy(folder_ + "/before", own + "/phone", fs::copy_options::recursive);
    }
    *counts_ = {};
    Run run = wait_for(start(line.words, plan, own, counts_), own, *counts_);
    if (plan.then == Then::kLosePower || plan.then == Then::kLoseOctets) {
      fs::remove_all(own + "/phone");
      if (fs::exists(own + "/lost/phone")) fs::rename(own + "/lost/phone", own + "/phone");
      run.state = state_of(own + "/phone");
    }
    return run;
  }

  std::string judge(const Case& each, const State& before, const Run& clean, const Run& first) {
    const bool ends = each.plan.then != Then::kFail;
    if (first.status != (ends ? 128 + SIGKILL : 0)) {
      return "status " + std::to_string(first.status);
    }
    if (const std::string wrong = problem_of(before, clean, first.state); !wrong.empty()) {
      return wrong;
    }
    if (!ends && first.output == clean.output && first.state != clean.state) {
      return "it was not done and nothing says so";
    }
    if (each.plan.then == Then::kLosePower && each.plan.nth == clean.counts.changes &&
        first.state != clean.state) {
      return "what was done is lost";
    }
    const std::string own = folder_ + "/run";
    const Run again = wait_for(start(each.line->words, {}, own, counts_), own, *counts_);
    if (again.status != 0) return "run again: status " + std::to_string(again.status);
    return again.state == clean.state ? "" : "run again: another state";
  }

  void problem(const std::string& name, const std::string& what) {
    std::cout << name << ": " << what << "\n";
    ++problems_;
  }

  const std::string folder_;
  const size_t part_;
  const std::string only_;
  Counts* counts_ = nullptr;
  size_t cases_ = 0;
  size_t problems_ = 0;
};

// One process a line, several at once; returns how many found something.
int run_all(const std::string& folder, size_t part, const std::string& only) {
  int bad = 0;
  size_t running = 0;
  const auto wait = [&] {
    int status = 0;
    ::wait(&status);
    --running;
    bad += status == 0 ? 0 : 1;
  };
  for (size_t i = 0; i < std::size(kLines); ++i) {
    if (running == 2 * std::max(1u, std::thread::hardware_concurrency())) wait();
    const std::string own = folder + "/" + std::to_string(i);
    fs::create_directory(own);
    ++running;
    if (::fork() != 0) continue;
    Crash crash(own, part, only);
    crash.run_line(kLines[i]);
    std::cout << "vex " << kLines[i].words << ": ";
    const int status = crash.report();
    std::cout.flush();
    std::_Exit(status);
  }
  while (running > 0) wait();
  return bad;
}

}  // namespace

int main(int argc, char** argv) {
  std::map<std::string, std::string> options;
  for (int i = 1; i + 1 < argc; i += 2) options[argv[i]] = argv[i + 1];
  const std::string folder = desk::folder_in_memory("vex-crash");
  const std::string part = options["--part"];
  const int bad = run_all(folder, part.empty() ? 1 : std::stoul(part), options["--only"]);
  fs::remove_all(folder);
  return bad == 0 ? 0 : 1;
}

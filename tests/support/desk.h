// What tests share: a phone in a temporary directory, its modem in this process, and a record of
// the messages on the simulated bus.
//
// The client library and the vendor client have one state for the process, so ctest runs each test
// in a process of its own.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qcci/wire/octets.h"
#include "sim/modem/modem.h"
#include "support/test_clock.h"

namespace desk {

// "0A FF" for octets, and back; blanks are ignored.
inline std::string hex(std::span<const uint8_t> octets) { return qcci::to_hex(octets, " "); }
inline std::string hex(std::string_view octets) { return hex(qcci::as_octets(octets)); }
inline std::vector<uint8_t> unhex(std::string_view text) { return qcci::from_hex(text).value(); }

// One message of the simulated bus, from its QMI header on.
struct Message {
  std::string service;
  sim::FaultKind kind;
  std::vector<uint8_t> octets;

  uint16_t id() const { return static_cast<uint16_t>(octets.at(3) | octets.at(4) << 8); }
  std::string tlvs() const { return hex(std::span(octets).subspan(7)); }
};

// The contents of a file, empty when there is none; and of all below a folder, by their paths from
// there.
std::string read(const std::string& path);
using Files = std::map<std::string, std::string>;
Files files_below(const std::string& folder);

// A new folder, in memory where there is such a place: a phone's every file is synced. Exits
// without.
std::string folder_in_memory(const std::string& name);

// From here on, both streams go to the descriptor, or to a new file.
void write_to(int fd);
void write_to(const std::string& path);
// Of a process, given how it ended.
int shell_status(int wait_status);

// A temporary directory for a phone, removed by the destructor. VEX_PHONE names it.
class PhoneDirectory {
 public:
  PhoneDirectory();
  ~PhoneDirectory();
  PhoneDirectory(const PhoneDirectory&) = delete;
  PhoneDirectory& operator=(const PhoneDirectory&) = delete;

  sim::Phone phone() const { return sim::Phone(root_); }
  std::string file(const std::string& path) const { return read(root_ + "/" + path); }
  bool has(const std::string& path) const;
  void write(const std::string& path, std::string_view contents) const;
  const std::string& root() const { return root_; }

 private:
  std::string root_;
};

using Modem = sim::Modem;

// A test that talks to a modem inside its process, on the test's clock.
class Desk : public testing::Test {
 protected:
  // Starts the modem of the default phone.toml with `toml` appended (tables only) and makes the
  // client library use it. It stays until the end of the process.
  Modem& start_modem(std::string_view toml = "");
  // The same with the phone.toml that the test has written.
  Modem& start_written_modem();
  // The messages of one kind so far.
  std::vector<Message> passed(sim::FaultKind kind);
  size_t requests() { return passed(sim::FaultKind::kRequest).size(); }

  TestClock& clock_ = TestClock::install();
  PhoneDirectory directory_;

 private:
  struct Record {
    base::Mutex mutex;
    std::vector<Message> messages GUARDED_BY(mutex);
  };
  std::shared_ptr<Record> record_ = std::make_shared<Record>();
};

// How many instances of a service the client library sees.
uint32_t instances(qmi_idl_service_object_type service);
// Takes the service down and up, and waits until the client library has seen both and its callbacks
// have run.
void bounce(sim::Modem& modem, qmi_idl_service_object_type service);

// What `call` writes to standard output. What has failed in it is not lost.
template <class Call>
std::string output_of(Call call) {
  testing::internal::CaptureStdout();
  call();
  std::fflush(stdout);
  const std::string output = testing::internal::GetCapturedStdout();
  if (testing::Test::HasFailure()) std::fputs(output.c_str(), stderr);
  return output;
}

// The messages of shell trace lines, without "RIL[source:line] function: ".
std::vector<std::string> trace_messages(const std::string& output);

// Whether one of them is `message`.
bool said(const std::string& output, const std::string& message);
// What the statement's trace must say.
#define EXPECT_SAYS(message, statement)                                \
  do {                                                                 \
    const std::string said_here = desk::output_of([&] { statement; }); \
    EXPECT_TRUE(desk::said(said_here, message)) << said_here;          \
  } while (false)

// A call, its result, and what its trace says with others; null: anything.
struct Saying {
  const char* rule;
  std::function<int64_t()> call;
  int64_t result;
  const char* message;
};
void expect_sayings(const std::vector<Saying>& rows);

struct Ran {
  int status;
  std::string output;  // of both streams, as a shell interleaves them
};
// Runs a shell line with the built programs' folder in $BIN.
Ran run(const std::string& line);

}  // namespace desk

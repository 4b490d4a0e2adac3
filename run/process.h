// Runs vex and takes its result record.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace run {

struct Request {
  std::vector<std::string> words;
  bool quiet = false;                              // its standard output is thrown away
  std::optional<std::chrono::milliseconds> limit;  // after which it is ended
};

enum class End {
  kDone,      // the record is there
  kTimedOut,  // ended
  kNotRun,    // it could not be started
  kNoRecord,  // it ended without a record, as when a signal ended it
};

struct Run {
  End end = End::kNotRun;
  std::string record;  // one line, without its end
  std::string why;     // of kNotRun and kNoRecord
};

// The vex beside this program, else the one of PATH. When the time is over it gets SIGTERM, and a
// second later SIGKILL.
[[nodiscard]] Run run_vex(const Request& request);

}  // namespace run

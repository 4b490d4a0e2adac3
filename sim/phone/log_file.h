// The phone's logs, below its log/.
#pragma once

#include <string>
#include <string_view>

#include "sim/phone/phone.h"

namespace sim {

// The local time now, as every line of a log begins: "2026-01-31 23:59:59.999". Written without a
// terminating zero; returns the octets, at most kTimeStampRoom.
constexpr size_t kTimeStampRoom = 64;
size_t time_stamp(char (&text)[kTimeStampRoom]);

// A log file, open to be appended to. One that cannot be opened drops its lines; that, and a line
// that cannot be written, is reported on standard error. Any number of threads and processes may
// write the same log: each line is one write.
class LogFile {
 public:
  LogFile(const Phone& phone, const std::string& name);
  // Whether it is open.
  explicit operator bool() const { return static_cast<bool>(file_); }
  // Appends `line`, which brings its own line end.
  void append(std::string_view line) const;
  // Appends the local time, `text` and a line end.
  void write(const std::string& text) const;

 private:
  Folder folder_;
  std::string name_;
  Descriptor file_;
};

}  // namespace sim

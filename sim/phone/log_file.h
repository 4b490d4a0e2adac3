// The phone's logs, below log/.
#ifndef SIM_PHONE_LOG_FILE_H_
#define SIM_PHONE_LOG_FILE_H_

#include <string>
#include <string_view>

#include "sim/phone/phone.h"

namespace sim {

// A log that cannot be opened takes nothing, and standard error hears why; so does it when a line
// cannot be written. Lines of several threads and processes do not mix: each is one write.
class LogFile {
 public:
  LogFile(const Phone& phone, const std::string& name);
  explicit operator bool() const { return static_cast<bool>(file_); }
  // `line` ends in a line end.
  void append(std::string_view line) const;
  // A line of text behind the time: log/modem.log, what a modem reports when nobody is there to
  // read its standard error.
  void write(const std::string& text) const;

 private:
  Folder folder_;
  std::string name_;
  Descriptor file_;
};

}  // namespace sim

#endif  // SIM_PHONE_LOG_FILE_H_

#include "sim/phone/log_file.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

namespace sim {

// Cached to the second, since most lines of a run fall into one.
size_t time_stamp(char (&text)[kTimeStampRoom]) {
  static thread_local time_t known = -1;
  static thread_local char second[kTimeStampRoom - sizeof ".999"];
  static thread_local size_t length = 0;
  timeval now{};
  ::gettimeofday(&now, nullptr);
  if (now.tv_sec != known) {
    tm local{};
    ::localtime_r(&now.tv_sec, &local);
    length = std::strftime(second, sizeof second, "%Y-%m-%d %H:%M:%S", &local);
    known = now.tv_sec;
  }
  std::memcpy(text, second, length);
  const auto milliseconds = static_cast<int>(now.tv_usec / 1000);
  char* at = text + length;
  *at++ = '.';
  for (const int digit : {milliseconds / 100, milliseconds / 10 % 10, milliseconds % 10}) {
    *at++ = static_cast<char>('0' + digit);
  }
  return static_cast<size_t>(at - text);
}

LogFile::LogFile(const Phone& phone, const std::string& name)
    : folder_(phone.folder("log")), name_(name) {
  const int error = folder_.quiet().open(name, O_WRONLY | O_APPEND, &file_);
  if (error != 0 && error != ENOENT) {
    folder_.report(name, reason(error) + "; going on without this log");
  }
}

void LogFile::append(std::string_view line) const {
  if (file_ && ::write(file_.get(), line.data(), line.size()) < 0) folder_.report(name_, errno);
}

void LogFile::write(const std::string& text) const {
  char stamp[kTimeStampRoom];
  const size_t length = time_stamp(stamp);
  std::string line;
  line.reserve(length + text.size() + 2);
  append(line.append(stamp, length).append(" ").append(text).append("\n"));
}

}  // namespace sim

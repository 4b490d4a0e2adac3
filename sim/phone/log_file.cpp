#include "sim/phone/log_file.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

namespace sim {

namespace {

// `value` in so many digits, with zeros before it.
char* put_digits(char* at, int value, int digits) {
  for (int i = digits - 1; i >= 0; --i, value /= 10) at[i] = static_cast<char>('0' + value % 10);
  return at + digits;
}

// "2026-01-31 23:59:59"; returns the octets. Half the work of strftime's.
size_t put_second(char* text, const tm& local) {
  char* at = put_digits(text, local.tm_year + 1900, 4);
  const struct {
    char before;
    int value;
  } parts[] = {{'-', local.tm_mon + 1},
               {'-', local.tm_mday},
               {' ', local.tm_hour},
               {':', local.tm_min},
               {':', local.tm_sec}};
  for (const auto& part : parts) {
    *at++ = part.before;
    at = put_digits(at, part.value, 2);
  }
  return static_cast<size_t>(at - text);
}

}  // namespace

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
    length = put_second(second, local);
    known = now.tv_sec;
  }
  std::memcpy(text, second, length);
  text[length] = '.';
  char* const end = put_digits(text + length + 1, static_cast<int>(now.tv_usec / 1000), 3);
  return static_cast<size_t>(end - text);
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

#include "sim/phone/log_file.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

namespace sim {

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
  timeval now{};
  ::gettimeofday(&now, nullptr);
  tm local{};
  ::localtime_r(&now.tv_sec, &local);
  char head[64];
  const size_t n = std::strftime(head, sizeof head, "%Y-%m-%d %H:%M:%S", &local);
  std::snprintf(head + n, sizeof head - n, ".%03d ", static_cast<int>(now.tv_usec / 1000));
  append(head + text + "\n");
}

}  // namespace sim

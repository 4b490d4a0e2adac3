#include "sim/modem_log.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

namespace sim {

ModemLog::ModemLog(const Phone& phone)
    : file_(::open(phone.path("log/modem.log").c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC,
                   0600)) {}

void ModemLog::write(const std::string& text) const {
  timeval now{};
  ::gettimeofday(&now, nullptr);
  tm local{};
  ::localtime_r(&now.tv_sec, &local);
  char head[64];
  const size_t n = std::strftime(head, sizeof head, "%Y-%m-%d %H:%M:%S", &local);
  std::snprintf(head + n, sizeof head - n, ".%03d ", static_cast<int>(now.tv_usec / 1000));
  const std::string line = head + text + "\n";
  [[maybe_unused]] const ssize_t written = ::write(file_.get(), line.data(), line.size());
}

}  // namespace sim

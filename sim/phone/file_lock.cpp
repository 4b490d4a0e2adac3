#include "sim/phone/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "platform/clock/process_clock.h"

namespace sim {
namespace {

using namespace std::chrono_literals;

// A change of the phone's files takes milliseconds, so a holder of this long is stuck; and clients
// wait for their answers for 3 to 10 s.
constexpr auto kLimit = 5s;
// Between attempts; flock(2) has no time limit, so it is polled. Doubled with each attempt.
constexpr auto kShortest = 1ms;
constexpr auto kLongest = 100ms;

// EWOULDBLOCK when another holder keeps the lock until the limit.
[[nodiscard]] int take(int fd) {
  platform::Clock& clock = platform::clock();
  const platform::Time deadline = clock.now() + kLimit;
  for (auto interval = kShortest;; interval = std::min(2 * interval, kLongest)) {
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0) return 0;
    if (errno != EWOULDBLOCK && errno != EINTR) return errno;
    if (clock.now() >= deadline) return EWOULDBLOCK;
    clock.sleep_until(clock.now() + interval);
  }
}

// " by process 123 (name)"; empty when /proc/locks does not have it.
std::string holder(int fd) {
  struct stat status {};
  if (::fstat(fd, &status) != 0) return "";
  char file[64];
  std::snprintf(file, sizeof file, " %02x:%02x:%llu ", major(status.st_dev), minor(status.st_dev),
                static_cast<unsigned long long>(status.st_ino));
  std::ifstream locks("/proc/locks");
  for (std::string line; std::getline(locks, line);) {
    char kind[16] = "";
    int pid = 0;
    if (line.find(file) == std::string::npos ||
        std::sscanf(line.c_str(), "%*s %15s %*s %*s %d", kind, &pid) != 2 ||
        std::strcmp(kind, "FLOCK") != 0 || pid <= 0) {
      continue;
    }
    std::string name;
    std::ifstream comm("/proc/" + std::to_string(pid) + "/comm");
    std::getline(comm, name);
    return " by process " + std::to_string(pid) + (name.empty() ? "" : " (" + name + ")");
  }
  return "";
}

}  // namespace

FileLock::FileLock(const Folder& folder, const std::string& name) {
  Descriptor file;
  int error = folder.quiet().open(name, O_RDWR, &file);
  if (error == 0) error = take(file.get());
  if (error == 0) {
    file_ = std::move(file);
    return;
  }
  why_ =
      error == EWOULDBLOCK ? "locked" + holder(file.get()) + " for more than 5 s" : reason(error);
  folder.report(name, why_);
}

}  // namespace sim

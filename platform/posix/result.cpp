// Where a result record goes.

#include "platform/result.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "platform/clock/process_clock.h"

namespace {

constexpr std::chrono::seconds kReaderTimeOut{5};
constexpr int kFirstOwn = 3;  // a descriptor behind the standard ones

int g_fd = -1;
std::string g_path;  // empty: none

void report(const std::string& where, const std::string& why) {
  std::fprintf(stderr, "vex: no result record in %s: %s\n", where.c_str(), why.c_str());
}

// One look at the environment for both variables: a run without them is to cost nothing.
void find_variables(const char** fd, const char** path) {
  constexpr std::string_view kPrefix = "VEX_RESULT";
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    if (**variable != 'V' || std::strncmp(*variable, kPrefix.data(), kPrefix.size()) != 0) continue;
    const char* const rest = *variable + kPrefix.size();
    if (*rest == '=' && rest[1] != '\0') *path = rest + 1;
    if (std::strncmp(rest, "_FD=", 4) == 0 && rest[4] != '\0') *fd = rest + 4;
  }
}

void take_descriptor(const std::string& text) {
  int number = -1;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, number);
  if (parsed.ec != std::errc() || parsed.ptr != end || number < 1) {
    return report("VEX_RESULT_FD", "\"" + text + "\" is not the number of a descriptor");
  }
  g_fd = ::fcntl(number, F_DUPFD_CLOEXEC, kFirstOwn);
  if (g_fd < 0) return report("VEX_RESULT_FD", "descriptor " + text + ": " + std::strerror(errno));
  // A program that outlives this one would keep the reader from the end of a pipe.
  if (number >= kFirstOwn) ::fcntl(number, F_SETFD, FD_CLOEXEC);
}

void take_path(const std::string& path) {
  struct stat found {};
  if (::lstat(path.c_str(), &found) == 0) {
    if (S_ISLNK(found.st_mode)) return report(path, "a symbolic link, which is not followed");
    if (!S_ISREG(found.st_mode)) return report(path, "there is something other than a file");
    if (::unlink(path.c_str()) != 0) return report(path, std::strerror(errno));
  } else if (errno != ENOENT) {
    return report(path, std::strerror(errno));
  }
  g_path = path;
}

// 0, or an errno number.
int write_whole(int fd, std::string_view line) {
  const platform::Time deadline = platform::clock().now() + kReaderTimeOut;
  while (!line.empty()) {
    pollfd writable{fd, POLLOUT, 0};
    const int ready = platform::clock().poll_until(&writable, 1, deadline);
    if (ready <= 0) return ready < 0 ? errno : ETIMEDOUT;
    const ssize_t written = ::write(fd, line.data(), line.size());
    if (written < 0 && errno != EINTR && errno != EAGAIN) return errno;
    if (written > 0) line.remove_prefix(static_cast<size_t>(written));
  }
  return 0;
}

// Written beside its place and then put there: 0, or an errno number.
int write_file(const std::string& path, std::string_view line) {
  const std::string beside = path + "." + std::to_string(::getpid());
  const int fd = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd < 0) return errno;
  int error = write_whole(fd, line);
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error == 0 && ::rename(beside.c_str(), path.c_str()) != 0) error = errno;
  if (error != 0) ::unlink(beside.c_str());
  return error;
}

}  // namespace

extern "C" bool platform_result_begin(void) {
  const char* fd = nullptr;
  const char* path = nullptr;
  find_variables(&fd, &path);
  if (fd != nullptr) take_descriptor(fd);
  if (path != nullptr) take_path(path);
  return g_fd >= 0 || !g_path.empty();
}

extern "C" void platform_result_write(const char* line, size_t length) {
  int error = 0;
  if (g_fd >= 0) {
    error = write_whole(g_fd, {line, length});
    ::close(std::exchange(g_fd, -1));
  }
  if (error != 0) report("VEX_RESULT_FD", std::strerror(error));
  if (!g_path.empty() && (error = write_file(g_path, {line, length})) != 0) {
    report(g_path, std::strerror(error));
  }
}

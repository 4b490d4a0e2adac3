// The phone's system log: datagrams to logd. `logcat -b radio -s vex` shows them.

#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "base/format.h"
#include "device/report.h"
#include "platform/kelvor_utils.h"
#include "traffic/link/process_capture.h"

namespace {

constexpr const char kSocket[] = "/dev/socket/logdw";
constexpr const char kTag[] = "vex";
constexpr uint8_t kRadio = 1;  // the buffer of what concerns the modem
enum class Priority : uint8_t { kDebug = 3, kError = 6 };

// What a datagram begins with; then priority, tag and message, the last two with their zeros.
struct __attribute__((packed)) Head {
  uint8_t buffer;
  uint16_t thread;
  uint32_t seconds;
  uint32_t nanoseconds;
};
static_assert(sizeof(Head) == 11);
constexpr size_t kPayloadMax = 4068;
constexpr size_t kMessageRoom = kPayloadMax - sizeof(Priority) - sizeof kTag;

// Not connected: -1 and errno. Never blocks: a log that is full loses lines.
int connect_to_log() {
  const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) return -1;
  sockaddr_un address{AF_UNIX, {}};
  static_assert(sizeof kSocket <= sizeof address.sun_path);
  std::memcpy(address.sun_path, kSocket, sizeof kSocket);
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
  const int error = errno;
  ::close(fd);
  errno = error;
  return -1;
}

// Opened at the first line and kept until the process ends.
int log_socket() {
  static const int fd = [] {
    const int opened = connect_to_log();
    if (opened < 0) {
      std::string line("no system log: ");
      line.append(kSocket).append(": ").append(std::strerror(errno));
      device::report(
          line.append("; lines go to the shell alone (VEX_LOG_LEVELS=0 stops this message)"));
    }
    return opened;
  }();
  return fd;
}

// A line that is too long is cut.
__attribute__((format(printf, 2, 0))) void write_log(Priority priority, const char* format,
                                                     va_list arguments) {
  const int fd = log_socket();
  if (fd < 0) return;
  char message[kMessageRoom];
  const int length = base::format(message, sizeof message, format, arguments);
  if (length < 0) return;
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  Head head{.buffer = kRadio,
            .thread = static_cast<uint16_t>(::syscall(SYS_gettid)),
            .seconds = static_cast<uint32_t>(now.tv_sec),
            .nanoseconds = static_cast<uint32_t>(now.tv_nsec)};
  const size_t used = std::min(static_cast<size_t>(length) + 1, sizeof message);
  iovec parts[] = {{&head, sizeof head},
                   {&priority, sizeof priority},
                   {const_cast<char*>(kTag), sizeof kTag},
                   {message, used}};
  [[maybe_unused]] const ssize_t ignored = ::writev(fd, parts, std::size(parts));
}

}  // namespace

extern "C" {

void kelvor_utils_syslog_dbg(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  write_log(Priority::kDebug, format, arguments);
  va_end(arguments);
}

void kelvor_utils_syslog_err(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  write_log(Priority::kError, format, arguments);
  va_end(arguments);
  va_start(arguments, format);
  traffic::note_formatted(format, arguments);
  va_end(arguments);
}

}  // extern "C"

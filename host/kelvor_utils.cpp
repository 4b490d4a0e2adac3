// The system log on a host.

#include "platform/kelvor_utils.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <tuple>

#include "base/format.h"
#include "host/host.h"
#include "sim/phone/log_file.h"
#include "traffic/link/process_capture.h"

namespace {

// Opened at the first line and kept until the process ends.
const sim::LogFile& log_file() {
  static const sim::LogFile* const log = [] {
    // Without a phone the log is one that cannot be written, and the cause has been printed.
    if (host::phone().descriptor() < 0) std::ignore = host::prepare_phone();
    return new sim::LogFile(host::phone(), "system.log");
  }();
  return *log;
}

// Cached, since every line of the log has it; a fork gets its own.
pid_t own_pid() {
  static std::atomic<pid_t> pid{::getpid()};
  [[maybe_unused]] static const int ignored =
      ::pthread_atfork(nullptr, nullptr, [] { pid = ::getpid(); });
  return pid;
}

// What stands before a message: time, process and priority.
class Head {
 public:
  explicit Head(char priority) : size_(sim::time_stamp(stamp_)) {
    char digits[16];
    const char* const end = std::to_chars(digits, digits + sizeof digits, own_pid()).ptr;
    const auto length = static_cast<size_t>(end - digits);
    append(' ', 1);
    append(' ', length < kPidWidth ? kPidWidth - length : 0);
    std::memcpy(stamp_ + size_, digits, length);
    size_ += length;
    append(' ', 1);
    append(priority, 1);
    append(' ', 1);
  }
  std::string_view text() const { return {stamp_, size_}; }

 private:
  static constexpr size_t kPidWidth = 5;
  void append(char c, size_t count) {
    std::memset(stamp_ + size_, c, count);
    size_ += count;
  }

  char stamp_[sim::kTimeStampRoom];  // a time stamp has less than half of it
  size_t size_;
};

// A message that is long, or has line ends, which become \n, so that each message is one line.
__attribute__((format(printf, 3, 0))) void write_unusual(const sim::LogFile& log,
                                                         std::string_view head, const char* format,
                                                         va_list arguments) {
  char* formatted = nullptr;
  if (::vasprintf(&formatted, format, arguments) < 0) return;
  const std::unique_ptr<char, decltype(&std::free)> text(formatted, std::free);
  std::string line(head);
  for (const char* at = formatted; *at != '\0'; ++at) {
    if (*at == '\n') {
      line.append("\\n");
    } else {
      line.push_back(*at);
    }
  }
  line.push_back('\n');
  log.append(line);
}

// One write per line, so that the lines of several processes do not mix. A line is dropped when
// there is no memory for it.
__attribute__((format(printf, 2, 0))) void write_log(char priority, const char* format,
                                                     va_list arguments) try {
  const sim::LogFile& log = log_file();
  if (!log) return;
  const Head head(priority);
  const std::string_view before = head.text();
  char line[1024];
  std::memcpy(line, before.data(), before.size());
  char* const message = line + before.size();
  const size_t room = sizeof line - before.size();
  va_list again;
  va_copy(again, arguments);
  const int formatted = base::format(message, room, format, arguments);
  const auto length = static_cast<size_t>(formatted);
  if (formatted >= 0 && length < room && std::memchr(message, '\n', length) == nullptr) {
    message[length] = '\n';  // in the place of the terminating zero
    log.append({line, before.size() + length + 1});
  } else if (formatted >= 0) {
    write_unusual(log, before, format, again);
  }
  va_end(again);
} catch (const std::bad_alloc&) {
}

}  // namespace

extern "C" {

void kelvor_utils_syslog_dbg(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  write_log('D', format, arguments);
  va_end(arguments);
}

void kelvor_utils_syslog_err(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  write_log('E', format, arguments);
  va_end(arguments);
  va_start(arguments, format);
  traffic::note_formatted(format, arguments);
  va_end(arguments);
}

}  // extern "C"

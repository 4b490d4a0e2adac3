// The system log on a host.

#include "platform/kelvor_utils.h"

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <new>
#include <string>
#include <tuple>

#include "host/host.h"
#include "sim/phone/log_file.h"

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

// Line ends in a message become \n, so that each message is one line of the log.
void append_escaped(std::string* line, const char* text) {
  for (; *text != '\0'; ++text) {
    if (*text == '\n') {
      line->append("\\n");
    } else {
      line->push_back(*text);
    }
  }
}

// Cached, since most lines of a run fall into one second.
const char* text_of_second(time_t second) {
  static thread_local time_t known = -1;
  static thread_local char text[64];
  if (second != known) {
    tm local{};
    ::localtime_r(&second, &local);
    ::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    known = second;
  }
  return text;
}

// One write per line, so that the lines of several processes do not mix. A line is dropped when
// there is no memory for it.
__attribute__((format(printf, 2, 0))) void write_log(char priority, const char* format,
                                                     va_list arguments) {
  char* text = nullptr;
  try {
    const sim::LogFile& log = log_file();
    if (!log || ::vasprintf(&text, format, arguments) < 0) return;
    timeval now{};
    ::gettimeofday(&now, nullptr);
    char head[96];
    std::snprintf(head, sizeof head, "%s.%03d %5d %c ", text_of_second(now.tv_sec),
                  static_cast<int>(now.tv_usec / 1000), static_cast<int>(own_pid()), priority);
    std::string line = head;
    append_escaped(&line, text);
    line.push_back('\n');
    log.append(line);
  } catch (const std::bad_alloc&) {
  }
  std::free(text);
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
}

}  // extern "C"

// The maker's utility library on a host.

#include "platform/kelvor_utils.h"

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <string>
#include <tuple>

#include "host/host.h"
#include "platform/properties.h"
#include "qcci/wire/octets.h"
#include "sim/phone/log_file.h"

namespace {

constexpr int32_t kAllLevels = 1 | 2 | 4 | 8;  // as in kelvor_hal_get_shell_print_flag

// Parses the whole of `text`; base as for strtol.
bool parse_number(const char* text, int base, int32_t* number) {
  char* end = nullptr;
  errno = 0;
  const long parsed = std::strtol(text, &end, base);
  if (errno != 0 || end == text || *end != '\0' || parsed < INT32_MIN || parsed > INT32_MAX) {
    return false;
  }
  *number = static_cast<int32_t>(parsed);
  return true;
}

// The number from 0 to `most` in a variable; `fallback`, called `fallback_name`, when it is unset,
// empty or anything else.
int32_t number_from_environment(const char* name, int32_t most, int32_t fallback,
                                const char* fallback_name) {
  const char* text = std::getenv(name);
  if (text == nullptr || *text == '\0') return fallback;
  int32_t number = 0;
  if (parse_number(text, 0, &number) && number >= 0 && number <= most) return number;
  std::fprintf(stderr, "vex: %s is \"%s\", not a number from 0 to %d; using %s\n", name, text, most,
               fallback_name);
  return fallback;
}

uint32_t mask_from_environment(const char* name) {
  return static_cast<uint32_t>(number_from_environment(name, kAllLevels, kAllLevels, "all levels"));
}

std::atomic<uint32_t>& shell_mask() {
  static std::atomic<uint32_t> mask{mask_from_environment("VEX_SHELL_LEVELS")};
  return mask;
}

std::atomic<uint32_t>& log_mask() {
  static std::atomic<uint32_t> mask{mask_from_environment("VEX_LOG_LEVELS")};
  return mask;
}

std::atomic<bool> g_closed{false};

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

bool kelvor_hal_get_logcat_print_flag(uint32_t level) {
  return !g_closed && (log_mask() & level) != 0;
}

bool kelvor_hal_get_shell_print_flag(uint32_t level) {
  return !g_closed && (shell_mask() & level) != 0;
}

void kelvor_hal_set_shell_print_mask(uint32_t mask) { shell_mask() = mask; }

void kelvor_hal_close_print(void) { g_closed = true; }

int32_t kelvor_get_qcril_process_instance_id(void) {
  static const int32_t instance =
      number_from_environment("VEX_PROCESS_INSTANCE", 1, KELVOR_NO_PROCESS_INSTANCE, "none");
  return instance;
}

const char* kelvor_get_current_pid_name(void) { return program_invocation_short_name; }

const char* kelvor_utils_get_pid_name(void) { return kelvor_get_current_pid_name(); }

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

int32_t kelvor_get_default_data_sub(void) {
  int32_t sub = 0;
  kelvor_get_property_value_from_int("persist.vendor.radio.default_data_sub", &sub, 0);
  return sub == 1 ? 1 : 0;
}

int32_t kelvor_get_property_value_from_int(const char* name, int32_t* value, int32_t fallback) {
  if (value == nullptr) return -1;
  *value = fallback;
  char text[PROPERTY_VALUE_MAX];
  if (name == nullptr || property_get(name, text, "") == 0) return -1;
  return parse_number(text, 10, value) ? 0 : -1;
}

void kelvor_get_hex_str(char* buffer, size_t size, uint64_t value) {
  if (buffer == nullptr || size == 0) return;
  size_t at = 0;
  for (size_t i = 0; i < sizeof value && at + 2 < size; ++i, at += 2) {
    const auto digits = qcci::hex_digits(static_cast<uint8_t>(value >> 8 * i));
    std::memcpy(buffer + at, digits.data(), digits.size());
  }
  buffer[at] = '\0';
}

}  // extern "C"

// The maker's utility library, but for the system log: that is where each implementation of the
// contract has it.

#include "platform/kelvor_utils.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/properties.h"
#include "qcci/wire/octets.h"

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

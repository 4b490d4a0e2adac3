#include "vex/text.h"

#include <cstdlib>
#include <cstring>

#include "common/trace.h"

namespace {

constexpr size_t kDigitsMax = 50;  // those behind are ignored (text.h)

int32_t digit_of(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return 0;
}

// digit x 16^power, saturated. Exact, as the powers of two of a double are.
int32_t term(int32_t digit, size_t power) {
  if (digit == 0) return 0;
  if (power >= 8) return INT32_MAX;
  const int64_t value = static_cast<int64_t>(digit) << (4 * power);
  return value > INT32_MAX ? INT32_MAX : static_cast<int32_t>(value);
}

}  // namespace

extern "C" int32_t kelvor_string_to_int(const char* text) {
  const Operation operation(__func__);
  if (text == nullptr) return TRACED_ERROR(0, "\ninput is null\n");
  if (text[0] == '0' && (text[1] | 0x20) == 'x') return kelvor_hex_string_to_int(text + 2);
  return std::atoi(text);
}

extern "C" int32_t kelvor_hex_string_to_int(const char* text) {
  const Operation operation(__func__);
  if (text == nullptr) return TRACED_ERROR(0, "\ninput is null\n");
  const size_t digits = strnlen(text, kDigitsMax);
  uint32_t sum = 0;
  for (size_t i = 0; i < digits; ++i) {
    sum += static_cast<uint32_t>(term(digit_of(text[i]), digits - 1 - i));
  }
  return static_cast<int32_t>(sum);
}

extern "C" void kelvor_byte_to_hex(const uint8_t* bytes, int32_t count, char* out) {
  static constexpr char kDigits[] = "0123456789abcdef";
  if (bytes == nullptr) return;
  for (int32_t i = 0; i < count; ++i) {
    *out++ = kDigits[bytes[i] >> 4];
    *out++ = kDigits[bytes[i] & 15];
  }
}

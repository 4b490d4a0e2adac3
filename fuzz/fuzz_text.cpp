// The number and hex text helpers, on any text, against a plain form of their arithmetic: digits in
// double precision, saturated, added up in 32 bits.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "vex/text.h"

namespace {

int32_t expected(const std::string& text) {
  const size_t digits = std::min<size_t>(text.size(), 50);
  uint32_t sum = 0;
  for (size_t i = 0; i < digits; ++i) {
    const char one[] = {text[i], '\0'};
    const char lower = static_cast<char>(text[i] | 0x20);
    const bool letter = text[i] >= 'A' && lower >= 'a' && lower <= 'f';
    const int digit = letter ? lower - 'a' + 10 : std::atoi(one);
    const double term = digit * std::pow(16.0, static_cast<double>(digits - 1 - i));
    sum += static_cast<uint32_t>(term > INT32_MAX ? INT32_MAX : static_cast<int32_t>(term));
  }
  return static_cast<int32_t>(sum);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A text of exactly its length, so that the sanitizer sees a read behind its end.
  const size_t length = strnlen(reinterpret_cast<const char*>(data), size);
  std::vector<char> text(data, data + length);
  text.push_back('\0');
  const std::string digits(text.data());
  const int32_t hex = kelvor_hex_string_to_int(text.data());
  if (hex != expected(digits)) std::abort();
  const int32_t number = kelvor_string_to_int(text.data());
  const bool prefixed = digits.size() >= 2 && digits[0] == '0' && (digits[1] | 0x20) == 'x';
  if (number != (prefixed ? expected(digits.substr(2)) : std::atoi(text.data()))) std::abort();

  std::vector<char> shown(2 * size);
  kelvor_byte_to_hex(data, static_cast<int32_t>(size), shown.data());
  for (size_t i = 0; i < size; ++i) {
    const char octet[] = {shown[2 * i], shown[2 * i + 1], '\0'};
    if (kelvor_hex_string_to_int(octet) != data[i]) std::abort();
  }
  return 0;
}

#include "vex/json.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace vex {
namespace {

// The octets of the UTF-8 character that the text begins with; 0 when it begins with none.
size_t character_size(std::string_view text) {
  const auto octet = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const uint8_t head = octet(0);
  if (head < 0x80) return 1;
  const size_t size = head >= 0xF0 ? 4 : head >= 0xE0 ? 3 : 2;
  if (head < 0xC2 || head > 0xF4 || text.size() < size) return 0;
  for (size_t i = 1; i < size; ++i) {
    if ((octet(i) & 0xC0) != 0x80) return 0;
  }
  // Longer than needed, a surrogate, or beyond the last one.
  const uint8_t next = octet(1);
  const bool wrong = (head == 0xE0 && next < 0xA0) || (head == 0xED && next > 0x9F) ||
                     (head == 0xF0 && next < 0x90) || (head == 0xF4 && next > 0x8F);
  return wrong ? 0 : size;
}

}  // namespace

void JsonLine::string(std::string_view value) {
  text_ += '"';
  while (!value.empty()) {
    const size_t size = character_size(value);
    const char c = value[0];
    if (size == 0) {
      text_ += "\\ufffd";
    } else if (c == '"' || c == '\\') {
      text_ += '\\';
      text_ += c;
    } else if (size == 1 && (static_cast<uint8_t>(c) < 0x20 || c == 0x7F)) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
      text_ += escaped;
    } else {
      text_ += value.substr(0, size);
    }
    value.remove_prefix(size == 0 ? 1 : size);
  }
  text_ += '"';
}

}  // namespace vex

#include "qcci/wire/octets.h"

#include <algorithm>
#include <charconv>

namespace qcci {

std::string to_hex(std::span<const uint8_t> octets, std::string_view between) {
  std::string text;
  for (const uint8_t octet : octets) {
    if (!text.empty()) text += between;
    const HexDigits digits = hex_digits(octet);
    text.append(digits.data(), digits.size());
  }
  return text;
}

std::optional<std::vector<uint8_t>> from_hex(std::string_view text) {
  std::vector<uint8_t> octets;
  while (true) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    if (text.empty()) return octets;
    uint8_t octet = 0;
    const auto read =
        std::from_chars(text.data(), text.data() + std::min<size_t>(text.size(), 2), octet, 16);
    if (read.ec != std::errc() || read.ptr != text.data() + 2) return std::nullopt;
    octets.push_back(octet);
    text.remove_prefix(2);
  }
}

}  // namespace qcci

// Octets as hexadecimal text, and back. No function here keeps state.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qcci {

// The two upper-case digits of one octet.
using HexDigits = std::array<char, 2>;
constexpr HexDigits hex_digits(uint8_t octet) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  return {kDigits[octet >> 4], kDigits[octet & 0xF]};
}

// Two upper-case digits an octet, with `between` between octets: "01A0", or "01 A0".
std::string to_hex(std::span<const uint8_t> octets, std::string_view between = "");

// Reads pairs of digits, in either case, with or without white space between pairs; nullopt for
// anything else.
[[nodiscard]] std::optional<std::vector<uint8_t>> from_hex(std::string_view text);

// A string's characters as octets; valid as long as the string.
inline std::span<const uint8_t> as_octets(std::string_view contents) {
  return {reinterpret_cast<const uint8_t*>(contents.data()), contents.size()};
}

}  // namespace qcci

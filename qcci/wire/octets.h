// Octets as hexadecimal text, and back.
#ifndef QCCI_WIRE_OCTETS_H_
#define QCCI_WIRE_OCTETS_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qcci {

// Two capital digits an octet, with `between` from one to the next: "01A0", or "01 A0".
std::string to_hex(std::span<const uint8_t> octets, std::string_view between = "");

// Reads pairs of digits, in either case; blanks may stand between pairs. Anything else gives none.
std::optional<std::vector<uint8_t>> from_hex(std::string_view text);

// The octets of a file's contents.
inline std::span<const uint8_t> as_octets(std::string_view contents) {
  return {reinterpret_cast<const uint8_t*>(contents.data()), contents.size()};
}

}  // namespace qcci

#endif  // QCCI_WIRE_OCTETS_H_

// Where identities stand in octets: digits in ASCII, in BCD, and in BCD with swapped halves.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace traffic {

enum class IdentityKind : uint8_t { kImei, kImsi, kIccid, kEid, kNumber };

// Luhn's check digit, which an IMEI and an ICCID end with.
[[nodiscard]] char luhn_digit(std::string_view digits);
// The two check digits that an EID ends with, of the thirty before them (ISO 7064, MOD 97-10).
[[nodiscard]] std::string eid_check_digits(std::string_view digits);

// The halves of every octet as hexadecimal digits, the high one first or, swapped, the low one.
[[nodiscard]] std::string halves(std::span<const uint8_t> octets, bool swapped);
// And back, into octets that have half as many.
void set_halves(std::string_view digits, bool swapped, std::span<uint8_t> octets);

// Calls `found` for what looks like an identity, with its digits.
using Found = std::function<void(IdentityKind kind, std::string_view digits)>;
void scan_text(std::string_view text, const Found& found);
void scan_octets(std::span<const uint8_t> octets, const Found& found);

}  // namespace traffic

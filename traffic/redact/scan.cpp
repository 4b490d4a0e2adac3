#include "traffic/redact/scan.h"

#include <algorithm>

#include "qcci/wire/octets.h"

namespace traffic {
namespace {

constexpr size_t kImeiDigits = 15, kEidDigits = 32;
// Digits: the shortest of a phone number that could be anybody's, in text and where a card's record
// says that it is one.
constexpr size_t kShortestInText = 10, kShortestNumber = 5;

constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }

size_t leading_digits(std::string_view text) {
  return static_cast<size_t>(std::find_if_not(text.begin(), text.end(), is_digit) - text.begin());
}

bool is_eid(std::string_view digits) {
  return digits.size() == kEidDigits && digits.starts_with("89") &&
         eid_check_digits(digits.substr(0, kEidDigits - 2)) == digits.substr(kEidDigits - 2);
}

bool is_iccid(std::string_view digits) {
  return (digits.size() == 19 || digits.size() == 20) && digits.starts_with("89");
}

// What a card or an NV item has in a fixed form: digits with swapped halves. Returns how many
// octets an identity has there; 0 for none.
size_t scan_swapped(std::string_view digits, const Found& found) {
  // Length 8, then a half that says which identity and whether it has an odd number of digits.
  if (digits.starts_with("80") && digits.size() >= 18 && leading_digits(digits.substr(3)) >= 15) {
    const char form = digits[2];
    if (form == 'A' || form == '9' || form == '1') {
      found(form == 'A' ? IdentityKind::kImei : IdentityKind::kImsi, digits.substr(3, kImeiDigits));
      return 9;
    }
  }
  if (digits.size() >= 20) {
    const std::string_view iccid = digits.substr(0, std::min<size_t>(leading_digits(digits), 20));
    const bool padded = iccid.size() < 20 && digits[iccid.size()] == 'F';
    if (is_iccid(iccid) && (padded || iccid.size() == 20)) {
      found(IdentityKind::kIccid, iccid);
      return 10;
    }
  }
  return 0;
}

// A phone number of a card: octets that it has, type of number, digits with swapped halves.
void scan_number(std::span<const uint8_t> octets, const Found& found) {
  if (octets.size() < 2 || octets[0] < 2 || octets[0] > 11 || octets.size() <= octets[0]) return;
  const uint8_t type = octets[1];
  if (type != 0x81 && type != 0x91 && type != 0xA1) return;
  const std::string digits = halves(octets.subspan(2, octets[0] - 1u), true);
  const size_t count = leading_digits(digits);
  const bool filled = digits.find_first_not_of('F', count) == std::string::npos;
  if (count >= kShortestNumber && filled) {
    found(IdentityKind::kNumber, std::string_view(digits).substr(0, count));
  }
}

}  // namespace

char luhn_digit(std::string_view digits) {
  unsigned sum = 0;
  bool twice = true;
  for (auto c = digits.rbegin(); c != digits.rend(); ++c, twice = !twice) {
    const auto digit = static_cast<unsigned>(*c - '0');
    sum += twice ? digit * 2 / 10 + digit * 2 % 10 : digit;
  }
  return static_cast<char>('0' + (10 - sum % 10) % 10);
}

std::string eid_check_digits(std::string_view digits) {
  unsigned rest = 0;
  for (const char c : digits) rest = (rest * 10 + static_cast<unsigned>(c - '0')) % 97;
  const unsigned check = 98 - rest * 100 % 97;
  return {static_cast<char>('0' + check / 10), static_cast<char>('0' + check % 10)};
}

std::string halves(std::span<const uint8_t> octets, bool swapped) {
  std::string digits;
  digits.reserve(octets.size() * 2);
  for (const uint8_t octet : octets) {
    const auto pair = qcci::hex_digits(octet);
    digits.push_back(pair[swapped ? 1 : 0]);
    digits.push_back(pair[swapped ? 0 : 1]);
  }
  return digits;
}

void set_halves(std::string_view digits, bool swapped, std::span<uint8_t> octets) {
  const auto value = [&](size_t at) {
    return static_cast<uint8_t>(is_digit(digits[at]) ? digits[at] - '0' : digits[at] - 'A' + 10);
  };
  for (size_t i = 0; i < octets.size(); ++i) {
    const uint8_t first = value(2 * i), second = value(2 * i + 1);
    octets[i] = static_cast<uint8_t>(swapped ? second << 4 | first : first << 4 | second);
  }
}

void scan_text(std::string_view text, const Found& found) {
  for (size_t at = 0; at < text.size(); ++at) {
    const std::string_view digits = text.substr(at, leading_digits(text.substr(at)));
    if (digits.empty()) continue;
    at += digits.size();
    if (digits.size() < kShortestInText) continue;
    const bool imei = digits.size() == kImeiDigits &&
                      luhn_digit(digits.substr(0, kImeiDigits - 1)) == digits.back();
    found(imei                           ? IdentityKind::kImei
          : digits.size() == kImeiDigits ? IdentityKind::kImsi
          : is_iccid(digits)             ? IdentityKind::kIccid
          : is_eid(digits)               ? IdentityKind::kEid
                                         : IdentityKind::kNumber,
          digits);
  }
}

void scan_octets(std::span<const uint8_t> octets, const Found& found) {
  scan_text({reinterpret_cast<const char*>(octets.data()), octets.size()}, found);
  const std::string straight = halves(octets, false), swapped = halves(octets, true);
  for (size_t i = 0; i < octets.size();) {
    size_t taken = 0;
    const std::string_view rest = std::string_view(straight).substr(2 * i);
    if (rest.starts_with("89")) {
      const size_t digits = leading_digits(rest);
      if (digits >= kEidDigits && is_eid(rest.substr(0, kEidDigits))) {
        found(IdentityKind::kEid, rest.substr(0, kEidDigits));
        taken = kEidDigits / 2;
      } else if (digits == 20 || (digits == 19 && rest.substr(19).starts_with('F'))) {
        found(IdentityKind::kIccid, rest.substr(0, digits));
        taken = 10;
      }
    }
    if (taken == 0) taken = scan_swapped(std::string_view(swapped).substr(2 * i), found);
    if (taken == 0) scan_number(octets.subspan(i), found);
    i += std::max<size_t>(taken, 1);
  }
}

}  // namespace traffic

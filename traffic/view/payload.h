// What the vendor service's octets hold, by request: rows of fields, as element rows are for TLVs.
#pragma once

#include <cstdint>
#include <span>

namespace traffic {

enum class FieldShape : uint8_t { kNumber, kOctets, kText, kNumbers };

// A field that does not lie whole in the payload is not there. Octets and texts are as long as a
// number elsewhere in the payload says, at most `room`, and end with the payload.
struct PayloadField {
  const char* name = "";
  FieldShape shape = FieldShape::kNumber;
  uint16_t offset = 0;
  uint8_t width = 1;        // octets of a number, or of each
  bool is_signed = false;   // of numbers
  uint16_t room = 0;        // in octets
  uint16_t count_at = 0;    // of the items
  uint8_t count_width = 0;  // 0: there is no count, all of the room is used
};
using PayloadFields = std::span<const PayloadField>;

struct PayloadRow {
  uint32_t family;
  int64_t selector;  // operation or command; kAny
  int64_t item;      // of a common request; kAny
  PayloadFields request, response;

  static constexpr int64_t kAny = -1;
};

// Where the selector and the item of a request are.
inline constexpr uint16_t kSelectorAt = 0;
inline constexpr uint16_t kItemAt = 8;
[[nodiscard]] uint8_t selector_width(uint32_t family);

// The first that matches a request is its row.
[[nodiscard]] std::span<const PayloadRow> payload_rows();
// Null for a request of an unknown family.
[[nodiscard]] const PayloadRow* payload_row(uint32_t family, std::span<const uint8_t> request);

// The items that the field has in a payload; 0 for one that is not there.
[[nodiscard]] size_t items_in(const PayloadField& field, std::span<const uint8_t> payload);

// A little-endian number; zero where the octets end.
[[nodiscard]] uint64_t number_at(std::span<const uint8_t> octets, size_t at, size_t width);

}  // namespace traffic

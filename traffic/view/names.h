// What numbers in messages stand for: the one table of their names, for whatever shows a message.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace traffic {

struct Name {
  int64_t number;
  const char* text;
};
using Names = std::span<const Name>;

// NV items that say who a phone or its owner is.
enum NvItem : uint16_t {
  kNvEsn = 0,
  kNvMin1 = 32,
  kNvMin2 = 33,
  kNvImsiMcc = 176,
  kNvImsi1112 = 177,
  kNvDirectoryNumber = 178,
  kNvImei = 550,
  kNvMeid = 1943,
};

// Where a value stands: the member's name, and that of the record or array around it, empty when
// there is none. The vendor service's payload is a record called "data".
struct Place {
  uint32_t service = 0;
  uint8_t type = 0;  // of the message, as qmi_idl_message_type
  std::string_view around;
  std::string_view name;
};

// Whether the octets there are a statistics record, of the id beside them.
[[nodiscard]] bool is_record(const Place& place);

// The names of the values there; empty when they have none.
[[nodiscard]] Names names_at(const Place& place);
// Whether the number there says that something failed.
[[nodiscard]] bool is_failure(const Place& place, int64_t number);
// Null for a number that has no name.
[[nodiscard]] const char* name_of(Names names, int64_t number);

}  // namespace traffic

// Messages from texts: NAME=VALUE for each member of a message's C structure.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "qcci/idl/element.h"

namespace sim {

// A field of the message by the names that vex-traffic prints: "status=1", "networks[0].mcc=1",
// "id=01 A0" for octets, "description=Test" for text.
struct FieldText {
  std::string name;
  std::string value;
};

// Fills the message's C structure, zeroed first, from the fields; an optional TLV is present when a
// field of it is given. False, and why, for a field that the message does not have, or a value that
// it cannot hold.
[[nodiscard]] bool fill(const qcci::idl::Message& message, std::span<const FieldText> fields,
                        std::vector<uint8_t>* c, std::string* why);

}  // namespace sim

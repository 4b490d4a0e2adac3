// A service's table: its numbers and a row for each message and direction.
#ifndef QCCI_IDL_SERVICE_H_
#define QCCI_IDL_SERVICE_H_

#include <cstdint>
#include <span>

#include "platform/qmi_idl.h"
#include "qcci/idl/element.h"

namespace qcci::idl {

struct MessageRow {
  uint16_t id;
  qmi_idl_message_type type;
  const char* name;
  Message message;
};

// An empty message: no TLVs, no structure.
inline constexpr Message kEmpty{};

}  // namespace qcci::idl

struct qmi_idl_service_object {
  const char* name;
  uint32_t id;
  int32_t major, minor, tool;
  std::span<const qcci::idl::MessageRow> rows;
  uint32_t max_message;  // octets of TLVs of the longest message

  // Null when the service has no such message.
  const qcci::idl::Message* find(qmi_idl_message_type type, uint32_t message_id) const {
    for (const qcci::idl::MessageRow& row : rows) {
      if (row.id == message_id && row.type == type) return &row.message;
    }
    return nullptr;
  }
  const char* message_name(uint32_t message_id) const {
    for (const qcci::idl::MessageRow& row : rows) {
      if (row.id == message_id) return row.name;
    }
    return "?";
  }
};

namespace qcci::idl {

// Every service that this library knows, for tools that walk them all.
std::span<const qmi_idl_service_object_type> all_services();

// The object, when the triple is exactly its own.
inline qmi_idl_service_object_type if_version(const qmi_idl_service_object& service, int32_t major,
                                              int32_t minor, int32_t tool) {
  const bool same = service.major == major && service.minor == minor && service.tool == tool;
  return same ? &service : nullptr;
}

// The longest message of a table.
constexpr uint32_t longest(std::span<const MessageRow> rows) {
  uint32_t most = 0;
  for (const MessageRow& row : rows) {
    if (row.message.max_encoded > most) most = row.message.max_encoded;
  }
  return most;
}

}  // namespace qcci::idl

#endif  // QCCI_IDL_SERVICE_H_

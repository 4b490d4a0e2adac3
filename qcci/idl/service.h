// A service's table: its numbers, and a row for each message.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/qmi_idl.h"
#include "qcci/idl/element.h"

namespace qcci::idl {

// One message id in its three directions; a direction that the service does not use is absent.
struct MessageRow {
  uint16_t id = 0;
  const char* name = "";
  std::optional<Message> request = {};
  std::optional<Message> response = {};
  std::optional<Message> indication = {};

  // Null when the message does not travel in that direction.
  constexpr const Message* find(qmi_idl_message_type type) const {
    switch (type) {
      case QMI_IDL_REQUEST:
        return request ? &*request : nullptr;
      case QMI_IDL_RESPONSE:
        return response ? &*response : nullptr;
      case QMI_IDL_INDICATION:
        return indication ? &*indication : nullptr;
    }
    return nullptr;
  }
};

// A service's rows. It compiles only when every id is there once, and a response with its request.
class MessageRows : public std::span<const MessageRow> {
 public:
  template <size_t N>
  consteval MessageRows(const MessageRow (&rows)[N]) : std::span<const MessageRow>(rows) {
    for (size_t i = 0; i < N; ++i) {
      for (size_t k = 0; k < i; ++k) {
        if (rows[k].id == rows[i].id) detail::bad_table("two rows have the same id");
      }
      if (rows[i].request.has_value() != rows[i].response.has_value()) {
        detail::bad_table("a request without its response, or the other way round");
      }
      if (!rows[i].request && !rows[i].indication) detail::bad_table("a row without a message");
    }
  }
};

// A message without content: no TLVs, no structure.
inline constexpr Message kEmpty{};

}  // namespace qcci::idl

struct qmi_idl_service_object {
  const char* name = "";
  uint32_t id = 0;
  int32_t major = 0, minor = 0, tool = 0;
  qcci::idl::MessageRows rows;

  // Null when the service has no such message.
  const qcci::idl::Message* find(qmi_idl_message_type type, uint32_t message_id) const {
    const qcci::idl::MessageRow* row = row_of(message_id);
    return row == nullptr ? nullptr : row->find(type);
  }
  const char* message_name(uint32_t message_id) const {
    const qcci::idl::MessageRow* row = row_of(message_id);
    return row == nullptr ? "?" : row->name;
  }
  // The object, when the triple is exactly its own, else null.
  qmi_idl_service_object_type if_version(int32_t its_major, int32_t its_minor,
                                         int32_t its_tool) const {
    return its_major == major && its_minor == minor && its_tool == tool ? this : nullptr;
  }

 private:
  const qcci::idl::MessageRow* row_of(uint32_t message_id) const {
    for (const qcci::idl::MessageRow& row : rows) {
      if (row.id == message_id) return &row;
    }
    return nullptr;
  }
};

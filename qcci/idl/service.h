// A service's table: its numbers, and a row for each message.
//
// A table is the only description of a service's wire form. The client library encodes requests and
// decodes responses with it, the simulated phone does the reverse, and printing and fuzzing of
// messages walk the same rows.
//
// Tables are constants of the program (qcci/services/): immutable, valid until the process ends and
// usable from any thread. Nothing here allocates. A table that is wrong in itself does not compile.
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
  const char* name = "";  // for people
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

// A message without content: no TLVs, no structure. Its C structure may be null, of size 0.
inline constexpr Message kEmpty{};

}  // namespace qcci::idl

// What the opaque handle of platform/qmi_idl.h points to. In the global namespace because that
// header declares it for C.
struct qmi_idl_service_object {
  const char* name = "";  // as phone.toml and logs call the service
  uint32_t id = 0;        // on the bus
  // The version of the description. A caller's getter gives exactly the version that it was
  // compiled against; only major goes on the bus, as the version of the service.
  int32_t major = 0, minor = 0, tool = 0;
  qcci::idl::MessageRows rows;

  // The message of that id in that direction; null when the service has no such message. A linear
  // search: no service has more than a dozen rows.
  const qcci::idl::Message* find(qmi_idl_message_type type, uint32_t message_id) const {
    const qcci::idl::MessageRow* row = row_of(message_id);
    return row == nullptr ? nullptr : row->find(type);
  }
  // "?" for an unknown id; never null.
  const char* message_name(uint32_t message_id) const {
    const qcci::idl::MessageRow* row = row_of(message_id);
    return row == nullptr ? "?" : row->name;
  }
  // The object, when the triple is exactly its own, else null.
  qmi_idl_service_object_type if_version(int32_t its_major, int32_t its_minor,
                                         int32_t its_tool) const {
    return its_major == major && its_minor == minor && its_tool == tool ? this : nullptr;
  }
  // Whether it has indications.
  bool indicates() const {
    for (const qcci::idl::MessageRow& row : rows) {
      if (row.indication) return true;
    }
    return false;
  }

 private:
  const qcci::idl::MessageRow* row_of(uint32_t message_id) const {
    for (const qcci::idl::MessageRow& row : rows) {
      if (row.id == message_id) return &row;
    }
    return nullptr;
  }
};

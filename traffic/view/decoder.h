// Frames as messages: what each is, what it answers, and its values.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "qcci/services/services.h"
#include "traffic/file/frame.h"
#include "traffic/view/payload.h"

namespace traffic {

// One message. What it points to is the frame's and the decoder's, until the next decode.
struct Decoded {
  const Frame* frame = nullptr;
  const qmi_idl_service_object* service = nullptr;  // null: not one of ours
  // The message's rows and structure. Null when its values cannot be shown; `problem` says why.
  const qcci::idl::Message* message = nullptr;
  std::string_view problem;
  qcci::QmiHeader header;  // zero when the datagram has none
  std::vector<uint8_t> c;  // as qcci::idl::decode leaves it
  // Of a vendor message, when its request is known.
  PayloadFields payload;
  // Which of the decoded messages it is, from 0.
  uint64_t number = 0;
  // Of a response: which of them asked; the time since then; and that request's payload row.
  std::optional<uint64_t> answers;
  std::optional<int64_t> took_ns;
  const PayloadRow* row = nullptr;
  // The NV item that a vendor request, or the response to it, is about.
  std::optional<uint16_t> nv_id;

  int type() const { return header.type; }  // as qmi_idl_message_type, or none of them
  std::span<const uint8_t> tlvs() const {
    return std::span(frame->octets).subspan(qcci::kQmiHeader);
  }
};

// "request", "response", "indication", or "?".
[[nodiscard]] const char* type_name(uint8_t type);

// The vendor service's octets in a message's structure: those that its length counts.
[[nodiscard]] std::span<const uint8_t> vendor_payload(const Decoded& decoded);
// Whether a message has such octets.
[[nodiscard]] bool has_vendor_payload(const Decoded& decoded);

// Remembers requests for their responses, a bounded number of them. Threads: one.
class Decoder {
 public:
  // Of a frame of kind kMessage.
  Decoded& decode(const Frame& frame);

 private:
  struct Key {
    qcci::Address client, server;
    uint32_t service;
    uint16_t transaction;
    auto operator<=>(const Key&) const = default;
  };
  struct Asked {
    uint64_t number;
    int64_t time_ns;
    const PayloadRow* row;
    std::optional<uint16_t> nv_id;
  };

  void match_exchange();

  Decoded decoded_;
  uint64_t count_ = 0;
  std::map<Key, Asked> asked_;
};

}  // namespace traffic

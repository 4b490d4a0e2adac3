// The decoder of every message, on any octets: what it accepts can be encoded, and decoded again.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "qcci/idl/codec.h"
#include "support/random_message.h"

namespace {

bool has_truncating(std::span<const qcci::idl::Element> elements) {
  return std::any_of(elements.begin(), elements.end(), [](const qcci::idl::Element& e) {
    return e.truncating || has_truncating({e.record, e.record_count});
  });
}

bool has_truncating(const qcci::idl::Message& message) {
  const std::span tlvs(message.tlvs, message.tlv_count);
  return std::any_of(tlvs.begin(), tlvs.end(), [](const qcci::idl::Tlv& tlv) {
    return has_truncating(std::span(tlv.elements, tlv.count));
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto messages = desk::all_messages();
  if (size == 0) return 0;
  const qcci::idl::Message& message = messages[data[0] % messages.size()];
  std::vector<uint8_t> c(message.c_size);
  if (qcci::idl::decode(message, {data + 1, size - 1}, c.data(), c.size()) !=
      qcci::idl::CodecError::kOk) {
    return 0;
  }
  std::vector<uint8_t> wire(message.max_encoded);
  const auto encoded = qcci::idl::encode(message, c.data(), c.size(), wire);
  // A truncating row has lost what it had no room for, and is not encoded again.
  if (encoded.error == qcci::idl::CodecError::kCountTooLarge && has_truncating(message)) return 0;
  // The lengths may differ: a text with a zero octet is shorter when it is encoded.
  std::vector<uint8_t> again(message.c_size);
  if (encoded.error != qcci::idl::CodecError::kOk ||
      qcci::idl::decode(message, std::span(wire).first(encoded.length), again.data(),
                        again.size()) != qcci::idl::CodecError::kOk) {
    std::abort();
  }
  return 0;
}

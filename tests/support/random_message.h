// Every message, and its C structure filled with whatever its rows allow: flags, counts, numbers.
// The numbers come from a generator, or from a fuzz target's input.
#pragma once

#include <cstring>
#include <functional>
#include <vector>

#include "qcci/services/services.h"

namespace desk {

// Every message of every service.
inline std::vector<qcci::idl::Message> all_messages() {
  std::vector<qcci::idl::Message> all;
  for (const auto service : qcci::idl::all_services()) {
    for (const auto& row : service->rows) {
      for (const auto& message : {row.request, row.response, row.indication}) {
        if (message) all.push_back(*message);
      }
    }
  }
  return all;
}

class RandomMessage {
 public:
  // `below`: returns a number less than its argument.
  explicit RandomMessage(std::function<uint32_t(uint32_t)> below) : below_(std::move(below)) {}

  std::vector<uint8_t> fill(const qcci::idl::Message& message) {
    std::vector<uint8_t> c(message.c_size);
    for (uint32_t i = 0; i < message.tlv_count; ++i) {
      const qcci::idl::Tlv& tlv = message.tlvs[i];
      if (tlv.is_optional) {
        if (below_(4) == 0) continue;  // left out: its members stay zero
        c[tlv.flag_offset] = 1;
      }
      fill(tlv.elements, tlv.count, c.data());
    }
    return c;
  }

 private:
  void fill(const qcci::idl::Element* elements, size_t count, uint8_t* c) {
    using qcci::idl::Shape;
    for (const qcci::idl::Element* e = elements; e != elements + count; ++e) {
      // A fixed array has always all of its items: the last of a long one may be zero.
      const bool all = e->max == 1 || below_(8) == 7;
      const uint32_t items = all ? e->max : below_(e->max + 1);
      if (e->shape == Shape::kCounted) std::memcpy(c + e->count_offset, &items, 4);
      for (uint32_t i = 0; i < items; ++i) {
        uint8_t* item = c + e->offset + i * e->stride;
        if (e->record_count != 0) {
          fill(e->record, e->record_count, item);
          continue;
        }
        for (uint32_t b = 0; b < e->wire_width; ++b) {
          item[b] = static_cast<uint8_t>(e->shape == Shape::kText ? 'a' + below_(26) : below_(256));
        }
      }
    }
  }

  const std::function<uint32_t(uint32_t)> below_;
};

}  // namespace desk

#include "traffic/file/frame.h"

#include <cstring>

namespace traffic {
namespace {

constexpr uint8_t kVersion = 1;

struct Header {
  uint8_t version;
  uint8_t kind;
  uint16_t zero;
  uint32_t service;
  uint32_t instance;
  qcci::Address from, to;
};
static_assert(sizeof(Header) == 28);

}  // namespace

std::vector<uint8_t> encode(const Frame& frame) {
  const Header header{.version = kVersion,
                      .kind = static_cast<uint8_t>(frame.kind),
                      .zero = 0,
                      .service = frame.service,
                      .instance = frame.instance,
                      .from = frame.from,
                      .to = frame.to};
  std::vector<uint8_t> payload(sizeof header + frame.octets.size());
  std::memcpy(payload.data(), &header, sizeof header);
  if (!frame.octets.empty()) {
    std::memcpy(payload.data() + sizeof header, frame.octets.data(), frame.octets.size());
  }
  return payload;
}

bool decode(std::span<const uint8_t> payload, Frame* frame) {
  Header header;
  if (payload.size() < sizeof header) return false;
  std::memcpy(&header, payload.data(), sizeof header);
  if (header.version != kVersion || header.kind > static_cast<uint8_t>(Kind::kNote)) return false;
  frame->kind = static_cast<Kind>(header.kind);
  frame->service = header.service;
  frame->instance = header.instance;
  frame->from = header.from;
  frame->to = header.to;
  frame->octets.assign(payload.begin() + sizeof header, payload.end());
  return true;
}

}  // namespace traffic

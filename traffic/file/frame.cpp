#include "traffic/file/frame.h"

#include <bit>
#include <cstring>
#include <ctime>

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
static_assert(sizeof(Header) == kEncodedHead);

}  // namespace

int64_t now_ns() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
}

std::array<uint8_t, kEncodedHead> encode(const FrameHead& head) {
  return std::bit_cast<std::array<uint8_t, kEncodedHead>>(
      Header{.version = kVersion,
             .kind = static_cast<uint8_t>(head.kind),
             .zero = 0,
             .service = head.service,
             .instance = head.instance,
             .from = head.from,
             .to = head.to});
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

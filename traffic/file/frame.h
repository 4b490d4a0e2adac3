// A frame: one datagram of the bus as a capture keeps it, with what it takes to read it alone.
//
// In a pcapng packet of link type 252 (Wireshark's "upper PDU export") it stands behind the name of
// its dissector, "vexqmi", as 28 octets, little-endian, and then the datagram:
//
//   0  u8   version of this layout, 1
//   1  u8   kind
//   2  u16  zero
//   4  u32  service, 0 when it is not known (control packets, notes)
//   8  u32  version and instance of the service, as control packets have them
//   12 u32  node and u32 port of the sender
//   20 u32  node and u32 port of the receiver
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "qcci/wire/packet.h"

namespace traffic {

enum class Kind : uint8_t {
  kMessage = 0,  // a QMI message
  kControl = 1,  // a control packet of QRTR
  kNote = 2,     // no datagram: a comment alone, of what happened then
};

struct FrameHead {
  int64_t time_ns = 0;  // since 1970, UTC
  Kind kind = Kind::kMessage;
  bool to_client = false;  // its receiver is the client; else its sender is
  uint32_t service = 0;
  uint32_t instance = 0;
  qcci::Address from, to;

  qcci::Address client() const { return to_client ? to : from; }
  qcci::Address server() const { return to_client ? from : to; }
};

// The time, as frames have it.
[[nodiscard]] int64_t now_ns();

struct Frame : FrameHead {
  std::vector<uint8_t> octets;
  std::vector<std::string> comments;  // for a person, without line ends
};

// What stands behind the name of the dissector and before the datagram.
inline constexpr size_t kEncodedHead = 28;
[[nodiscard]] std::array<uint8_t, kEncodedHead> encode(const FrameHead& head);
// False for what encode does not make; sets all but time, direction and comments.
[[nodiscard]] bool decode(std::span<const uint8_t> payload, Frame* frame);

}  // namespace traffic

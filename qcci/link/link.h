// The link: how datagrams reach the bus that the modem's services are on.
//
// A link gives endpoints, each with an address of its own, as sockets of the kernel's QRTR family
// do. Everything above it works by datagrams alone: services are looked up, and watched, with
// control packets to and from the own node's control port.
//
// Threads: open, close and send from any thread; receive from one thread at a time; wake from any.
#ifndef QCCI_LINK_LINK_H_
#define QCCI_LINK_LINK_H_

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/clock/process_clock.h"
#include "qcci/wire/packet.h"

namespace qcci {

// Never reused by a link.
using EndpointId = uint64_t;

struct Endpoint {
  EndpointId id = 0;
  Address own;
};

struct Datagram {
  EndpointId endpoint = 0;
  Address from;
  std::vector<uint8_t> octets;
};

enum class Sent {
  kSent,
  kBusy,  // there is no room for it now; it has not gone out
  kCut,   // the endpoint is cut off from the bus, or was never on it
};

enum class [[nodiscard]] Received{
    kDatagram,  // one datagram
    kClosed,    // `endpoint` is cut off from the bus for good, and is closed
    kNothing,   // the deadline passed, or the receiver was woken
};

class Link {
 public:
  virtual ~Link() = default;

  // False when there is no bus to be on; it may be tried again.
  [[nodiscard]] virtual bool open(Endpoint* endpoint) = 0;
  // Whether open will always fail, so that there is nothing to wait for. Never changes.
  [[nodiscard]] virtual bool never_opens() const { return false; }
  // Nothing is received for the endpoint once this has returned.
  virtual void close(EndpointId endpoint) = 0;
  // Waits for nobody, unless the bus itself does (see qrtr.h).
  [[nodiscard]] virtual Sent send(EndpointId endpoint, Address to,
                                  std::span<const uint8_t> octets) = 0;

  virtual Received receive(Datagram* datagram, platform::Time deadline) = 0;
  virtual void wake() = 0;
};

// The link that the client library uses. Called once, at its first use. Defined by the program, not
// here: by the implementation of the contract that it links, or by itself.
[[nodiscard]] std::unique_ptr<Link> make_process_link();

}  // namespace qcci

#endif  // QCCI_LINK_LINK_H_

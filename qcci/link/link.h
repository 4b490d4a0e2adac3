// The link: carries datagrams to and from the bus that the modem's services are on.
//
// A link opens endpoints, each with its own address, as sockets of the kernel's QRTR family have.
// It knows nothing of services: these are looked up and watched with control packets, which are
// datagrams to and from the control port of the endpoint's own node.
//
// Receiving is two steps, so that several threads may wait while datagrams are taken in their
// order: wait() blocks, without its caller's locks; take() does not block, and is called with them.
//
// Threads. take: one thread at a time. Everything else: any thread, also while others wait. No
// function calls back, so a caller may hold its own locks.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/clock/process_clock.h"
#include "qcci/wire/packet.h"

namespace qcci {

// Not reused by a link; 0 is none.
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
  kBusy,  // not sent: no room at the destination for now
  kCut,   // not sent: the endpoint is not on the bus any more, or there is no such destination
};

enum class [[nodiscard]] Received{
    kDatagram,  // one datagram
    kClosed,    // `endpoint` has lost the bus for good, and is closed
    kNothing,
};

class Link {
 public:
  virtual ~Link() = default;

  // Opens an endpoint. False when there is no bus now; a later attempt may succeed.
  [[nodiscard]] virtual bool open(Endpoint* endpoint) = 0;
  // Whether open always fails, so that nothing is worth waiting for. Constant for a link.
  [[nodiscard]] virtual bool never_opens() const { return false; }
  // No datagram of the endpoint is received after this has returned.
  virtual void close(EndpointId endpoint) = 0;
  // Sends at most kMaxDatagram octets, and does not block unless the bus does (see qrtr.h).
  [[nodiscard]] virtual Sent send(EndpointId endpoint, Address to,
                                  std::span<const uint8_t> octets) = 0;

  // Waits until there may be something to take, the deadline passes, or wakes() is not `wakes` any
  // more. It may return early; a caller looks at what it waits for again.
  virtual void wait(platform::Time deadline, uint64_t wakes) = 0;
  // Takes what a wait has found. kDatagram: *datagram is it. kClosed: only its `endpoint` is set.
  // After kNothing there is nothing before the next wait.
  virtual Received take(Datagram* datagram) = 0;
  // Ends every wait that runs.
  virtual void wake() = 0;
  // How often wake() has been called. Read before a wait, under the lock that guards what is waited
  // for, it tells the wait of a wake that comes before it has begun.
  virtual uint64_t wakes() const = 0;
};

// The link that the client library uses. Called once, at its first use. Defined by the program, not
// here: by the implementation of the contract that it links, or by itself.
[[nodiscard]] std::unique_ptr<Link> make_process_link();

}  // namespace qcci

// The library's place on the bus: the endpoint of its look-ups, and what they have found.
//
// It calls nobody back, and its owner locks it: a function that takes the owner's mutex gives it up
// meanwhile. What a loss or a packet changes is returned, for the owner to act on.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <vector>

#include "base/mutex.h"
#include "qcci/client/registry.h"
#include "qcci/link/link.h"

namespace qcci {

// Opens an endpoint; a link that has no memory for one counts as no bus. Without any mutex.
[[nodiscard]] bool try_open(Link& link, Endpoint* endpoint);

class Bus {
 public:
  enum class State {
    kOff,         // not on a bus
    kConnecting,  // a thread opens the endpoint; it does not hold the mutex
    kUp,          // on a bus
    kBackedOff,   // off, and not to be connected to before a certain time
  };

  explicit Bus(Link& link) : link_(link) {}

  State state() const { return state_; }
  bool up() const { return state_ == State::kUp; }
  // The endpoint of the look-ups. While up.
  const Endpoint& control() const { return control_; }
  // How many buses have been lost: an endpoint opened before a loss is of no use after it.
  uint64_t losses() const { return losses_; }
  const Registry& registry() const { return registry_; }
  // The state of a service, which is remembered as one to look up from then on.
  ServiceState& service(uint32_t id) { return registry_.service(id); }

  // Goes on the bus unless it is there or backs off; true when it is there then. One thread
  // connects at a time; the others wait for its result. A bus that leaves an attempt without an
  // answer is backed off from.
  [[nodiscard]] bool connect(base::Mutex& mutex, base::Lock& lock) REQUIRES(mutex);
  // The endpoint of the look-ups for a client; false when one has, or had, it already.
  [[nodiscard]] bool share(Endpoint* endpoint);

  // Sends the look-up of a service unless that has been done. kBusy: it has to be done again. kCut:
  // there is no name service, so this is of no use as a bus. Call it while up.
  Sent look_up(uint32_t service);
  // The first service whose look-up has not been sent; null when all have.
  const uint32_t* missing_look_up() const;

  // Applies a control packet, and returns what has changed.
  [[nodiscard]] std::vector<ServiceChange> apply(const ControlPacket& packet) {
    return registry_.apply(packet);
  }
  // The bus is lost, and not connected to again before the pause is over; returns what has gone.
  [[nodiscard]] std::vector<ServiceChange> lose(platform::Duration pause);
  // Leaves the bus if a client shared the endpoint: its service sees that client until the endpoint
  // is closed. What has been looked up is forgotten.
  void leave();

 private:
  Link& link_;
  State state_ = State::kOff;
  std::condition_variable connected_;  // or not: the attempt of kConnecting is over
  platform::Time off_until_{};         // of kBackedOff
  Endpoint control_;
  bool shared_ = false;  // a client has, or had, the same endpoint
  uint64_t losses_ = 0;
  Registry registry_;
};

}  // namespace qcci

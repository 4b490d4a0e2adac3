// A modem as those see it who carry its datagrams: a bus that clients attach to, and timed work.
//
// Threads: every function may be called from any thread. Ports are called with the modem's mutex
// held.
//
// Time: nothing happens by itself. Whoever carries the modem's datagrams calls run_due at the time
// that next_due gives. Services come and go in run_due, and in nothing else that stands here.
#pragma once

#include <cstdint>
#include <span>

#include "platform/clock/process_clock.h"
#include "sim/modem/bus.h"

namespace sim {

class ModemBus {
 public:
  virtual ~ModemBus() = default;

  // Gives the port an address. The port must outlast its detach, after which it is not called.
  [[nodiscard]] virtual Address attach(Port& port) = 0;
  virtual void detach(Address client) = 0;
  // Takes one datagram from a client. What nobody can answer (no such service, no QMI request) is
  // dropped, as on a real bus.
  virtual void send(Address client, Address to, std::span<const uint8_t> octets) = 0;

  // When work is due next; kNever when none is.
  [[nodiscard]] virtual platform::Time next_due() = 0;
  virtual void run_due() = 0;
};

}  // namespace sim

// The ways into a served modem from other processes, and the loop that serves them.
#ifndef SIM_SERVING_LISTENER_H_
#define SIM_SERVING_LISTENER_H_

#include <poll.h>

#include <span>
#include <vector>

#include "sim/modem/modem.h"

namespace sim {

class Listener {
 public:
  virtual ~Listener() = default;
  // Appends what it waits for.
  virtual void poll_for(std::vector<pollfd>* polled) = 0;
  // Takes what has come; `polled` is what it appended, with the events.
  virtual void serve(std::span<const pollfd> polled) = 0;
};

// Carries the datagrams of its listeners and the modem's time until `stop`, a descriptor, becomes
// readable.
void serve_modem(Modem& modem, std::span<Listener* const> listeners, int stop);

}  // namespace sim

#endif  // SIM_SERVING_LISTENER_H_

// A way into a served modem from other processes, and the loop that serves such ways.
//
// Threads: serve_modem calls listeners on its own thread only.
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
  // Appends the descriptors that it waits for; the same number until serve returns.
  virtual void poll_for(std::vector<pollfd>* polled) = 0;
  // Handles what has arrived. `polled`: what it appended, with poll(2)'s results. Never blocks.
  virtual void serve(std::span<const pollfd> polled) = 0;
};

// Serves the listeners and runs the modem's due work until `stop`, a descriptor, becomes readable.
void serve_modem(Modem& modem, std::span<Listener* const> listeners, int stop);

}  // namespace sim

#endif  // SIM_SERVING_LISTENER_H_

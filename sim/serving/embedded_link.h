// The embedded link: the simulated modem runs inside the process.
//
// A request is handled on the thread that sends it, and what the modem says is queued for the
// receiver, whose wait also carries the modem's time.
#ifndef SIM_SERVING_EMBEDDED_LINK_H_
#define SIM_SERVING_EMBEDDED_LINK_H_

#include <memory>

#include "qcci/link/link.h"
#include "sim/modem/modem.h"

namespace sim {

// The modem may be shared with a test; it outlives the link.
std::unique_ptr<qcci::Link> make_embedded_link(std::shared_ptr<Modem> modem);

}  // namespace sim

#endif  // SIM_SERVING_EMBEDDED_LINK_H_

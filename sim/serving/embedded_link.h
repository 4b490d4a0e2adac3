// The embedded link: the simulated modem runs inside the process.
//
// A request is handled on the thread that sends it, with the work that is due at once. The modem's
// datagrams are queued until they are taken. A thread that waits for one also runs the modem's due
// work.
#pragma once

#include <memory>

#include "qcci/link/link.h"
#include "sim/modem/modem_bus.h"

namespace sim {

// Never null. The link keeps the modem alive.
std::unique_ptr<qcci::Link> make_embedded_link(std::shared_ptr<ModemBus> modem);

}  // namespace sim

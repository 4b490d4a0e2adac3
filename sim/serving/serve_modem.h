// The loop of a modem that other processes use.
#pragma once

#include "sim/modem/modem_bus.h"
#include "sim/serving/poller.h"

namespace sim {

// Handles what is ready on the poller, to which the ways into the modem (Server, QrtrServer) have
// been added, and runs the modem's due work, until `stop`, a descriptor, becomes readable. The
// poller and what was added to it are this thread's meanwhile.
void serve_modem(ModemBus& modem, Poller& poller, int stop);

}  // namespace sim

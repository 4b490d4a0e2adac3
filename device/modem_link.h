// The link to a phone's modem: the kernel's QRTR bus.
#pragma once

#include <memory>

#include "qcci/link/link.h"

namespace device {

// Never null. Where there is no bus, or this process may not use it, the link never opens, and
// standard error says why and what to do. Call it once: when the process ends, the services that it
// has looked for in vain are reported too.
[[nodiscard]] std::unique_ptr<qcci::Link> make_link();

}  // namespace device

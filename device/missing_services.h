// Reports the services that a process looks for on the bus and that never appear there.
#pragma once

#include <memory>

#include "qcci/link/link.h"

namespace device {

// A link that passes everything on to `link` unchanged and reads the look-ups and their answers on
// the way. What is missing when the process ends is reported then. Call it once.
[[nodiscard]] std::unique_ptr<qcci::Link> report_missing_services(std::unique_ptr<qcci::Link> link);

}  // namespace device

// The RF and GPIO test configurations, which common requests set and which are files of the modem.
#pragma once

#include <cstdint>
#include <span>

#include "sim/phone/storage.h"

namespace sim {

// Stores the configuration that a common request sets: kelvor_gpio, cut to the values that are set,
// or kelvor_rf_tx. 0 or an errno number: EINVAL for a request that is too short, ENOSYS for one
// that sets no configuration, else the file's.
[[nodiscard]] int store_rf_configuration(const Storage& storage, std::span<const uint8_t> octets);

}  // namespace sim

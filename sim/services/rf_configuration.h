// The RF and GPIO test configurations, which common requests set and which the modem keeps in its
// file system.
#ifndef SIM_SERVICES_RF_CONFIGURATION_H_
#define SIM_SERVICES_RF_CONFIGURATION_H_

#include <cstdint>
#include <optional>
#include <span>

#include "sim/phone/storage.h"

namespace sim {

// Keeps the configuration that a common request sets: kelvor_gpio, cut to the values that are
// there, or kelvor_rf_tx. 0 or a negated errno number; none when the request sets none.
std::optional<int32_t> keep_rf_configuration(const Storage& storage,
                                             std::span<const uint8_t> request);

}  // namespace sim

#endif  // SIM_SERVICES_RF_CONFIGURATION_H_

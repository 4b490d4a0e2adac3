// The statistics feature's health counters, as the modem packs them.
#ifndef SIM_SERVICES_COUNTERS_H_
#define SIM_SERVICES_COUNTERS_H_

#include <string>

#include "sim/config/config.h"

namespace sim {

// Version 4: the version octet, then the main, diag, CM and UIM blocks, packed and little-endian.
std::string statistics_counters(const PhoneConfig& config);

}  // namespace sim

#endif  // SIM_SERVICES_COUNTERS_H_

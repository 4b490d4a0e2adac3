// The statistics feature's health counters, as the modem packs them.
#ifndef SIM_SERVICES_COUNTERS_H_
#define SIM_SERVICES_COUNTERS_H_

#include <string>

#include "sim/config/config.h"

namespace sim {

// The record of version 4: the version octet, then the main, diag, CM and UIM blocks, packed and
// little-endian. Counters that phone.toml has no key for are 0.
std::string statistics_counters(const PhoneConfig& config);

}  // namespace sim

#endif  // SIM_SERVICES_COUNTERS_H_

// The statistics feature's health counters, as the modem packs them.
#pragma once

#include <string>

#include "sim/config/config.h"

namespace sim {

// The record of version 4: the version octet, then the main, diag, CM and UIM blocks, packed and
// little-endian. Counters that phone.toml has no key for are 0.
std::string statistics_counters(const PhoneConfig& config);

}  // namespace sim

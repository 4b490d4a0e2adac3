// What `vex-phone show` prints.
#pragma once

#include <cstdint>
#include <string>

#include "sim/phone/phone.h"

namespace sim {

// Prints the phone's configuration and files. False, and why, when there is no phone or its
// phone.toml has a mistake. Makes nothing.
bool show(const Phone& phone, std::string* why);

// Print all octets of an NV item or an EFS file of a subscription, 0 to 2, sixteen a line. False,
// and why, when it is not there.
bool show_nv(const Phone& phone, uint32_t id, uint32_t sub, std::string* why);
bool show_efs(const Phone& phone, const std::string& path, uint32_t sub, std::string* why);

}  // namespace sim

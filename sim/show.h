// What `vex-phone show` prints.
#pragma once

#include <string>

#include "sim/phone/phone.h"

namespace sim {

// Prints the phone's configuration and files. False, and why, when there is no phone or its
// phone.toml has a mistake. Makes nothing.
bool show(const Phone& phone, std::string* why);

}  // namespace sim

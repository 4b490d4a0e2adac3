// Reads the configuration in a phone's directory.
#pragma once

#include <string>

#include "sim/config/config.h"
#include "sim/phone/phone.h"

namespace sim {

// Reads the text of the phone's phone.toml. False, and why, when it cannot be read.
[[nodiscard]] bool read_phone_toml(const Phone& phone, std::string* toml, std::string* why);
// Reads the phone's phone.toml. False, and why, when it cannot be read or has a mistake.
[[nodiscard]] bool load_phone_config(const Phone& phone, PhoneConfig* config, std::string* why);
// The same, the phone's directory prepared before.
[[nodiscard]] bool read_phone(const Phone& phone, PhoneConfig* config, std::string* why);

}  // namespace sim

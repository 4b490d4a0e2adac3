// Makes the phone's modem with all of its services.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "sim/modem/modem.h"

namespace sim {

// Prepares the directory, reads phone.toml and makes the modem. Null, and why, when there can be no
// phone or phone.toml has a mistake.
[[nodiscard]] std::unique_ptr<Modem> make_modem(const Phone& phone, std::string* why);
// The same with a phone.toml that read_phone has read; never null.
[[nodiscard]] std::unique_ptr<Modem> make_modem(const Phone& phone, PhoneConfig config);

// Makers of all services that there are.
std::span<const ServiceMaker> all_services();

}  // namespace sim

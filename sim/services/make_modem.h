// The phone's modem with all of its services.
#ifndef SIM_SERVICES_MAKE_MODEM_H_
#define SIM_SERVICES_MAKE_MODEM_H_

#include <memory>
#include <string>

#include "sim/modem/modem.h"

namespace sim {

// Prepares the directory, reads phone.toml and makes the modem. Null, and why, when it cannot be.
std::unique_ptr<Modem> make_modem(const Phone& phone, std::string* why);
// The modem of a phone that has been read.
std::unique_ptr<Modem> make_modem(const Phone& phone, PhoneConfig config);

}  // namespace sim

#endif  // SIM_SERVICES_MAKE_MODEM_H_

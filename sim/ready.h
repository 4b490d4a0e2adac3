// Says that a program is ready, to whoever started it.
#pragma once

#include <optional>
#include <string>

namespace sim {

// To a service manager that has set $NOTIFY_SOCKET, as sd_notify(3) describes; nothing without one.
// `state`: "READY=1" or "STOPPING=1". A manager that cannot be reached is reported.
void notify_manager(const char* state);

// Writes a line end to the descriptor and closes it. False, and why, when it is not open for that.
[[nodiscard]] bool tell_ready(int descriptor, std::string* why);

}  // namespace sim

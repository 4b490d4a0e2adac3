// Local sockets in the phone's directory.
#pragma once

#include <string>

#include "sim/phone/phone.h"

namespace sim {

// Listens, without blocking, at the name below the phone's directory, which only this user may
// open. `type`: SOCK_SEQPACKET or SOCK_STREAM. A socket that a dead server left is replaced: the
// caller has made sure that no other serves the phone. False, and why, when there can be none.
[[nodiscard]] bool listen_at(const Phone& phone, const std::string& name, int type,
                             Descriptor* listening, std::string* why);

}  // namespace sim

// A dissector for Wireshark and tshark, made of the element rows and the table of names.
//
// A value is the field vexqmi.SERVICE.MESSAGE.TYPE.NAME, where MESSAGE is the message's name with
// underscores and NAME those of the members on the way to it:
// vexqmi.nas.network_scan.response.rats.value.
#pragma once

#include <string>

#include "qcci/idl/service.h"

namespace traffic {

// The whole of it, in Lua.
[[nodiscard]] std::string dissector();

// What the fields of a message begin with, with a dot at the end.
[[nodiscard]] std::string field_prefix(const qmi_idl_service_object& service, uint32_t message,
                                       uint8_t type);

}  // namespace traffic

// The client library's link in every program. Alone in its source, so that a program that defines
// qcci::make_process_link itself links that one instead.

#include "device/modem_link.h"

std::unique_ptr<qcci::Link> qcci::make_process_link() { return device::make_link(); }

// What goes wrong on a phone below the contract, in words for the person who runs the tool.
#pragma once

#include <string>

namespace device {

// Prints one line to standard error, which the tool's own output leaves alone. Any thread may call
// it.
void report(const std::string& line);

}  // namespace device

// Runs a program of the phone, without a shell in between.
#pragma once

#include <string>
#include <vector>

namespace device {

// `words`: the program's path, then its arguments. *output, unless null, is what it writes to its
// standard output, at most 4 KiB of it. Waits for at most five seconds, and then ends it. Returns 0
// when it has ended with status 0; EPROTO when it has ended otherwise; ETIMEDOUT; or the errno
// number of what kept it from starting. Any thread may call it.
[[nodiscard]] int run_program(const std::vector<std::string>& words, std::string* output);

}  // namespace device

// Lines on standard error, each behind the program's name and a colon, as other tools print them.
#pragma once

#include <cerrno>
#include <cstdio>
#include <string>

namespace sim {

// `line`: without a line end.
inline void report(const std::string& line) {
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, line.c_str());
}

}  // namespace sim

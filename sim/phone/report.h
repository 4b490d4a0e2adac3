// What a program says beside its output: lines on standard error that begin with its name.
#ifndef SIM_PHONE_REPORT_H_
#define SIM_PHONE_REPORT_H_

#include <cerrno>
#include <cstdio>
#include <string>

namespace sim {

inline void report(const std::string& line) {
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, line.c_str());
}

}  // namespace sim

#endif  // SIM_PHONE_REPORT_H_

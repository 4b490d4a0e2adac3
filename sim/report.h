// What vex-phone has to say beside its output: lines on standard error that begin with its name.
#ifndef SIM_REPORT_H_
#define SIM_REPORT_H_

#include <cstdio>
#include <string>

namespace sim {

inline void report(const std::string& line) {
  std::fprintf(stderr, "vex-phone: %s\n", line.c_str());
}

}  // namespace sim

#endif  // SIM_REPORT_H_

#include "device/report.h"

#include <cstdio>

void device::report(const std::string& line) { std::fprintf(stderr, "vex: %s\n", line.c_str()); }

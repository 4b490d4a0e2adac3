// The simulated phone of this process.

#include <cstdio>
#include <string>

#include "host/host.h"

namespace host {

const sim::Phone& phone() {
  static const auto* const instance = new sim::Phone(sim::Phone::default_root());
  return *instance;
}

bool prepare_phone() {
  static const bool ready = [] {
    std::string why;
    if (phone().prepare(&why)) return true;
    std::fprintf(stderr, "vex: %s\n", why.c_str());
    return false;
  }();
  return ready;
}

}  // namespace host

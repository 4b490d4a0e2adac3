// A test of the statistics framework, which admits only processes of known names.
#pragma once

#include <errno.h>

#include "support/desk.h"

namespace desk {

using Lines = std::vector<std::string>;

inline void call_process(const char* name) {
  program_invocation_short_name = const_cast<char*>(name);
}

inline std::string strip(const std::string& text) {
  std::string all;
  for (const char c : text) all += c == ' ' ? "" : std::string(1, c);
  return all;
}
// A line of [measurements.subN.raw].
inline std::string raw(uint32_t id, const std::string& octets) {
  return "\"" + std::to_string(id) + "\" = \"" + strip(octets) + "\"\n";
}

struct Vireo : Desk {
  void SetUp() override { call_process("vex"); }
  // The requests so far, each as "service id TLVs".
  Lines sent(size_t from = 0) {
    Lines lines;
    for (const Message& request : passed(sim::FaultKind::kRequest)) {
      if (from > 0 && from-- > 0) continue;
      char id[8];
      std::snprintf(id, sizeof id, " %04X ", request.id());
      lines.push_back(request.service + id + request.tlvs());
    }
    return lines;
  }
};

}  // namespace desk

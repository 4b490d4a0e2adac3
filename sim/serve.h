// What `vex-phone serve` does.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "sim/phone/phone.h"

namespace sim {

struct Serving {
  bool trace = false;
  std::string capture;  // a file's path, or empty
  std::string replay;   // the same
  bool timing = false;  // of the replayed capture
  bool qrtr = false;
  std::optional<uint32_t> node;  // the number of a node of its own on the QRTR bus
  std::optional<int> ready_fd;   // gets a line end, and is closed, once the phone is served
};

// Serves the phone's modem, or one that answers from a capture in its place, until the process is
// interrupted. False, and why, when that cannot be done.
[[nodiscard]] bool serve(const Phone& phone, const Serving& wanted, std::string* why);

}  // namespace sim

// What vex-phone prints to standard output.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace sim {

// Flushes standard output. False, and why, when a write failed.
[[nodiscard]] inline bool flush_output(std::string* why) {
  const bool flushed = std::fflush(stdout) == 0;
  if (flushed && std::ferror(stdout) == 0) return true;
  *why = std::string("standard output: ") + (flushed ? "a write failed" : std::strerror(errno));
  return false;
}

}  // namespace sim

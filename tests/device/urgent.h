// What the programs of the machine that stands for a phone share.
#pragma once

#include <sched.h>

#include <cstdlib>

namespace desk {

// How exact the machine's clock of idle time is, in milliseconds.
inline constexpr long kBlurMs = 30;

// A modem and a log are there at once, as on other processors: they run before any other process.
inline void be_urgent() {
  sched_param urgent{};
  urgent.sched_priority = 1;
  if (::sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &urgent) != 0) std::abort();
}

}  // namespace desk

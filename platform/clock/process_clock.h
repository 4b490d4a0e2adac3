// The one clock that everything below the contract waits on.
//
// In a program it is the real, monotonic clock. A test replaces it before the first wait and moves
// time itself, so that a three-second time-out costs nothing. Every function may be called from any
// thread, and none throws.
#pragma once

#include <poll.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace platform {

using Time = std::chrono::steady_clock::time_point;
using Duration = std::chrono::steady_clock::duration;
inline constexpr Time kNever = Time::max();

class Clock {
 public:
  virtual ~Clock() = default;

  virtual Time now() = 0;
  // Signals do not end the sleep. With kNever it never returns.
  virtual void sleep_until(Time deadline) = 0;
  // Waits, with `lock` released, until `condition` is notified; false when the deadline has passed.
  // May wake spuriously, so the caller loops over its own predicate and may ignore the result.
  virtual bool wait_until(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                          Time deadline) = 0;
  // As poll(2), whose result it returns, besides revents: 0 when the deadline has passed, -1 and
  // errno on an error, which is never EINTR.
  virtual int poll_until(pollfd* fds, nfds_t count, Time deadline) = 0;
};

// The process's clock. set_clock(nullptr) restores the real one. The replacement stays the
// caller's; set it only while no thread waits on the clock.
Clock& clock();
void set_clock(Clock* replacement);

}  // namespace platform

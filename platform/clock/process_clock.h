// The one clock that everything below the contract waits on.
//
// Real in every program; a test replaces it before the first wait and moves time itself, so that a
// three-second time-out costs it nothing.
#ifndef PLATFORM_CLOCK_PROCESS_CLOCK_H_
#define PLATFORM_CLOCK_PROCESS_CLOCK_H_

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
  virtual void sleep_until(Time deadline) = 0;
  // Waits for a notification of `condition`; false once the deadline has passed. Wakes for no
  // reason at times, so the caller loops over its own predicate.
  virtual bool wait_until(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                          Time deadline) = 0;
  // As poll(2), whose result it returns; 0 once the deadline has passed.
  [[nodiscard]] virtual int poll_until(pollfd* fds, nfds_t count, Time deadline) = 0;

  // Brackets work in flight between threads: a test's clock does not move on by itself meanwhile.
  virtual void hold() {}
  virtual void release() {}
};

// The process's clock. set_clock(nullptr) brings the real one back; not while anybody waits.
Clock& clock();
void set_clock(Clock* replacement);

}  // namespace platform

#endif  // PLATFORM_CLOCK_PROCESS_CLOCK_H_

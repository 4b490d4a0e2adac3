// A clock that the test moves.
#pragma once

#include <atomic>
#include <map>
#include <thread>

#include "base/mutex.h"
#include "platform/clock/process_clock.h"

namespace desk {

class TestClock final : public platform::Clock {
 public:
  // Makes it the process's clock until the end, because library threads wait on it.
  static TestClock& install();

  platform::Time now() override;
  void sleep_until(platform::Time deadline) override;
  bool wait_until(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                  platform::Time deadline) override;
  int poll_until(pollfd* fds, nfds_t count, platform::Time deadline) override;
  void hold() override { ++holds_; }
  void release() override { --holds_; }

  void advance(platform::Duration by);
  // Returns when so many threads wait for exactly this time from now.
  void await_waiter(platform::Duration from_now, int count = 1);
  // The same for one thread; others, like the client library's, may wait for the same time.
  void await_waiter(platform::Duration from_now, std::thread::id thread);
  // From now on, time jumps to the next deadline whenever all threads wait for one.
  void run_by_itself();
  // The time since the clock was made.
  platform::Duration passed();

 private:
  // What a thread waits for. The wait returns every millisecond, so that its caller looks at its
  // condition; a thread that does not come back soon is no longer waiting.
  struct Waiter {
    const void* on;
    platform::Time deadline;
    bool away;
    std::chrono::steady_clock::time_point since;  // real time
  };
  enum class Leave { kForGood, kForAGlance };

  void enter(const void* on, platform::Time deadline);
  void leave(Leave how);
  void run();

  base::Mutex mutex_;
  platform::Time now_ GUARDED_BY(mutex_) = platform::Time{} + std::chrono::hours(1);
  std::map<std::thread::id, Waiter> waiters_ GUARDED_BY(mutex_);
  uint64_t changes_ GUARDED_BY(mutex_) = 0;  // of waiters_
  std::atomic<int> holds_{0};
};

}  // namespace desk

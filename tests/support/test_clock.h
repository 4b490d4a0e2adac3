// A clock that only a test moves.
#ifndef TESTS_SUPPORT_TEST_CLOCK_H_
#define TESTS_SUPPORT_TEST_CLOCK_H_

#include <atomic>
#include <map>
#include <thread>

#include "platform/clock/process_clock.h"

namespace desk {

class TestClock final : public platform::Clock {
 public:
  // The process's clock from now on. Never taken away: library threads wait on it until the end.
  static TestClock& install();

  platform::Time now() override;
  void sleep_until(platform::Time deadline) override;
  bool wait_until(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                  platform::Time deadline) override;
  int poll_until(pollfd* fds, nfds_t count, platform::Time deadline) override;
  void hold() override { ++holds_; }
  void release() override { --holds_; }

  void advance(platform::Duration by);
  // Returns when so many wait for this time from now, to the millisecond.
  void await_waiter(platform::Duration from_now, int count = 1);
  // The same for that one thread: others, like the client library's, wait for times of their own.
  void await_waiter(platform::Duration from_now, std::thread::id thread);
  // From now on, time goes to the next deadline whenever everybody waits for one.
  void run_by_itself();
  // Time that has passed since the clock was made.
  platform::Duration passed();

 private:
  // What a thread waits for. A waiter glances at the time now and then and lets its caller look at
  // its condition meanwhile: it is still waiting, unless it stays away.
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

  std::mutex mutex_;
  platform::Time now_ = platform::Time{} + std::chrono::hours(1);
  std::map<std::thread::id, Waiter> waiters_;
  uint64_t changes_ = 0;
  std::atomic<int> holds_{0};
};

}  // namespace desk

#endif  // TESTS_SUPPORT_TEST_CLOCK_H_

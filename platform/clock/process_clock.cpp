#include "platform/clock/process_clock.h"

#include <cerrno>
#include <ctime>

#include "platform/clock.h"

namespace platform {
namespace {

class RealClock final : public Clock {
 public:
  Time now() override { return std::chrono::steady_clock::now(); }

  void sleep_until(Time deadline) override {
    const auto left = deadline.time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    timespec until{};
    until.tv_sec = seconds.count();
    until.tv_nsec = std::chrono::nanoseconds(left - seconds).count();
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
  }

  bool wait_until(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                  Time deadline) override {
    if (deadline == kNever) {
      condition.wait(lock);
      return true;
    }
    return condition.wait_until(lock, deadline) == std::cv_status::no_timeout;
  }

  int poll_until(pollfd* fds, nfds_t count, Time deadline) override {
    for (;;) {
      timespec left{};
      if (deadline != kNever) {
        const auto rest = deadline - now();
        if (rest > Duration::zero()) {
          const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(rest);
          left.tv_sec = seconds.count();
          left.tv_nsec = std::chrono::nanoseconds(rest - seconds).count();
        }
      }
      const int ready = ::ppoll(fds, count, deadline == kNever ? nullptr : &left, nullptr);
      if (ready >= 0 || errno != EINTR) return ready;
    }
  }
};

// Never destroyed: detached threads may still wait while the process ends.
RealClock& real_clock() {
  static RealClock* const instance = new RealClock;
  return *instance;
}

Clock* g_replacement = nullptr;

}  // namespace

Clock& clock() { return g_replacement != nullptr ? *g_replacement : real_clock(); }

void set_clock(Clock* replacement) { g_replacement = replacement; }

}  // namespace platform

extern "C" void platform_sleep_ms(uint32_t milliseconds) {
  platform::Clock& clock = platform::clock();
  clock.sleep_until(clock.now() + std::chrono::milliseconds(milliseconds));
}

extern "C" uint64_t platform_now_ms() {
  const auto since = platform::clock().now().time_since_epoch();
  return static_cast<uint64_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

// One-shot timers, on one thread that is started with the first of them.

#include "platform/timer.h"

#include <condition_variable>
#include <map>
#include <system_error>
#include <thread>

#include "base/mutex.h"
#include "platform/clock/process_clock.h"

namespace {

class Timers {
 public:
  // Never destroyed: its thread runs until the process ends.
  static Timers& instance() {
    static Timers* const timers = new Timers;
    return *timers;
  }

  uint32_t start(kelvor_timer_callback callback, unsigned long timeout_s) EXCLUDES(mutex_) {
    const base::Lock lock(mutex_);
    if (!running_) {
      std::thread([this] { run(); }).detach();
      running_ = true;
    }
    if (++last_ == 0) ++last_;
    const auto at = platform::clock().now() + std::chrono::seconds(timeout_s);
    waiting_.emplace(std::pair(at, last_), callback);
    changed_.notify_all();
    return last_;
  }

  int32_t stop(uint32_t id) EXCLUDES(mutex_) {
    const base::Lock lock(mutex_);
    return std::erase_if(waiting_, [id](const auto& t) { return t.first.second == id; }) ? 0 : -1;
  }

 private:
  [[noreturn]] void run() EXCLUDES(mutex_) {
    base::Lock lock(mutex_);
    for (;;) {
      if (waiting_.empty()) {
        changed_.wait(lock);
        continue;
      }
      const auto first = waiting_.begin();
      const auto [at, id] = first->first;
      if (platform::clock().now() < at) {
        platform::clock().wait_until(changed_, lock, at);
        continue;
      }
      const kelvor_timer_callback callback = first->second;
      waiting_.erase(first);
      lock.unlock();
      sigval value{};
      value.sival_int = static_cast<int>(id);
      callback(value);
      lock.lock();
    }
  }

  base::Mutex mutex_;
  std::condition_variable changed_;
  bool running_ GUARDED_BY(mutex_) = false;
  uint32_t last_ GUARDED_BY(mutex_) = 0;
  std::map<std::pair<platform::Time, uint32_t>, kelvor_timer_callback> waiting_ GUARDED_BY(mutex_);
};

}  // namespace

extern "C" uint32_t kelvor_timer_start(kelvor_timer_callback callback, unsigned long timeout_s) {
  // A hundred years: more would overflow the clock's nanoseconds.
  constexpr unsigned long kLongest = 100UL * 365 * 24 * 3600;
  if (callback == nullptr) return 0;
  try {
    return Timers::instance().start(callback, timeout_s < kLongest ? timeout_s : kLongest);
  } catch (const std::system_error&) {
    return 0;
  }
}

extern "C" int32_t kelvor_timer_stop(uint32_t timer_id) {
  return Timers::instance().stop(timer_id);
}

// A clock that goes to the next deadline as soon as every thread of the process waits.
//
// desk::TestClock finds that out by real time, which a few thousand runs have not. Here threads
// really wait until they are notified, and /proc says whether they do.
#pragma once

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <string>
#include <thread>

#include "platform/clock/process_clock.h"

namespace sweep {

class QuickClock final : public platform::Clock {
 public:
  // The process's clock from now on, until it ends.
  QuickClock() {
    platform::set_clock(this);
    std::thread([this] { run(); }).detach();
  }

  platform::Time now() override { return now_; }
  void sleep_until(platform::Time deadline) override {
    std::mutex mutex;
    std::condition_variable never;
    std::unique_lock lock(mutex);
    while (wait_until(never, lock, deadline)) continue;
  }
  bool wait_until(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                  platform::Time deadline) override {
    std::unique_lock own(mutex_);
    const auto waiter = waiters_.insert(waiters_.end(), {&condition, deadline});
    own.unlock();
    ++changes_;
    if (now() < deadline) condition.wait(lock);
    own.lock();
    waiters_.erase(waiter);
    ++changes_;
    return now() < deadline;
  }
  // Nothing polls on the embedded link.
  int poll_until(pollfd*, nfds_t, platform::Time) override { std::abort(); }
  void hold() override { ++holds_; }
  void release() override { --holds_; }

 private:
  struct Waiter {
    std::condition_variable* condition;
    platform::Time deadline;
  };

  // Whether every thread but the caller's sleeps.
  static bool all_sleep() {
    std::error_code gone;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", gone)) {
      if (task.path().filename() == std::to_string(::gettid())) continue;
      std::string stat;
      std::getline(std::ifstream(task.path() / "stat"), stat);
      const size_t at = stat.rfind(") ");  // "number (name) state ..."
      if (at != std::string::npos && stat[at + 2] != 'S') return false;
    }
    return true;
  }

  void run() {
    for (uint64_t seen = 0;;) {
      std::this_thread::sleep_for(std::chrono::microseconds(200));
      // Twice: a thread that was asleep may have been woken by one that was looked at after it.
      const bool quiet = changes_ == seen && holds_ == 0 && all_sleep() && all_sleep();
      const std::lock_guard own(mutex_);
      if (quiet && changes_ == seen) advance();
      seen = changes_;
    }
  }

  void advance() {
    platform::Time next = platform::kNever;
    for (const Waiter& waiter : waiters_) next = std::min(next, waiter.deadline);
    if (next != platform::kNever) now_ = std::max(now_.load(), next);
    // One that has not begun to wait for its condition hears of it the next time.
    for (const Waiter& waiter : waiters_) {
      if (waiter.deadline <= now()) waiter.condition->notify_all();
    }
  }

  std::mutex mutex_;
  std::list<Waiter> waiters_;
  std::atomic<platform::Time> now_{platform::Time{} + std::chrono::hours(1)};
  std::atomic<uint64_t> changes_{0};
  std::atomic<int> holds_{0};
};

}  // namespace sweep

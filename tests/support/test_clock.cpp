#include "support/test_clock.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace desk {
namespace {

// Real time between two looks of a waiter at the test's time.
constexpr auto kGlance = std::chrono::milliseconds(1);
// After so many glances without a change no thread is about to do anything.
constexpr int kQuietGlances = 10;
// A waiter that is away for longer is working.
constexpr auto kLongGlance = std::chrono::milliseconds(5);
// And one that is away for this long may have ended, and is forgotten.
constexpr auto kGone = std::chrono::milliseconds(100);

// Whether another thread of this process is running or ready to run. On a busy machine a thread
// that is about to do something may otherwise look as if it waited.
bool another_runs() {
  const pid_t self = ::gettid();
  std::error_code gone;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", gone)) {
    if (task.path().filename() == std::to_string(self)) continue;
    std::ifstream in(task.path() / "stat");
    std::string stat{std::istreambuf_iterator<char>(in), {}};
    // "number (name) state ...", and a name may hold anything.
    const size_t at = stat.rfind(')');
    if (at == std::string::npos || at + 2 >= stat.size()) continue;
    // One that waits for a disk (D) is as busy as one that runs.
    if (stat[at + 2] == 'R' || stat[at + 2] == 'D') return true;
  }
  return false;
}

}  // namespace

void TestClock::enter(const void* on, platform::Time deadline) {
  const base::Lock lock(mutex_);
  const Waiter now{on, deadline, false, {}};
  const auto [at, is_new] = waiters_.try_emplace(std::this_thread::get_id(), now);
  if (is_new || at->second.on != on || at->second.deadline != deadline) ++changes_;
  at->second = now;
}

void TestClock::leave(Leave how) {
  const base::Lock lock(mutex_);
  if (how == Leave::kForGood) {
    waiters_.erase(std::this_thread::get_id());
    ++changes_;
  } else {
    Waiter& waiter = waiters_.at(std::this_thread::get_id());
    waiter.away = true;
    waiter.since = std::chrono::steady_clock::now();
  }
}

TestClock& TestClock::install() {
  static TestClock* const clock = [] {
    auto* made = new TestClock;
    platform::set_clock(made);
    return made;
  }();
  return *clock;
}

platform::Time TestClock::now() {
  const base::Lock lock(mutex_);
  return now_;
}

platform::Duration TestClock::passed() { return now() - platform::Time{} - std::chrono::hours(1); }

void TestClock::sleep_until(platform::Time deadline) {
  enter(this, deadline);
  while (now() < deadline) std::this_thread::sleep_for(kGlance);
  leave(Leave::kForGood);
}

bool TestClock::wait_until(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                           platform::Time deadline) {
  enter(&condition, deadline);
  const bool notified = condition.wait_for(lock, kGlance) == std::cv_status::no_timeout;
  const bool over = now() >= deadline;
  leave(notified || over ? Leave::kForGood : Leave::kForAGlance);
  return !over;
}

int TestClock::poll_until(pollfd* fds, nfds_t count, platform::Time deadline) {
  enter(fds, deadline);
  int ready = 0;
  do {
    ready = ::poll(fds, count, static_cast<int>(kGlance.count()));
  } while (ready == 0 && now() < deadline);
  leave(Leave::kForGood);
  return ready;
}

void TestClock::advance(platform::Duration by) {
  const base::Lock lock(mutex_);
  now_ += by;
}

void TestClock::await_waiter(platform::Duration from_now, int count) {
  for (;;) {
    {
      const base::Lock lock(mutex_);
      int waiting = 0;
      for (const auto& [thread, waiter] : waiters_) waiting += waiter.deadline == now_ + from_now;
      if (waiting >= count) return;
    }
    std::this_thread::sleep_for(kGlance);
  }
}

void TestClock::await_waiter(platform::Duration from_now, std::thread::id thread) {
  for (;; std::this_thread::sleep_for(kGlance)) {
    const base::Lock lock(mutex_);
    const auto at = waiters_.find(thread);
    if (at == waiters_.end() || at->second.away) continue;  // perhaps for good
    if (at->second.deadline == now_ + from_now) return;
  }
}

void TestClock::run_by_itself() {
  std::thread([this] { run(); }).detach();
}

void TestClock::run() {
  uint64_t seen = 0;
  int quiet = 0;
  for (;;) {
    std::this_thread::sleep_for(kGlance);
    const auto real_now = std::chrono::steady_clock::now();
    const base::Lock lock(mutex_);
    platform::Time next = platform::kNever;
    bool busy = changes_ != seen || holds_ != 0;
    seen = changes_;
    std::erase_if(waiters_, [&](const auto& entry) {
      return entry.second.away && real_now - entry.second.since > kGone;
    });
    for (const auto& [thread, waiter] : waiters_) {
      if (waiter.away && real_now - waiter.since > kLongGlance) {
        busy = true;
      } else if (waiter.deadline > now_) {
        next = std::min(next, waiter.deadline);
      }
    }
    quiet = busy ? 0 : quiet + 1;
    if (quiet < kQuietGlances || next == platform::kNever || another_runs()) continue;
    now_ = next;
    quiet = 0;
  }
}

}  // namespace desk

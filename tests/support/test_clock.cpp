#include "support/test_clock.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <vector>

namespace desk {
namespace {

thread_local int t_inside = 0;
std::atomic<TestClock*> g_installed{nullptr};

// Interrupts a poll of this thread.
int own_interrupt() {
  thread_local const struct Interrupt {
    Interrupt() : fd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    ~Interrupt() { ::close(fd); }
    int fd;
  } interrupt;
  return interrupt.fd;
}

}  // namespace

class TestClock::Own {
 public:
  explicit Own(TestClock& clock) : lock_((++t_inside, clock.mutex_)) {}
  ~Own() {
    lock_.unlock();
    --t_inside;
  }
  Own(const Own&) = delete;
  Own& operator=(const Own&) = delete;
  std::unique_lock<std::mutex>& lock() { return lock_; }

 private:
  std::unique_lock<std::mutex> lock_;
};

std::atomic<int> TestClock::threads_{1};

bool TestClock::inside() { return t_inside != 0; }

TestClock* TestClock::installed() { return g_installed; }

TestClock& TestClock::install() {
  static TestClock* const clock = [] {
    if (!knows_calls()) std::abort();
    auto* made = new TestClock;
    platform::set_clock(made);
    g_installed = made;
    // A child has one thread, which does not wait.
    ::pthread_atfork(nullptr, nullptr, [] {
      threads_ = 1;
      g_installed.load()->waits_.clear();
    });
    return made;
  }();
  return *clock;
}

platform::Duration TestClock::passed() { return now() - platform::Time{} - std::chrono::hours(1); }

// ---- what threads wait for

TestClock::Waiting::Waiting(Wait& wait) : wait_(wait) {
  wait.thread = std::this_thread::get_id();
  wait.tid = ::gettid();
  ::sem_init(&wait.woken, 0, 0);
  TestClock& clock = *installed();
  const Own own(clock);
  place_ = clock.waits_.insert(clock.waits_.end(), &wait);
  clock.go_to(clock.now_);
  clock.changed_.notify_all();
  clock.settle();
}

TestClock::Waiting::~Waiting() {
  {
    TestClock& clock = *installed();
    const Own own(clock);
    clock.waits_.erase(place_);
  }
  ::sem_destroy(&wait_.woken);
}

const TestClock::Wait* TestClock::wait_of(pid_t tid) const {
  const auto at =
      std::find_if(waits_.begin(), waits_.end(), [tid](const Wait* w) { return w->tid == tid; });
  return at != waits_.end() ? *at : nullptr;
}

// Whether the thread is about to go on.
bool TestClock::comes(const Wait& wait) const {
  if (wait.over) return true;
  if (wait.fds != nullptr) return ::poll(wait.fds, wait.count, 0) != 0;
  if (wait.ends != 0) return ended_.contains(wait.ends);
  if (wait.mutex == nullptr) return false;
  const pid_t owner = wait.mutex->__data.__owner;
  const Wait* owners = owner != wait.tid ? wait_of(owner) : nullptr;
  return owners == nullptr || owners->releases == wait.mutex;
}

void TestClock::go_to(platform::Time time) {
  now_ = std::max(now_.load(), time);
  for (Wait* wait : waits_) {
    if (wait->over || wait->deadline > now_.load()) continue;
    wait->over = true;
    if (wait->interrupt >= 0) {
      ::eventfd_write(wait->interrupt, 1);
    } else {
      ::sem_post(&wait->woken);
    }
  }
}

void TestClock::settle() {
  if (!by_itself_ || waits_.size() < static_cast<size_t>(threads_)) return;
  platform::Time next = platform::kNever;
  for (const Wait* wait : waits_) {
    if (comes(*wait)) return;
    next = std::min(next, wait->deadline);
  }
  if (next != platform::kNever) go_to(next);
}

void TestClock::notified(pthread_cond_t* condition) {
  const Own own(*this);
  for (Wait* wait : waits_) {
    if (wait->condition != condition || wait->over) continue;
    wait->over = true;
    ::sem_post(&wait->woken);
  }
}

// A number of an earlier thread may be used again.
void TestClock::began() { joined(::pthread_self()); }

void TestClock::ended() {
  const Own own(*this);
  --threads_;
  ended_.insert(::pthread_self());
  settle();
}

void TestClock::joined(pthread_t thread) {
  const Own own(*this);
  ended_.erase(thread);
}

// ---- the clock

void TestClock::sleep_until(platform::Time deadline) {
  Wait wait{.deadline = deadline};
  const Waiting waiting(wait);
  while (::sem_wait(&wait.woken) != 0) continue;
}

bool TestClock::wait_until(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                           platform::Time deadline) {
  {
    Wait wait{.deadline = deadline,
              .condition = condition.native_handle(),
              .releases = lock.mutex()->native_handle()};
    const Waiting waiting(wait);
    lock.unlock();
    while (::sem_wait(&wait.woken) != 0) continue;
  }
  lock.lock();
  return now() < deadline;
}

int TestClock::poll_until(pollfd* fds, nfds_t count, platform::Time deadline) {
  std::vector<pollfd> polled(fds, fds + count);
  polled.push_back({own_interrupt(), POLLIN, 0});
  int ready = 0;
  Wait wait{
      .deadline = deadline, .fds = polled.data(), .count = count, .interrupt = own_interrupt()};
  {
    const Waiting waiting(wait);
    do {
      ++t_inside;
      ready = ::poll(polled.data(), polled.size(), -1);
      --t_inside;
    } while (ready < 0 && errno == EINTR);
  }
  if (polled.back().revents != 0) --ready;
  if (wait.over) {  // perhaps only after the poll
    eventfd_t ignored = 0;
    ::eventfd_read(own_interrupt(), &ignored);
  }
  std::copy_n(polled.begin(), count, fds);
  return ready;
}

void TestClock::advance(platform::Duration by) {
  const Own own(*this);
  go_to(now_.load() + by);
}

template <class Found>
void TestClock::await(Found found) {
  Own own(*this);
  while (!found()) changed_.wait(own.lock());
}

void TestClock::await_waiter(platform::Duration from_now, int count) {
  await([&] {
    return std::count_if(waits_.begin(), waits_.end(), [&](const Wait* wait) {
             return !wait->over && wait->deadline == now_.load() + from_now;
           }) >= count;
  });
}

void TestClock::await_waiter(platform::Duration from_now, std::thread::id thread) {
  await([&] {
    return std::any_of(waits_.begin(), waits_.end(), [&](const Wait* wait) {
      return wait->thread == thread && !wait->over && wait->deadline == now_.load() + from_now;
    });
  });
}

void TestClock::run_by_itself() {
  const Own own(*this);
  by_itself_ = true;
  settle();
}

}  // namespace desk

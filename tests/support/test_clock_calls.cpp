// The functions that start, stop and hold up threads, replaced so that the test's clock knows of
// them. Each does what the C library's does.

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <memory>

#include "support/test_clock.h"

namespace {

using desk::TestClock;

// The function that this one stands before: a sanitizer's, or the C library's.
template <class Function>
Function* next(Function*, const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}
#define NEXT(function)                                 \
  ([] {                                                \
    static auto* const f = next(&function, #function); \
    return f;                                          \
  }())

// The clock, when it is to know what this thread does.
TestClock* watching() { return TestClock::inside() ? nullptr : TestClock::installed(); }

std::atomic<int> g_broadcasts{0};

struct Start {
  void* (*body)(void*);
  void* argument;
};

void* run_thread(void* data) {
  const std::unique_ptr<Start> start(static_cast<Start*>(data));
  if (TestClock* const clock = watching()) clock->began();
  void* const result = start->body(start->argument);
  if (TestClock* const clock = watching()) {
    clock->ended();
  } else {
    TestClock::threads_changed(-1);
  }
  return result;
}

}  // namespace

bool desk::TestClock::knows_calls() {
  const int before = g_broadcasts;
  std::condition_variable().notify_all();
  return g_broadcasts != before;
}

extern "C" {

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) {
  auto start = std::make_unique<Start>(Start{body, argument});
  TestClock::threads_changed(1);
  const int error = NEXT(pthread_create)(thread, attributes, run_thread, start.get());
  if (error != 0) {
    TestClock::threads_changed(-1);
  } else {
    (void)start.release();
  }
  return error;
}

int pthread_join(pthread_t thread, void** result) {
  TestClock* const clock = watching();
  if (clock == nullptr) return NEXT(pthread_join)(thread, result);
  TestClock::Wait wait{.ends = thread};
  const TestClock::Waiting waiting(wait);
  const int error = NEXT(pthread_join)(thread, result);
  clock->joined(thread);
  return error;
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
  if (watching() == nullptr) return NEXT(pthread_mutex_lock)(mutex);
  if (NEXT(pthread_mutex_trylock)(mutex) == 0) return 0;
  TestClock::Wait wait{.mutex = mutex};
  const TestClock::Waiting waiting(wait);
  return NEXT(pthread_mutex_lock)(mutex);
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  if (watching() == nullptr) return NEXT(pthread_cond_wait)(condition, mutex);
  TestClock::Wait wait{.condition = condition, .releases = mutex};
  const TestClock::Waiting waiting(wait);
  return NEXT(pthread_cond_wait)(condition, mutex);
}

int pthread_cond_broadcast(pthread_cond_t* condition) {
  ++g_broadcasts;
  if (TestClock* const clock = watching()) clock->notified(condition);
  return NEXT(pthread_cond_broadcast)(condition);
}

// Whoever it is that goes on, the clock must not take it for one that waits.
int pthread_cond_signal(pthread_cond_t* condition) { return pthread_cond_broadcast(condition); }

int poll(pollfd* fds, nfds_t count, int timeout) {
  if (timeout >= 0 || watching() == nullptr) return NEXT(poll)(fds, count, timeout);
  TestClock::Wait wait{.fds = fds, .count = count};
  const TestClock::Waiting waiting(wait);
  return NEXT(poll)(fds, count, timeout);
}

int epoll_wait(int fd, epoll_event* events, int most, int timeout) {
  if (timeout >= 0 || watching() == nullptr) return NEXT(epoll_wait)(fd, events, most, timeout);
  pollfd any{fd, POLLIN, 0};
  TestClock::Wait wait{.fds = &any, .count = 1};
  const TestClock::Waiting waiting(wait);
  return NEXT(epoll_wait)(fd, events, most, timeout);
}

ssize_t read(int fd, void* octets, size_t size) {
  pollfd readable{fd, POLLIN, 0};
  if (watching() == nullptr || NEXT(poll)(&readable, 1, 0) != 0 ||
      (::fcntl(fd, F_GETFL) & O_NONBLOCK) != 0) {
    return NEXT(read)(fd, octets, size);
  }
  TestClock::Wait wait{.fds = &readable, .count = 1};
  const TestClock::Waiting waiting(wait);
  return NEXT(read)(fd, octets, size);
}

}  // extern "C"

// A clock that the test moves, or that moves by itself.
//
// It knows every thread of the process and what each waits for: a time, a condition, a mutex, a
// descriptor, another thread's end. The functions of the C library that start, stop and hold up
// threads are replaced for that (test_clock_calls.cpp). So it is no guess that nothing is going to
// happen: by itself, time goes to the next deadline the moment the last thread begins to wait, if
// none of them has been notified and there is nothing to read. A thread that waits in any other
// way, as for a child process, counts as running.
#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <list>
#include <set>
#include <thread>

#include "platform/clock/process_clock.h"

namespace desk {

class TestClock final : public platform::Clock {
 public:
  // Makes it the process's clock until the end, because library threads wait on it.
  static TestClock& install();
  // The same, or null before that.
  static TestClock* installed();

  platform::Time now() override { return now_; }
  void sleep_until(platform::Time deadline) override;
  bool wait_until(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
                  platform::Time deadline) override;
  int poll_until(pollfd* fds, nfds_t count, platform::Time deadline) override;

  void advance(platform::Duration by);
  // Returns when so many threads wait for exactly this time from now.
  void await_waiter(platform::Duration from_now, int count = 1);
  // The same for one thread; others, like the client library's, may wait for the same time.
  void await_waiter(platform::Duration from_now, std::thread::id thread);
  // From now on, time jumps to the next deadline whenever all threads wait.
  void run_by_itself();
  // The time since the clock was made.
  platform::Duration passed();
  // How many threads the process has.
  static int threads() { return threads_; }

  // What one thread waits for; what it does not wait for is null.
  struct Wait {
    platform::Time deadline = platform::kNever;
    pthread_cond_t* condition = nullptr;
    pthread_mutex_t* releases = nullptr;  // meanwhile
    pthread_mutex_t* mutex = nullptr;     // held by another thread
    pthread_t ends = 0;                   // another thread
    pollfd* fds = nullptr;
    nfds_t count = 0;

    int interrupt = -1;  // written to when the deadline has come; else `woken` is posted
    bool over = false;   // notified, or the deadline has come
    sem_t woken{};
    std::thread::id thread{};
    pid_t tid = 0;
  };
  // The calling thread waits for that, for a scope.
  class Waiting {
   public:
    explicit Waiting(Wait& wait);
    ~Waiting();
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

   private:
    Wait& wait_;
    std::list<Wait*>::iterator place_{};
  };

  // What the replaced functions report.
  void notified(pthread_cond_t* condition);
  static void threads_changed(int by) { threads_ += by; }
  void began();
  void ended();
  void joined(pthread_t thread);
  // Whether the replaced functions are the ones that are called, even by the C++ library.
  static bool knows_calls();
  // Whether the calling thread is at work on the clock itself.
  static bool inside();

 private:
  class Own;  // holds mutex_

  bool comes(const Wait& wait) const;
  const Wait* wait_of(pid_t tid) const;
  void go_to(platform::Time time);
  void settle();
  template <class Found>
  void await(Found found);

  static std::atomic<int> threads_;

  std::mutex mutex_;
  std::condition_variable changed_;  // waits_
  std::atomic<platform::Time> now_{platform::Time{} + std::chrono::hours(1)};
  bool by_itself_ = false;
  std::list<Wait*> waits_;
  std::set<pthread_t> ended_;  // not joined
};

}  // namespace desk

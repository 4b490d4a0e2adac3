// Which of the threads that wait reads the link.
//
// The first caller that waits reads for all; when it has what it waited for, the next one goes on.
// While no caller waits, the library's thread reads, if there is one; while one does, that thread
// sleeps. So a process with one thread receives its responses by itself, and a hand-over costs
// nothing where there is nobody to hand to. The owner of a Readers locks it; a function that takes
// the owner's mutex gives it up while it waits.
#pragma once

#include <condition_variable>
#include <list>

#include "base/mutex.h"
#include "qcci/link/link.h"

namespace qcci {

class Readers {
 public:
  // A caller that waits, from its first wait to its last. Made and destroyed with the mutex held.
  class Waiter {
   public:
    explicit Waiter(Readers& readers);
    ~Waiter();
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

   private:
    friend class Readers;
    Readers& readers_;
    std::condition_variable changed_;
    std::list<Waiter*>::iterator place_;
  };

  explicit Readers(Link& link) : link_(link) {}

  // Makes the caller the reader unless another one is; returns whether it is.
  bool leads(Waiter& waiter);
  // The reader's wait for the link, until the deadline or a notification at the latest.
  void wait_for_link(base::Mutex& mutex, platform::Time deadline) REQUIRES(mutex);
  // The wait of a caller that is not the reader, until it is notified, or is to read.
  void wait_for_reader(Waiter& waiter, base::Lock& lock, platform::Time deadline);

  // The wait of the library's thread; true when it is to read what has come.
  [[nodiscard]] bool wait_as_thread(base::Mutex& mutex, base::Lock& lock, platform::Time deadline)
      REQUIRES(mutex);
  // Whether a caller reads, so that the library's thread does not.
  bool led() const { return leader_ != nullptr; }

  // End the waits of one caller, of all of them, or of the library's thread, for it to look at what
  // it waits for.
  void notify(Waiter& waiter);
  void notify_all();
  void notify_thread();

 private:
  void wait(base::Mutex& mutex, platform::Time deadline, bool* waits) REQUIRES(mutex);

  Link& link_;
  std::list<Waiter*> waiters_;
  Waiter* leader_ = nullptr;     // the one that reads
  bool leader_waits_ = false;    // in the link
  bool thread_waits_ = false;    // the library's thread does, too
  std::condition_variable led_;  // no more: the library's thread is to read
};

}  // namespace qcci

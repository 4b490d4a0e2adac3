#include "qcci/client/readers.h"

namespace qcci {

Readers::Waiter::Waiter(Readers& readers)
    : readers_(readers), place_(readers.waiters_.insert(readers.waiters_.end(), this)) {}

// Whoever leaves hands on, even one that was only asked to read and has not begun.
Readers::Waiter::~Waiter() {
  readers_.waiters_.erase(place_);
  if (readers_.leader_ == this) readers_.leader_ = nullptr;
  if (readers_.leader_ != nullptr) return;
  if (!readers_.waiters_.empty()) {
    readers_.waiters_.front()->changed_.notify_all();
  } else {
    readers_.led_.notify_all();
  }
}

bool Readers::leads(Waiter& waiter) {
  if (leader_ == nullptr) leader_ = &waiter;
  return leader_ == &waiter;
}

void Readers::wait(base::Mutex& mutex, platform::Time deadline, bool* waits) {
  const uint64_t wakes = link_.wakes();
  *waits = true;
  try {
    const base::Unlock unlocked(mutex);
    link_.wait(deadline, wakes);
  } catch (...) {
    *waits = false;
    throw;
  }
  *waits = false;
}

void Readers::wait_for_link(base::Mutex& mutex, platform::Time deadline) {
  wait(mutex, deadline, &leader_waits_);
}

void Readers::wait_for_reader(Waiter& waiter, base::Lock& lock, platform::Time deadline) {
  platform::clock().wait_until(waiter.changed_, lock, deadline);
}

// A caller that begins to read leaves the thread where it is, in the link: what comes then wakes
// both, and the thread leaves it to the caller.
bool Readers::wait_as_thread(base::Mutex& mutex, base::Lock& lock, platform::Time deadline) {
  if (led()) {
    platform::clock().wait_until(led_, lock, platform::kNever);
    return false;
  }
  wait(mutex, deadline, &thread_waits_);
  return !led();
}

void Readers::notify(Waiter& waiter) {
  if (&waiter != leader_) {
    waiter.changed_.notify_all();
  } else if (leader_waits_) {
    link_.wake();
  }
}

void Readers::notify_all() {
  for (Waiter* waiter : waiters_) notify(*waiter);
}

void Readers::notify_thread() {
  if (thread_waits_) {
    link_.wake();
  } else {
    led_.notify_all();
  }
}

}  // namespace qcci

// Waits for many descriptors at once, at a cost that does not grow with those on which nothing
// happens.
//
// Threads: one, which may add, change and remove while it handles what is ready.
#pragma once

#include <sys/epoll.h>

#include <cstdint>
#include <unordered_map>

#include "platform/clock/process_clock.h"
#include "sim/phone/beneath.h"

namespace sim {

// What handles a descriptor's events.
class Polled {
 public:
  virtual ~Polled() = default;
  // `events`: of epoll(7). May remove, and then destroy, itself or any other.
  virtual void ready(uint32_t events) = 0;
};

class Poller {
 public:
  using Id = uint64_t;  // not reused; 0: none

  Poller();

  // `descriptor` and `polled` must outlast remove(); neither is owned. 0 when the kernel refuses
  // the descriptor, as without memory.
  [[nodiscard]] Id add(int descriptor, uint32_t events, Polled& polled);
  // Replaces the events that are waited for. An id that is gone is ignored.
  void change(Id id, uint32_t events);
  // From then on `polled` is not called. An id that is gone is ignored.
  void remove(Id id);

  // Waits until something is ready or the deadline has passed; with kNever there is none. May
  // return early, with nothing ready, after a signal.
  void wait(platform::Time deadline);
  // Handles what was ready then, each descriptor once.
  void handle();

 private:
  // Taken at once: a turn of that many clients costs one system call beside their own.
  static constexpr int kAtOnce = 64;

  struct Entry {
    int descriptor;
    Polled* polled;
  };

  Descriptor epoll_;
  epoll_event events_[kAtOnce];
  int ready_ = 0;
  Id last_ = 0;
  std::unordered_map<Id, Entry> entries_;
};

}  // namespace sim

// The callbacks that are due, in the order of their events, and the thread that runs them.
//
// The queue keeps what has happened, not what to call: that is looked up when its turn comes, since
// a callback may be replaced, and its client released, before then. Its owner locks it.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <thread>
#include <vector>

#include "base/mutex.h"
#include "platform/clock/process_clock.h"

namespace qcci {

using Handle = uint64_t;  // of a client or a notifier; 0: none

// A callback that is due.
struct Event {
  enum Kind { kIndication, kError, kNotify } kind;
  Handle handle;
  uint32_t code;                // an indication's message id, or the notify event
  std::vector<uint8_t> octets;  // an indication's TLVs
};

class CallbackQueue {
 public:
  // Starts the thread unless it runs. It runs until the process ends. Throws std::system_error.
  void start_thread(std::function<void()> body);
  bool started() const { return started_; }
  // Whether the caller is that thread. With the mutex or without.
  bool on_own_thread() const { return std::this_thread::get_id() == thread_id_; }

  void post(Event event) {
    due_.push_back(std::move(event));
    ++posted_;
  }
  // How many have been posted; for await_run.
  uint64_t posted() const { return posted_; }

  // Takes the next event off the queue; false when there is none. From then until end(), without
  // the mutex, its callback runs.
  [[nodiscard]] bool begin(Event* event);
  void end();
  // Waits until so many events have had their callbacks, or the deadline passes.
  void await_run(base::Lock& lock, uint64_t events, platform::Time deadline);
  // Waits while a callback of the handle runs; not at all within a callback.
  void await_end(base::Lock& lock, Handle handle);

 private:
  bool started_ = false;
  std::atomic<std::thread::id> thread_id_;
  // A list: without members it takes no memory, and most runs have no callback.
  std::list<Event> due_;
  uint64_t posted_ = 0;
  uint64_t run_ = 0;
  Handle running_ = 0;  // whose callback runs now
  std::condition_variable ended_;
};

}  // namespace qcci

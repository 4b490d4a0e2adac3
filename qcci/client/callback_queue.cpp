#include "qcci/client/callback_queue.h"

namespace qcci {

void CallbackQueue::start_thread(std::function<void()> body) {
  if (started_) return;
  std::thread([this, body = std::move(body)] {
    thread_id_ = std::this_thread::get_id();
    body();
  }).detach();
  started_ = true;
}

bool CallbackQueue::begin(Event* event) {
  if (due_.empty()) return false;
  *event = std::move(due_.front());
  due_.pop_front();
  running_ = event->handle;
  return true;
}

void CallbackQueue::end() {
  running_ = 0;
  ++run_;
  ended_.notify_all();
}

void CallbackQueue::await_run(base::Lock& lock, uint64_t events, platform::Time deadline) {
  while (started_ && run_ < events && platform::clock().now() < deadline) {
    platform::clock().wait_until(ended_, lock, deadline);
  }
}

void CallbackQueue::await_end(base::Lock& lock, Handle handle) {
  if (on_own_thread()) return;
  while (running_ == handle) platform::clock().wait_until(ended_, lock, platform::kNever);
}

}  // namespace qcci

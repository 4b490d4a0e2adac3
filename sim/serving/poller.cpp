#include "sim/serving/poller.h"

namespace sim {
namespace {

epoll_event event_of(uint32_t events, Poller::Id id) {
  epoll_event event{};
  event.events = events;
  event.data.u64 = id;
  return event;
}

}  // namespace

Poller::Poller() : epoll_(::epoll_create1(EPOLL_CLOEXEC)) {}

Poller::Id Poller::add(int descriptor, uint32_t events, Polled& polled) {
  epoll_event event = event_of(events, last_ + 1);
  if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, descriptor, &event) != 0) return 0;
  entries_.emplace(++last_, Entry{descriptor, &polled});
  return last_;
}

void Poller::change(Id id, uint32_t events) {
  const auto found = entries_.find(id);
  if (found == entries_.end()) return;
  epoll_event event = event_of(events, id);
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, found->second.descriptor, &event);
}

void Poller::remove(Id id) {
  const auto found = entries_.find(id);
  if (found == entries_.end()) return;
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, found->second.descriptor, nullptr);
  entries_.erase(found);
}

void Poller::wait(platform::Time deadline) {
  // The clock is asked only where there is a deadline: that costs another system call.
  if (deadline != platform::kNever) {
    pollfd any{epoll_.get(), POLLIN, 0};
    (void)platform::clock().poll_until(&any, 1, deadline);  // when it fails, nothing is ready
  }
  const int limit_ms = deadline == platform::kNever ? -1 : 0;
  ready_ = ::epoll_wait(epoll_.get(), events_, kAtOnce, limit_ms);
}

void Poller::handle() {
  for (int i = 0; i < ready_; ++i) {
    const auto found = entries_.find(events_[i].data.u64);  // none: one before has removed it
    if (found != entries_.end()) found->second.polled->ready(events_[i].events);
  }
  ready_ = 0;
}

}  // namespace sim

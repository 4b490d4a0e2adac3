#include "qcci/link/poll_link.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <utility>

namespace qcci {

PollLink::PollLink() : wake_fd_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

PollLink::~PollLink() {
  for (const auto& [id, fd] : descriptors_) ::close(fd);
  if (spare_fd_ >= 0) ::close(spare_fd_);
  ::close(wake_fd_);
}

bool PollLink::answers() {
  if (spare_fd_ < 0) spare_fd_ = open_descriptor(&spare_own_);
  return spare_fd_ >= 0;
}

bool PollLink::open(Endpoint* endpoint) {
  int fd = spare_fd_.exchange(-1);
  if (fd >= 0) {
    endpoint->own = spare_own_;
  } else {
    fd = open_descriptor(&endpoint->own);
  }
  if (fd < 0) return false;
  {
    const base::Lock lock(mutex_);
    endpoint->id = ++last_;
    descriptors_.emplace(endpoint->id, fd);
  }
  wake();
  return true;
}

// A descriptor may be closed while the receiver polls it, and its number reused. The receiver
// therefore reads with the mutex held, only from descriptors that are still in the table, and
// without blocking.
void PollLink::close(EndpointId endpoint) {
  {
    const base::Lock lock(mutex_);
    const auto found = descriptors_.find(endpoint);
    if (found == descriptors_.end()) return;
    ::close(found->second);
    descriptors_.erase(found);
  }
  wake();
}

Sent PollLink::send(EndpointId endpoint, Address to, std::span<const uint8_t> octets) {
  const base::Lock lock(mutex_);
  const auto found = descriptors_.find(endpoint);
  return found != descriptors_.end() ? write(found->second, to, octets) : Sent::kCut;
}

Received PollLink::receive(Datagram* datagram, platform::Time deadline) {
  polled_.assign(1, {wake_fd_, POLLIN, 0});
  polled_ids_.assign(1, 0);
  {
    const base::Lock lock(mutex_);
    if (std::exchange(woken_, false)) return Received::kNothing;
    polling_ = true;
    auto at = descriptors_.upper_bound(served_);
    for (size_t i = 0; i < descriptors_.size(); ++i, ++at) {
      if (at == descriptors_.end()) at = descriptors_.begin();
      polled_.push_back({at->second, POLLIN, 0});
      polled_ids_.push_back(at->first);
    }
  }
  const int ready = platform::clock().poll_until(polled_.data(), polled_.size(), deadline);
  const base::Lock lock(mutex_);
  polling_ = false;
  if (ready <= 0) return Received::kNothing;
  if (polled_[0].revents != 0) {
    uint64_t ignored = 0;
    [[maybe_unused]] const ssize_t n = ::read(wake_fd_, &ignored, sizeof ignored);
  }
  for (size_t i = 1; i < polled_.size(); ++i) {
    const auto at = descriptors_.find(polled_ids_[i]);
    if (polled_[i].revents == 0 || at == descriptors_.end()) continue;
    datagram->endpoint = at->first;
    switch (read(at->second, &datagram->from, &datagram->octets)) {
      case Read::kNothing:
        continue;
      case Read::kDatagram:
        served_ = at->first;
        return Received::kDatagram;
      case Read::kClosed:
        ::close(at->second);
        descriptors_.erase(at);
        return Received::kClosed;
    }
  }
  return Received::kNothing;
}

// The eventfd interrupts a poll; a receiver that is not in one sees woken_ instead, and saves the
// two system calls.
void PollLink::wake() {
  {
    const base::Lock lock(mutex_);
    woken_ = !polling_;
    if (woken_) return;
  }
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t n = ::write(wake_fd_, &one, sizeof one);
}

}  // namespace qcci

#include "qcci/link/poll_link.h"

#include <sys/eventfd.h>
#include <sys/single_threaded.h>
#include <unistd.h>

#include <algorithm>

namespace qcci {
namespace {

// The longest wait that cannot be interrupted though it may have to be: there was no descriptor for
// it.
constexpr auto kUninterrupted = std::chrono::milliseconds(100);

}  // namespace

PollLink::PollLink() = default;

PollLink::~PollLink() {
  for (const auto& [id, end] : ends_) ::close(end.fd);
  if (spare_fd_ >= 0) ::close(spare_fd_);
  if (wake_fd_ >= 0) ::close(wake_fd_);
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
    ends_.emplace(endpoint->id, End{fd});
  }
  wake();
  return true;
}

// A descriptor may be closed while a thread polls it, and its number reused. Descriptors are
// therefore read with the mutex held, only while they are in the table, and without blocking.
void PollLink::close(EndpointId endpoint) {
  {
    const base::Lock lock(mutex_);
    const auto found = ends_.find(endpoint);
    if (found == ends_.end()) return;
    ::close(found->second.fd);
    ends_.erase(found);
  }
  wake();
}

Sent PollLink::send(EndpointId endpoint, Address to, std::span<const uint8_t> octets) {
  const base::Lock lock(mutex_);
  const auto found = ends_.find(endpoint);
  return found != ends_.end() ? write(found->second.fd, to, octets) : Sent::kCut;
}

bool PollLink::prepare(uint64_t wakes, std::vector<pollfd>* polled, std::vector<EndpointId>* ids) {
  const base::Lock lock(mutex_);
  if (wakes != wakes_) return false;
  polled->reserve(ends_.size() + 1);
  ids->reserve(ends_.size());
  for (const auto& [id, end] : ends_) {
    polled->push_back({end.fd, POLLIN, 0});
    ids->push_back(id);
  }
  // A thread that comes later than this was not there to be waited for.
  if (wake_fd_ < 0 && __libc_single_threaded == 0) {
    wake_fd_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  }
  if (signalled_ && waiting_ == 0) {
    uint64_t ignored = 0;
    [[maybe_unused]] const ssize_t n = ::read(wake_fd_, &ignored, sizeof ignored);
    signalled_ = false;
  }
  if (wake_fd_ >= 0) polled->push_back({wake_fd_, POLLIN, 0});
  ++waiting_;
  return true;
}

void PollLink::wait(platform::Time deadline, uint64_t wakes) {
  std::vector<pollfd> polled;
  std::vector<EndpointId> ids;
  if (!prepare(wakes, &polled, &ids)) return;
  if (polled.size() == ids.size() && __libc_single_threaded == 0) {
    deadline = std::min(deadline, platform::clock().now() + kUninterrupted);
  }
  const int ready = platform::clock().poll_until(polled.data(), polled.size(), deadline);
  const base::Lock lock(mutex_);
  --waiting_;
  if (ready <= 0) return;
  for (size_t i = 0; i < ids.size(); ++i) {
    const auto at = ends_.find(ids[i]);
    if (polled[i].revents != 0 && at != ends_.end()) at->second.ready = true;
  }
}

Received PollLink::take(Datagram* datagram) {
  const base::Lock lock(mutex_);
  auto at = ends_.upper_bound(served_);
  for (size_t left = ends_.size(); left > 0; --left, ++at) {
    if (at == ends_.end()) at = ends_.begin();
    if (!at->second.ready) continue;
    datagram->endpoint = at->first;
    switch (read(at->second.fd, &datagram->from, &datagram->octets)) {
      case Read::kNothing:
        at->second.ready = false;
        continue;
      case Read::kDatagram:
        served_ = at->first;
        return Received::kDatagram;
      case Read::kClosed:
        ::close(at->second.fd);
        ends_.erase(at);
        return Received::kClosed;
    }
  }
  return Received::kNothing;
}

// The descriptor stays readable until nobody waits any more: of several that wait, none may empty
// it before the others have seen it.
void PollLink::wake() {
  const base::Lock lock(mutex_);
  ++wakes_;
  if (waiting_ == 0 || wake_fd_ < 0 || signalled_) return;
  const uint64_t one = 1;
  signalled_ = ::write(wake_fd_, &one, sizeof one) == sizeof one;
}

}  // namespace qcci

// What links over file descriptors share: the table of endpoints, and one poll over all of them.
//
// Threads and failures are the Link's. Descriptors belong to this class, which closes them. The
// descriptor that interrupts a wait is made when the process has a second thread: a wait of its
// only one cannot be interrupted.
#pragma once

#include <atomic>
#include <map>
#include <vector>

#include "base/mutex.h"
#include "qcci/link/link.h"

namespace qcci {

class PollLink : public Link {
 public:
  PollLink();
  ~PollLink() override;
  PollLink(const PollLink&) = delete;
  PollLink& operator=(const PollLink&) = delete;

  // Whether there is a bus to be on now; false leaves the cause in errno. The descriptor opened to
  // find out is kept for the first endpoint. Call it before several threads use the link.
  [[nodiscard]] bool answers();

  bool open(Endpoint* endpoint) final EXCLUDES(mutex_);
  void close(EndpointId endpoint) final EXCLUDES(mutex_);
  Sent send(EndpointId endpoint, Address to, std::span<const uint8_t> octets) final
      EXCLUDES(mutex_);
  void wait(platform::Time deadline, uint64_t wakes) final EXCLUDES(mutex_);
  Received take(Datagram* datagram) final EXCLUDES(mutex_);
  void wake() final EXCLUDES(mutex_);
  uint64_t wakes() const final { return wakes_; }

 protected:
  enum class Read { kDatagram, kNothing, kClosed };

  // A non-blocking descriptor that is on the bus, and its address (port 0: not known yet); -1 and
  // errno when there is no bus.
  virtual int open_descriptor(Address* own) = 0;
  // One datagram of at most kMaxDatagram octets. Neither function blocks, as far as the bus lets
  // it; both are called with the mutex held.
  virtual Read read(int fd, Address* from, std::vector<uint8_t>* octets) = 0;
  virtual Sent write(int fd, Address to, std::span<const uint8_t> octets) = 0;

 private:
  struct End {
    int fd;
    bool ready = false;  // a wait has found something to read
  };

  // What one wait polls; false when it is not to wait. Sets up the interruption, too.
  bool prepare(uint64_t wakes, std::vector<pollfd>* polled, std::vector<EndpointId>* ids)
      EXCLUDES(mutex_);

  std::atomic<int> spare_fd_{-1};  // taken by one of the threads that open
  Address spare_own_;
  base::Mutex mutex_;
  std::map<EndpointId, End> ends_ GUARDED_BY(mutex_);
  EndpointId last_ GUARDED_BY(mutex_) = 0;
  EndpointId served_ GUARDED_BY(mutex_) = 0;  // the endpoint read last: the next one goes first
  size_t waiting_ GUARDED_BY(mutex_) = 0;
  int wake_fd_ GUARDED_BY(mutex_) = -1;
  bool signalled_ GUARDED_BY(mutex_) = false;  // wake_fd_ is readable
  std::atomic<uint64_t> wakes_{0};             // changed with the mutex held
};

}  // namespace qcci

// What links over file descriptors share: the endpoints, and one poll over all of them.
#ifndef QCCI_LINK_POLL_LINK_H_
#define QCCI_LINK_POLL_LINK_H_

#include <atomic>
#include <map>
#include <mutex>
#include <vector>

#include "qcci/link/link.h"

namespace qcci {

class PollLink : public Link {
 public:
  PollLink();
  ~PollLink() override;
  PollLink(const PollLink&) = delete;
  PollLink& operator=(const PollLink&) = delete;

  // Whether there is a bus to be on now; what was opened to see that is kept for the first
  // endpoint. To be asked before the link is used by several threads.
  bool answers();

  bool open(Endpoint* endpoint) final;
  void close(EndpointId endpoint) final;
  Sent send(EndpointId endpoint, Address to, std::span<const uint8_t> octets) final;
  Received receive(Datagram* datagram, platform::Time deadline) final;
  void wake() final;

 protected:
  enum class Read { kDatagram, kNothing, kClosed };

  // A non-blocking descriptor that is on the bus, and its address (port 0: not known yet); -1 and
  // errno when there is no bus.
  virtual int open_descriptor(Address* own) = 0;
  // One datagram of at most kMaxDatagram octets; waits for nobody, as far as the bus lets it.
  virtual Read read(int fd, Address* from, std::vector<uint8_t>* octets) = 0;
  virtual Sent write(int fd, Address to, std::span<const uint8_t> octets) = 0;

 private:
  std::atomic<int> spare_fd_{-1};  // taken by one of the threads that open
  Address spare_own_;
  std::mutex mutex_;
  bool polling_ = false;  // the receiver may be asleep
  bool woken_ = false;    // it was not, when somebody woke it
  std::map<EndpointId, int> descriptors_;
  EndpointId last_ = 0;
  EndpointId served_ = 0;  // the endpoint read last: the next one goes first
  // The receiver's own: what it polls, and whose descriptors these are.
  std::vector<pollfd> polled_;
  std::vector<EndpointId> polled_ids_;
  int wake_fd_;
};

}  // namespace qcci

#endif  // QCCI_LINK_POLL_LINK_H_

// The recording link: another link, of which a capture gets every datagram.
//
// A datagram is captured before it is sent, so that its answer never stands before it, and after it
// was received. Services are known from the name service's packets, by which clients find them.
#pragma once

#include <map>
#include <memory>

#include "base/mutex.h"
#include "qcci/link/link.h"
#include "traffic/file/capture.h"

namespace traffic {

class CaptureLink final : public qcci::Link {
 public:
  // The capture must outlast the link.
  CaptureLink(std::unique_ptr<qcci::Link> link, Capture& capture);

  bool open(qcci::Endpoint* endpoint) override EXCLUDES(mutex_);
  bool never_opens() const override { return link_->never_opens(); }
  void close(qcci::EndpointId endpoint) override EXCLUDES(mutex_);
  qcci::Sent send(qcci::EndpointId endpoint, qcci::Address to,
                  std::span<const uint8_t> octets) override EXCLUDES(mutex_);
  void wait(platform::Time deadline, uint64_t wakes) override { link_->wait(deadline, wakes); }
  qcci::Received take(qcci::Datagram* datagram) override EXCLUDES(mutex_);
  void wake() override { link_->wake(); }
  uint64_t wakes() const override { return link_->wakes(); }

 private:
  struct Server {
    uint32_t service, instance;
  };

  void learn(std::span<const uint8_t> octets) REQUIRES(mutex_);
  // The frame of a datagram between an endpoint and its peer.
  FrameHead head_of(qcci::EndpointId endpoint, qcci::Address peer, bool to_client) REQUIRES(mutex_);

  const std::unique_ptr<qcci::Link> link_;
  Capture& capture_;
  base::Mutex mutex_;
  std::map<qcci::EndpointId, qcci::Address> own_ GUARDED_BY(mutex_);
  std::map<qcci::Address, Server> servers_ GUARDED_BY(mutex_);
};

}  // namespace traffic

// The link of a process that has no modem and will have none: it never opens.
#pragma once

#include "qcci/link/link.h"

namespace qcci {

class NoLink final : public Link {
 public:
  bool open(Endpoint* /*endpoint*/) override { return false; }
  bool never_opens() const override { return true; }
  void close(EndpointId /*endpoint*/) override {}
  Sent send(EndpointId /*endpoint*/, Address /*to*/, std::span<const uint8_t> /*octets*/) override {
    return Sent::kCut;
  }
  void wait(platform::Time deadline, uint64_t /*wakes*/) override {
    platform::clock().sleep_until(deadline);
  }
  Received take(Datagram* /*datagram*/) override { return Received::kNothing; }
  void wake() override {}
  uint64_t wakes() const override { return 0; }
};

}  // namespace qcci

// The listener on the kernel's QRTR bus, where it publishes the modem's services as a real modem's
// are.
//
// For each service that is up on the simulated bus it has one socket on the kernel's, closed when
// the service goes down. A sender to such a socket is known until the kernel reports on the same
// socket that it is gone. (A report on another socket may be about an earlier owner of the sender's
// port.)
//
// The kernel's bus has no access control: every process of the machine may talk to the modem.
//
// Threads: BusBridge's.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "sim/phone/files.h"
#include "sim/serving/bus_bridge.h"
#include "sim/serving/poller.h"

namespace sim {

class QrtrServer final : private BusBridge {
 public:
  // Both must outlast this.
  QrtrServer(ModemBus& modem, Poller& poller);
  ~QrtrServer() override;
  QrtrServer(const QrtrServer&) = delete;
  QrtrServer& operator=(const QrtrServer&) = delete;

  // Publishes the services that are up, and from then on those that come up. Call it once. False,
  // and why, when the kernel has no such bus or takes no service.
  [[nodiscard]] bool publish(std::string* why);

 private:
  struct Service;

  void announce(Address at, uint32_t service, uint32_t instance) override;
  void withdraw(Address at) override;
  void send(Address at, Address client, std::span<const uint8_t> octets) override;
  // One datagram for a service, unless there is none.
  void take_one(Service& service);
  void take_control(Address at, Address from, std::span<const uint8_t> octets);

  Poller& poller_;
  Address own_;                                           // this process's node on the kernel's bus
  std::map<Address, std::unique_ptr<Service>> services_;  // by their address on the simulated bus
  std::vector<uint8_t> received_;                         // the datagram that is handled
};

}  // namespace sim

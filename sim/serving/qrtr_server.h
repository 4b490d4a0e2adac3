// The listener on the kernel's QRTR bus, where it publishes the modem's services as a real modem's
// are.
//
// It bridges two buses. For each service that is up on the simulated bus it has one socket on the
// kernel's, closed when the service goes down. A sender to such a socket gets a port on the
// simulated bus, until the kernel reports on the same socket that the sender is gone. (A report on
// another socket may be about an earlier owner of the sender's port.)
//
// The kernel's bus has no access control: every process of the machine may talk to the modem.
//
// Threads: the poller's, which must also be the only one on which the modem's services come and go
// (in serve_modem it is).
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "sim/modem/modem.h"
#include "sim/phone/files.h"
#include "sim/serving/poller.h"

namespace sim {

class QrtrServer final {
 public:
  // Both must outlast this.
  QrtrServer(Modem& modem, Poller& poller);
  ~QrtrServer();
  QrtrServer(const QrtrServer&) = delete;
  QrtrServer& operator=(const QrtrServer&) = delete;

  // Publishes the services that are up, and from then on those that come up. Call it once. False,
  // and why, when the kernel has no such bus or takes no service.
  [[nodiscard]] bool publish(std::string* why);

 private:
  // Ports on the simulated bus: one that looks up all services, and one for each client.
  struct Watcher;
  struct Client;

  struct Service;

  // `at`: a service's address on the simulated bus; the other addresses are the kernel's.
  void announce(Address at, uint32_t service, uint32_t instance);
  void withdraw(Address at);
  // One datagram for a service, unless there is none.
  void take_one(Service& service);
  void take(Address at, Address from, std::span<const uint8_t> octets);
  Address address_of(Address at, Address from);
  void send(Address at, Address client, std::span<const uint8_t> octets);

  Modem& modem_;
  Poller& poller_;
  Address own_;                                           // this process's node on the kernel's bus
  std::map<Address, std::unique_ptr<Service>> services_;  // by their address on the simulated bus
  // By the service that they sent to and their address on the kernel's bus.
  std::map<std::pair<Address, Address>, std::unique_ptr<Client>> clients_;
  bool withdrawn_ = false;  // clients_ may have some of services that are gone
  std::unique_ptr<Watcher> watcher_;
  std::vector<uint8_t> received_;  // the datagram that is handled
};

}  // namespace sim

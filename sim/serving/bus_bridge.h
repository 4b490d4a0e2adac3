// Bridges the simulated bus to one that other processes are on: what each way to do it shares.
//
// A derived class brings the modem's services to the other bus and hands on what comes from there.
// A sender there gets a port on the simulated bus at its first datagram to a service, until it is
// forgotten.
//
// Threads: the poller's, which must also be the only one on which the modem's services come and go
// (in serve_modem it is).
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "sim/modem/modem_bus.h"

namespace sim {

class BusBridge {
 public:
  virtual ~BusBridge();
  BusBridge(const BusBridge&) = delete;
  BusBridge& operator=(const BusBridge&) = delete;

 protected:
  // The modem must outlast this.
  explicit BusBridge(ModemBus& modem);
  // `at`: a service's address on the simulated bus; other addresses are the other bus's. Called
  // with the modem's mutex held, so none may call the modem.
  virtual void announce(Address at, uint32_t service, uint32_t instance) = 0;
  virtual void withdraw(Address at) = 0;
  virtual void send(Address at, Address client, std::span<const uint8_t> octets) = 0;

  // Announces the services that are up, and from then on those that come up. Call it once.
  void watch();
  // Hands a client's datagram to a service.
  void take(Address at, Address client, std::span<const uint8_t> octets);
  // Forgets the clients for which `gone`, of a service's address and theirs, is true.
  void forget(const std::function<bool(Address at, Address client)>& gone);

 private:
  // Ports on the simulated bus: one that looks up all services, and one for each client.
  struct Watcher;
  struct Client;

  ModemBus& modem_;
  std::set<Address> up_;
  bool withdrawn_ = false;  // clients_ may have some of services that are gone
  // By the service that they sent to and their own address.
  std::map<std::pair<Address, Address>, std::unique_ptr<Client>> clients_;
  std::unique_ptr<Watcher> watcher_;
};

}  // namespace sim

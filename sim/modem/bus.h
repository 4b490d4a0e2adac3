// The simulated bus: ports, the name service, and who hears of whom.
//
// It carries datagrams and knows nothing of what is in them but control packets. No lock of its
// own: the modem's guards it.
#ifndef SIM_MODEM_BUS_H_
#define SIM_MODEM_BUS_H_

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>

#include "qcci/wire/packet.h"

namespace sim {

using qcci::Address;

// A client's end. Called with the modem's lock held: it takes the datagram and returns.
class Port {
 public:
  virtual ~Port() = default;
  virtual void deliver(Address from, std::span<const uint8_t> octets) = 0;
};

class Bus {
 public:
  static constexpr uint32_t kNode = 1;
  static constexpr size_t kLookupsMax = 256;  // of one client
  static constexpr Address kControl{kNode, qcci::kControlPort};

  Address attach(Port& port);
  void detach(Address client);
  bool attached(Address client) const { return clients_.contains(client); }
  // A control packet from a client.
  void control(Address client, std::span<const uint8_t> octets);

  // Gives the service a port and announces it.
  Address publish(uint32_t service, uint32_t version, uint32_t instance);
  void withdraw(Address server);
  std::optional<uint32_t> service_at(Address server) const;
  void deliver(Address from, Address to, std::span<const uint8_t> octets);

 private:
  struct Server {
    uint32_t service;
    uint32_t instance;  // as control packets have it
  };
  void tell(Address client, const qcci::ControlPacket& packet);
  void tell_watchers(qcci::Control command, Address server, const Server& what);

  uint32_t last_client_ = 0x4000;
  uint32_t last_server_ = 0;
  std::map<Address, Port*> clients_;
  std::map<Address, Server> servers_;
  std::map<Address, std::set<uint32_t>> lookups_;  // services, 0: all
};

}  // namespace sim

#endif  // SIM_MODEM_BUS_H_

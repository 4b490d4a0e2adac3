// The simulated bus: client ports, service addresses, and the name service, which answers look-ups
// and reports services that come and go.
//
// It carries datagrams and looks into control packets only. It follows the kernel's bus (QRTR), so
// that the client library meets the same rules on both: a look-up is answered with the services
// that are there and an empty packet that ends the list, and from then on with those that come and
// go.
//
// Nothing here fails: a datagram for nobody and a control packet that is too short are dropped.
// Not thread-safe: the modem's mutex guards it. No function waits.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>

#include "qcci/wire/packet.h"

namespace sim {

using qcci::Address;

// A client's end of the bus.
class Port {
 public:
  virtual ~Port() = default;
  // Takes one datagram; `octets` are valid during the call only. Called with the modem's mutex
  // held, so it must return soon and must not call the modem.
  virtual void deliver(Address from, std::span<const uint8_t> octets) = 0;
};

class Bus {
 public:
  // The bus's only node, with the number that the kernel gives its own.
  static constexpr uint32_t kNode = 1;
  // Look-ups of one client, far more than there are services: a hostile one must not fill memory.
  static constexpr size_t kLookupsMax = 256;
  static constexpr Address kControl{kNode, qcci::kControlPort};

  // Gives the port an address of its own, which is not used again. The bus does not own the port;
  // it must stay until its detach, which ends its look-ups as well.
  Address attach(Port& port);
  void detach(Address client);
  bool attached(Address client) const { return clients_.contains(client); }
  // Takes a control packet from a client. All but look-ups and their ends are ignored.
  void control(Address client, std::span<const uint8_t> octets);

  // Gives the service a new address and reports it to those that look it up. Addresses are not
  // used again.
  Address publish(uint32_t service, uint32_t version, uint32_t instance);
  // Removes the address and reports that to those that look the service up; nothing for an address
  // that no service has.
  void withdraw(Address address);
  // The id of the service at the address.
  std::optional<uint32_t> service_at(Address server) const;
  // Drops what is for a client that is not attached.
  void deliver(Address from, Address to, std::span<const uint8_t> octets);

 private:
  struct Server {
    uint32_t service;
    uint32_t instance;  // version and instance in one field, as control packets have them

    qcci::ControlPacket packet(qcci::Control command, Address at) const {
      return {.command = command,
              .service = service,
              .instance = instance,
              .node = at.node,
              .port = at.port};
    }
  };
  void report(Address client, const qcci::ControlPacket& packet);
  void report_to_watchers(qcci::Control command, Address address, const Server& server);

  uint32_t last_client_ = 0x4000;  // where the kernel's bus, too, begins to number clients
  uint32_t last_server_ = 0;
  std::map<Address, Port*> clients_;
  std::map<Address, Server> servers_;
  std::map<Address, std::set<uint32_t>> lookups_;  // service ids; 0: all
};

}  // namespace sim

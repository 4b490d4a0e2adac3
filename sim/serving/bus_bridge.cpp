#include "sim/serving/bus_bridge.h"

namespace sim {

using qcci::Control;
using qcci::ControlPacket;

struct BusBridge::Watcher final : Port {
  explicit Watcher(BusBridge& owner) : bridge(owner), address(owner.modem_.attach(*this)) {
    // Service 0: all services, those to come included.
    bridge.modem_.send(address, Bus::kControl, ControlPacket{Control::kNewLookup}.octets());
  }
  ~Watcher() override { bridge.modem_.detach(address); }
  void deliver(Address from, std::span<const uint8_t> octets) override {
    ControlPacket packet;
    if (from != Bus::kControl || !ControlPacket::parse(octets, &packet)) return;
    if (packet.command == Control::kDelServer) {
      bridge.up_.erase(packet.server());
      bridge.withdrawn_ = true;
      bridge.withdraw(packet.server());
    }
    if (packet.command == Control::kNewServer && !packet.ends_list()) {
      bridge.up_.insert(packet.server());
      bridge.announce(packet.server(), packet.service, packet.instance);
    }
  }
  BusBridge& bridge;
  const Address address;
};

struct BusBridge::Client final : Port {
  Client(BusBridge& owner, Address there)
      : bridge(owner), client(there), address(owner.modem_.attach(*this)) {}
  ~Client() override { bridge.modem_.detach(address); }
  void deliver(Address from, std::span<const uint8_t> octets) override {
    bridge.send(from, client, octets);
  }
  BusBridge& bridge;
  const Address client;
  const Address address;
};

BusBridge::BusBridge(ModemBus& modem) : modem_(modem) {}

BusBridge::~BusBridge() = default;

void BusBridge::watch() { watcher_ = std::make_unique<Watcher>(*this); }

void BusBridge::forget(const std::function<bool(Address at, Address client)>& gone) {
  std::erase_if(clients_, [&](const auto& c) { return gone(c.first.first, c.first.second); });
}

void BusBridge::take(Address at, Address client, std::span<const uint8_t> octets) {
  // Not when a service goes, which the modem reports with its mutex held: to detach a client takes
  // it again.
  if (std::exchange(withdrawn_, false)) {
    forget([this](Address service, Address) { return !up_.contains(service); });
  }
  std::unique_ptr<Client>& known = clients_[{at, client}];
  if (known == nullptr) known = std::make_unique<Client>(*this, client);
  modem_.send(known->address, at, octets);
}

}  // namespace sim

#include "sim/modem/bus.h"

namespace sim {

using qcci::Control;
using qcci::ControlPacket;

Address Bus::attach(Port& port) {
  const Address address{kNode, ++last_client_};
  clients_.emplace(address, &port);
  return address;
}

void Bus::detach(Address client) {
  clients_.erase(client);
  lookups_.erase(client);
}

void Bus::control(Address client, std::span<const uint8_t> octets) {
  ControlPacket packet;
  if (!ControlPacket::parse(octets, &packet)) return;
  if (packet.command == Control::kDelLookup) lookups_[client].erase(packet.service);
  if (packet.command != Control::kNewLookup) return;
  std::set<uint32_t>& watched = lookups_[client];
  if (watched.size() < kLookupsMax) watched.insert(packet.service);
  for (const auto& [address, server] : servers_) {
    if (packet.service != 0 && packet.service != server.service) continue;
    if (packet.instance != 0 && packet.instance != server.instance) continue;
    report(client, server.packet(Control::kNewServer, address));
  }
  report(client, {.command = Control::kNewServer});
}

Address Bus::publish(uint32_t service, uint32_t version, uint32_t instance) {
  const Address address{kNode, ++last_server_};
  const Server server{service, qcci::instance_field(version, instance)};
  servers_.emplace(address, server);
  report_to_watchers(Control::kNewServer, address, server);
  return address;
}

void Bus::withdraw(Address address) {
  const auto found = servers_.find(address);
  if (found == servers_.end()) return;
  const Server server = found->second;
  servers_.erase(found);
  report_to_watchers(Control::kDelServer, address, server);
}

std::optional<uint32_t> Bus::service_at(Address server) const {
  const auto found = servers_.find(server);
  if (found == servers_.end()) return std::nullopt;
  return found->second.service;
}

void Bus::deliver(Address from, Address to, std::span<const uint8_t> octets) {
  const auto found = clients_.find(to);
  if (found != clients_.end()) found->second->deliver(from, octets);
}

void Bus::report(Address client, const ControlPacket& packet) {
  deliver(kControl, client, packet.octets());
}

void Bus::report_to_watchers(Control command, Address address, const Server& server) {
  const ControlPacket packet = server.packet(command, address);
  for (const auto& [client, services] : lookups_) {
    if (services.contains(0) || services.contains(server.service)) report(client, packet);
  }
}

}  // namespace sim

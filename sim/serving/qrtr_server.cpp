#include "sim/serving/qrtr_server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "qcci/link/qrtr.h"

namespace sim {
namespace {

using qcci::Control;
using qcci::ControlPacket;

// Datagrams taken from one socket before the others have their turn.
constexpr int kTurn = 32;

}  // namespace

struct QrtrServer::Watcher final : Port {
  explicit Watcher(QrtrServer& owner) : server(owner), address(owner.modem_.attach(*this)) {
    // Service 0: all of them, now and later.
    server.modem_.send(address, Bus::kControl, ControlPacket{Control::kNewLookup}.octets());
  }
  ~Watcher() override { server.modem_.detach(address); }
  void deliver(Address from, std::span<const uint8_t> octets) override {
    ControlPacket packet;
    if (from != Bus::kControl || !ControlPacket::parse(octets, &packet)) return;
    if (packet.command == Control::kDelServer) server.withdraw(packet.server());
    if (packet.command == Control::kNewServer && !packet.ends_list()) {
      server.announce(packet.server(), packet.service, packet.instance);
    }
  }
  QrtrServer& server;
  const Address address;
};

struct QrtrServer::Guest final : Port {
  Guest(QrtrServer& owner, Address on_bus)
      : server(owner), client(on_bus), address(owner.modem_.attach(*this)) {}
  ~Guest() override { server.modem_.detach(address); }
  void deliver(Address from, std::span<const uint8_t> octets) override {
    server.send(from, client, octets);
  }
  QrtrServer& server;
  const Address client;
  const Address address;
};

QrtrServer::QrtrServer(Modem& modem) : modem_(modem) {}

QrtrServer::~QrtrServer() = default;

bool QrtrServer::publish(std::string* why) {
  const Descriptor probe(qcci::qrtr_socket(&own_));
  if (!probe) {
    *why = std::string("no QRTR bus in this kernel: ") + std::strerror(errno);
    return false;
  }
  watcher_ = std::make_unique<Watcher>(*this);
  for (const auto& [at, service] : services_) {
    if (service.published) continue;
    *why = std::string("the QRTR bus takes no service: ") + std::strerror(errno);
    return false;
  }
  return true;
}

// A socket a service: the name service knows a server by its port, which it sees for itself.
void QrtrServer::announce(Address at, uint32_t service, uint32_t instance) {
  Address own;
  Service published{service, instance, Descriptor(qcci::qrtr_socket(&own)), false};
  const ControlPacket packet{Control::kNewServer, service, instance, 0, 0};
  published.published =
      published.socket && qcci::qrtr_send(published.socket.get(), {own.node, qcci::kControlPort},
                                          packet.octets()) == qcci::Sent::kSent;
  services_.insert_or_assign(at, std::move(published));
}

void QrtrServer::withdraw(Address at) {
  services_.erase(at);
  std::erase_if(guests_, [at](const auto& g) { return g.first.first == at; });
}

void QrtrServer::poll_for(std::vector<pollfd>* polled) {
  for (const auto& [at, service] : services_) polled->push_back({service.socket.get(), POLLIN, 0});
}

void QrtrServer::serve(std::span<const pollfd> polled) {
  Address from;
  std::vector<uint8_t> octets;
  for (const pollfd& ready : polled) {
    for (int i = 0; i < kTurn && ready.revents != 0; ++i) {
      // A service may go, and its socket with it, while it is being served.
      const auto found = std::ranges::find_if(
          services_, [&](const auto& entry) { return entry.second.socket.get() == ready.fd; });
      if (found == services_.end()) break;
      const int got = qcci::qrtr_read(ready.fd, &from, &octets);
      const Address at = found->first;
      if (got < 0) announce(at, found->second.service, found->second.instance);
      if (got <= 0) break;
      take(at, from, octets);
    }
  }
}

void QrtrServer::take(Address at, Address from, std::span<const uint8_t> octets) {
  if (from.port != qcci::kControlPort) {
    modem_.send(guest(at, from), at, octets);
    return;
  }
  ControlPacket packet;
  if (from.node != own_.node || !ControlPacket::parse(octets, &packet)) return;
  if (packet.command == Control::kDelClient) guests_.erase({at, packet.client()});
  if (packet.command == Control::kBye) {
    std::erase_if(guests_, [&](const auto& g) {
      return g.first.first == at && g.first.second.node == packet.client().node;
    });
  }
}

Address QrtrServer::guest(Address at, Address from) {
  std::unique_ptr<Guest>& guest = guests_[{at, from}];
  if (guest == nullptr) guest = std::make_unique<Guest>(*this, from);
  return guest->address;
}

// What the client has no room for is lost, as it is when a real modem sends it.
void QrtrServer::send(Address at, Address client, std::span<const uint8_t> octets) {
  const auto found = services_.find(at);
  if (found != services_.end()) qcci::qrtr_send(found->second.socket.get(), client, octets);
}

}  // namespace sim

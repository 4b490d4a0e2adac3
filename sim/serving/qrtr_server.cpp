#include "sim/serving/qrtr_server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "qcci/link/qrtr.h"

namespace sim {
namespace {

using qcci::Control;
using qcci::ControlPacket;

// Datagrams taken from one socket before the others are served, so that no client starves another.
constexpr int kTurn = 32;

}  // namespace

struct QrtrServer::Watcher final : Port {
  explicit Watcher(QrtrServer& owner) : server(owner), address(owner.modem_.attach(*this)) {
    // Service 0: all services, those to come included.
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

struct QrtrServer::Client final : Port {
  Client(QrtrServer& owner, Address on_bus)
      : server(owner), kernel(on_bus), address(owner.modem_.attach(*this)) {}
  ~Client() override { server.modem_.detach(address); }
  void deliver(Address from, std::span<const uint8_t> octets) override {
    server.send(from, kernel, octets);
  }
  QrtrServer& server;
  const Address kernel;
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

// One socket for each service: the kernel's name service takes the server's port from the sender's
// address, so two services cannot share one.
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
  withdrawn_ = true;
}

void QrtrServer::poll_for(std::vector<pollfd>* polled) {
  // Not in withdraw, which the modem calls with its mutex held: to detach a client takes it again.
  if (std::exchange(withdrawn_, false)) {
    std::erase_if(clients_, [this](const auto& c) { return !services_.contains(c.first.first); });
  }
  for (const auto& [at, service] : services_) polled->push_back({service.socket.get(), POLLIN, 0});
}

void QrtrServer::serve(std::span<const pollfd> polled) {
  Address from;
  std::vector<uint8_t> octets;
  for (const pollfd& ready : polled) {
    for (int i = 0; i < kTurn && ready.revents != 0; ++i) {
      // The datagram before may have taken the service down, which closed its socket.
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
    modem_.send(address_of(at, from), at, octets);
    return;
  }
  ControlPacket packet;
  if (from.node != own_.node || !ControlPacket::parse(octets, &packet)) return;
  if (packet.command == Control::kDelClient) clients_.erase({at, packet.client()});
  if (packet.command == Control::kBye) {
    std::erase_if(clients_, [&](const auto& c) {
      return c.first.first == at && c.first.second.node == packet.client().node;
    });
  }
}

Address QrtrServer::address_of(Address at, Address from) {
  std::unique_ptr<Client>& client = clients_[{at, from}];
  if (client == nullptr) client = std::make_unique<Client>(*this, from);
  return client->address;
}

// A datagram that the client has no room for is lost, as one from a real modem is.
void QrtrServer::send(Address at, Address client, std::span<const uint8_t> octets) {
  const auto found = services_.find(at);
  if (found != services_.end()) qcci::qrtr_send(found->second.socket.get(), client, octets);
}

}  // namespace sim

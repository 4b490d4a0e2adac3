#include "sim/serving/qrtr_server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "qcci/link/qrtr.h"

namespace sim {
namespace {

using qcci::Control;
using qcci::ControlPacket;

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

struct QrtrServer::Service final : Polled {
  Service(QrtrServer& owner, Address on_bus, uint32_t id, uint32_t version)
      : server(owner), at(on_bus), service(id), instance(version), socket(qcci::qrtr_socket(&own)) {
    const ControlPacket packet{Control::kNewServer, service, instance, 0, 0};
    if (!socket || qcci::qrtr_send(socket.get(), {own.node, qcci::kControlPort}, packet.octets()) !=
                       qcci::Sent::kSent) {
      return;
    }
    polled = server.poller_.add(socket.get(), EPOLLIN, *this);
  }
  ~Service() override { server.poller_.remove(polled); }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  void ready(uint32_t) override { server.take_one(*this); }

  QrtrServer& server;
  const Address at;
  const uint32_t service;
  const uint32_t instance;  // version and instance in one field, as control packets have them
  Address own;
  const Descriptor socket;
  Poller::Id polled = 0;  // 0: not published, since the kernel did not take the announcement
};

QrtrServer::QrtrServer(Modem& modem, Poller& poller) : modem_(modem), poller_(poller) {}

QrtrServer::~QrtrServer() = default;

bool QrtrServer::publish(std::string* why) {
  const Descriptor probe(qcci::qrtr_socket(&own_));
  if (!probe) {
    *why = std::string("no QRTR bus in this kernel: ") + std::strerror(errno);
    return false;
  }
  watcher_ = std::make_unique<Watcher>(*this);
  for (const auto& [at, service] : services_) {
    if (service->polled != 0) continue;
    *why = std::string("the QRTR bus takes no service: ") + std::strerror(errno);
    return false;
  }
  return true;
}

// One socket for each service: the kernel's name service takes the server's port from the sender's
// address, so two services cannot share one.
void QrtrServer::announce(Address at, uint32_t service, uint32_t instance) {
  services_.insert_or_assign(at, std::make_unique<Service>(*this, at, service, instance));
}

void QrtrServer::withdraw(Address at) {
  services_.erase(at);
  withdrawn_ = true;
}

void QrtrServer::take_one(Service& service) {
  // Not in withdraw, which the modem calls with its mutex held: to detach a client takes it again.
  if (std::exchange(withdrawn_, false)) {
    std::erase_if(clients_, [this](const auto& c) { return !services_.contains(c.first.first); });
  }
  Address from;
  const int got = qcci::qrtr_read(service.socket.get(), &from, &received_);
  if (got > 0) take(service.at, from, received_);
  if (got < 0) announce(service.at, service.service, service.instance);
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
  if (found != services_.end()) qcci::qrtr_send(found->second->socket.get(), client, octets);
}

}  // namespace sim

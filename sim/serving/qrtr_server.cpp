#include "sim/serving/qrtr_server.h"

#include <cerrno>
#include <cstring>

#include "qcci/link/qrtr.h"

namespace sim {
namespace {

using qcci::Control;
using qcci::ControlPacket;

}  // namespace

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

QrtrServer::QrtrServer(ModemBus& modem, Poller& poller) : BusBridge(modem), poller_(poller) {}

QrtrServer::~QrtrServer() = default;

bool QrtrServer::publish(std::string* why) {
  const Descriptor probe(qcci::qrtr_socket(&own_));
  if (!probe) {
    *why = std::string("no QRTR bus in this kernel: ") + std::strerror(errno);
    return false;
  }
  watch();
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

void QrtrServer::withdraw(Address at) { services_.erase(at); }

void QrtrServer::take_one(Service& service) {
  Address from;
  const int got = qcci::qrtr_read(service.socket.get(), &from, &received_);
  if (got < 0) announce(service.at, service.service, service.instance);
  if (got <= 0) return;
  if (from.port == qcci::kControlPort) {
    take_control(service.at, from, received_);
  } else {
    take(service.at, from, received_);
  }
}

void QrtrServer::take_control(Address at, Address from, std::span<const uint8_t> octets) {
  ControlPacket packet;
  if (from.node != own_.node || !ControlPacket::parse(octets, &packet)) return;
  if (packet.command != Control::kDelClient && packet.command != Control::kBye) return;
  forget([&](Address service, Address client) {
    return service == at && (packet.command == Control::kBye ? client.node == packet.client().node
                                                             : client == packet.client());
  });
}

// A datagram that the client has no room for is lost, as one from a real modem is.
void QrtrServer::send(Address at, Address client, std::span<const uint8_t> octets) {
  const auto found = services_.find(at);
  if (found != services_.end()) qcci::qrtr_send(found->second->socket.get(), client, octets);
}

}  // namespace sim

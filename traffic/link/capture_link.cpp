#include "traffic/link/capture_link.h"

#include <utility>

namespace traffic {
namespace {

using qcci::Address;
using qcci::Control;
using qcci::ControlPacket;
using qcci::kControlPort;

// More services than any bus has: a limit for one that announces them without end.
constexpr size_t kMostServers = 1024;

}  // namespace

CaptureLink::CaptureLink(std::unique_ptr<qcci::Link> link, Capture& capture)
    : link_(std::move(link)), capture_(capture) {}

bool CaptureLink::open(qcci::Endpoint* endpoint) {
  if (!link_->open(endpoint)) return false;
  const base::Lock lock(mutex_);
  own_[endpoint->id] = endpoint->own;
  return true;
}

void CaptureLink::close(qcci::EndpointId endpoint) {
  link_->close(endpoint);
  const base::Lock lock(mutex_);
  own_.erase(endpoint);
}

qcci::Sent CaptureLink::send(qcci::EndpointId endpoint, Address to,
                             std::span<const uint8_t> octets) {
  FrameHead head;
  {
    const base::Lock lock(mutex_);
    head = head_of(endpoint, to, false);
  }
  capture_.write(head, octets);
  const qcci::Sent sent = link_->send(endpoint, to, octets);
  if (sent == qcci::Sent::kBusy) capture_.note("not sent: the destination is busy");
  if (sent == qcci::Sent::kCut) capture_.note("not sent: off the bus, or no such destination");
  return sent;
}

qcci::Received CaptureLink::take(qcci::Datagram* datagram) {
  const qcci::Received received = link_->take(datagram);
  if (received == qcci::Received::kClosed) capture_.note("an endpoint has lost the bus");
  if (received != qcci::Received::kDatagram) return received;
  FrameHead head;
  {
    const base::Lock lock(mutex_);
    if (datagram->from.port == kControlPort) learn(datagram->octets);
    head = head_of(datagram->endpoint, datagram->from, true);
  }
  capture_.write(head, datagram->octets);
  return received;
}

void CaptureLink::learn(std::span<const uint8_t> octets) {
  ControlPacket packet;
  if (!ControlPacket::parse(octets, &packet)) return;
  if (packet.command == Control::kDelServer) servers_.erase(packet.server());
  if (packet.command == Control::kNewServer && !packet.ends_list() &&
      servers_.size() < kMostServers) {
    servers_[packet.server()] = {.service = packet.service, .instance = packet.instance};
  }
}

FrameHead CaptureLink::head_of(qcci::EndpointId endpoint, Address peer, bool to_client) {
  FrameHead head;
  head.to_client = to_client;
  const auto own = own_.find(endpoint);
  const Address self = own != own_.end() ? own->second : Address{};
  head.from = to_client ? peer : self;
  head.to = to_client ? self : peer;
  if (peer.port == kControlPort) {
    head.kind = Kind::kControl;
  } else if (const auto server = servers_.find(peer); server != servers_.end()) {
    head.service = server->second.service;
    head.instance = server->second.instance;
  }
  return head;
}

}  // namespace traffic

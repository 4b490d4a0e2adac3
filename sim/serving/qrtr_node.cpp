#include "sim/serving/qrtr_node.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "qcci/link/qrtr.h"

namespace sim {
namespace {

using qcci::Control;
using qcci::ControlPacket;

constexpr const char kDevice[] = "/dev/qrtr-tun";
constexpr uint32_t kVersion = 1;
constexpr uint32_t kData = 1;      // a packet's type is this, or its control command
constexpr uint32_t kResumeTx = 7;  // words: node, port
constexpr uint32_t kAskAt = 5;     // the kernel's own limits (net/qrtr/af_qrtr.c)
constexpr uint32_t kStopAt = 10;
constexpr size_t kWaitingMax = 64;  // packets for one client that does not read

}  // namespace

struct QrtrNode::Head {
  uint32_t version, type, from_node, from_port, confirm, size, to_node, to_port;
};

QrtrNode::QrtrNode(ModemBus& modem, Poller& poller, uint32_t node)
    : BusBridge(modem), poller_(poller), node_(node) {
  static_assert(sizeof(Head) == 32);
}

QrtrNode::~QrtrNode() {
  poller_.remove(polled_);
  if (!announced_.empty()) write_control(ControlPacket::of_client(Control::kBye, {node_, 0}));
}

bool QrtrNode::publish(std::string* why) {
  const Descriptor probe(qcci::qrtr_socket(&kernel_));
  if (!probe) {
    *why = std::string("no QRTR bus in this kernel: ") + std::strerror(errno);
    return false;
  }
  kernel_.port = qcci::kControlPort;
  if (kernel_.node == node_) {
    *why = "node " + std::to_string(node_) + " of the QRTR bus is this computer";
    return false;
  }
  tun_ = Descriptor(::open(kDevice, O_RDWR | O_CLOEXEC | O_NONBLOCK));
  if (!tun_) {
    *why =
        std::string(kDevice) + ": " + std::strerror(errno) + " (the kernel's module is qrtr-tun)";
    return false;
  }
  polled_ = poller_.add(tun_.get(), EPOLLIN, *this);
  if (polled_ == 0) {
    *why = std::string(kDevice) + " cannot be waited for";
    return false;
  }
  watch();
  return true;
}

// ---- to the kernel

void QrtrNode::announce(Address at, uint32_t service, uint32_t instance) {
  // The first packet says the node's number, and that it has begun anew.
  if (announced_.empty()) write_control({Control::kHello, 0, 0, 0, 0});
  const ControlPacket packet{Control::kNewServer, service, instance, node_, at.port};
  announced_.insert_or_assign(at.port, packet);
  write_control(packet);
}

void QrtrNode::withdraw(Address at) {
  const auto found = announced_.find(at.port);
  if (found == announced_.end()) return;
  ControlPacket packet = found->second;
  announced_.erase(found);
  packet.command = Control::kDelServer;
  write_control(announced_.empty() ? ControlPacket::of_client(Control::kBye, {node_, 0}) : packet);
  if (announced_.empty()) flows_.clear();
}

// A datagram that the client has no room for is lost, as one from a real modem is.
void QrtrNode::send(Address at, Address client, std::span<const uint8_t> octets) {
  std::vector<uint8_t> packet(sizeof(Head) + (octets.size() + 3) / 4 * 4);
  const Head head{kVersion,    kData,      node_, at.port, 0, static_cast<uint32_t>(octets.size()),
                  client.node, client.port};
  std::memcpy(packet.data(), &head, sizeof head);
  std::memcpy(packet.data() + sizeof head, octets.data(), octets.size());
  Flow& flow = flows_[client];
  if (flow.unconfirmed < kStopAt) {
    write_counted(flow, packet);
  } else if (flow.waiting.size() < kWaitingMax) {
    flow.waiting.push_back(std::move(packet));
  }
}

void QrtrNode::write_counted(Flow& flow, std::vector<uint8_t>& packet) {
  const uint32_t confirm = ++flow.unconfirmed == kAskAt ? 1 : 0;
  std::memcpy(packet.data() + offsetof(Head, confirm), &confirm, sizeof confirm);
  // What the kernel does not take is for a client that is gone.
  [[maybe_unused]] const ssize_t ignored = ::write(tun_.get(), packet.data(), packet.size());
}

void QrtrNode::write(uint32_t type, uint32_t from_port, Address to,
                     std::span<const uint8_t> octets) {
  uint8_t packet[sizeof(Head) + sizeof(ControlPacket)];
  const Head head{kVersion, type,   node_, from_port, 0, static_cast<uint32_t>(octets.size()),
                  to.node,  to.port};
  std::memcpy(packet, &head, sizeof head);
  std::memcpy(packet + sizeof head, octets.data(), octets.size());
  [[maybe_unused]] const ssize_t ignored = ::write(tun_.get(), packet, sizeof head + octets.size());
}

void QrtrNode::write_control(const ControlPacket& packet) {
  write(static_cast<uint32_t>(packet.command), qcci::kControlPort, kernel_, packet.octets());
}

// ---- from the kernel

void QrtrNode::ready(uint32_t) {
  received_.resize(sizeof(Head) + qcci::kMaxDatagram + 3);
  const ssize_t got = ::read(tun_.get(), received_.data(), received_.size());
  Head head{};
  if (got < static_cast<ssize_t>(sizeof head)) return;
  std::memcpy(&head, received_.data(), sizeof head);
  const size_t room = static_cast<size_t>(got) - sizeof head;
  if (head.version != kVersion || head.size > room || head.to_node != node_) return;
  take_packet(head, std::span(received_).subspan(sizeof head, head.size));
}

void QrtrNode::take_packet(const Head& head, std::span<const uint8_t> octets) {
  const Address from{head.from_node, head.from_port};
  if (head.type == kData) {
    const Address at{Bus::kNode, head.to_port};
    if (announced_.contains(head.to_port)) take(at, from, octets);
    if (head.confirm != 0) {
      const ControlPacket read =
          ControlPacket::of_client(static_cast<Control>(kResumeTx), {node_, head.to_port});
      write(kResumeTx, head.to_port, from, read.octets());
    }
    return;
  }
  ControlPacket packet;
  if (!ControlPacket::parse(octets, &packet)) return;
  const Address client = packet.client();
  if (head.type == kResumeTx) resume(client);
  if (head.type == static_cast<uint32_t>(Control::kDelClient)) {
    forget([&](Address, Address known) { return known == client; });
    flows_.erase(client);
  }
  if (head.type == static_cast<uint32_t>(Control::kBye)) {
    forget([](Address, Address) { return true; });
    flows_.clear();
  }
}

void QrtrNode::resume(Address client) {
  const auto found = flows_.find(client);
  if (found == flows_.end()) return;
  Flow& flow = found->second;
  flow.unconfirmed = 0;
  while (!flow.waiting.empty() && flow.unconfirmed < kStopAt) {
    write_counted(flow, flow.waiting.front());
    flow.waiting.pop_front();
  }
}

}  // namespace sim

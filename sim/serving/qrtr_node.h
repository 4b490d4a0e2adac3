// The modem on a node of its own, as in a phone: a remote node of the kernel's QRTR bus.
//
// Who opens /dev/qrtr-tun is a node that the kernel is connected to; each write is one packet to
// the kernel, each read one from it. A packet is a head of eight numbers (version 1), then its
// octets, padded to four. The node says HELLO, announces its services at its own ports, and says
// BYE when the last of them goes down, as a modem does that restarts, and when it ends.
//
// Flow control, both ways, is the kernel's: the fifth packet to a port asks for a confirmation
// (RESUME_TX), which comes when it is read; after ten without one nothing more is sent.
//
// Threads: BusBridge's.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "sim/phone/files.h"
#include "sim/serving/bus_bridge.h"
#include "sim/serving/poller.h"

namespace sim {

class QrtrNode final : private BusBridge, private Polled {
 public:
  // `node`: its number on the bus. The others must outlast this.
  QrtrNode(ModemBus& modem, Poller& poller, uint32_t node);
  ~QrtrNode() override;
  QrtrNode(const QrtrNode&) = delete;
  QrtrNode& operator=(const QrtrNode&) = delete;

  // Joins the bus and announces the services that are up, and from then on those that come up. Call
  // it once. False, and why, when the kernel takes no other node, or has that number itself.
  [[nodiscard]] bool publish(std::string* why);

 private:
  struct Head;
  // What is on its way to one client.
  struct Flow {
    uint32_t unconfirmed = 0;
    std::deque<std::vector<uint8_t>> waiting;  // packets
  };

  void announce(Address at, uint32_t service, uint32_t instance) override;
  void withdraw(Address at) override;
  void send(Address at, Address client, std::span<const uint8_t> octets) override;
  void ready(uint32_t events) override;

  void take_packet(const Head& head, std::span<const uint8_t> octets);
  void resume(Address client);
  void write(uint32_t type, uint32_t from_port, Address to, std::span<const uint8_t> octets);
  void write_control(const qcci::ControlPacket& packet);
  void write_counted(Flow& flow, std::vector<uint8_t>& packet);

  Poller& poller_;
  const uint32_t node_;
  Address kernel_;  // its control port
  Descriptor tun_;
  Poller::Id polled_ = 0;
  std::map<uint32_t, qcci::ControlPacket> announced_;  // by port
  std::map<Address, Flow> flows_;
  std::vector<uint8_t> received_;
};

}  // namespace sim

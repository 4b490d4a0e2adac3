// One socket on the kernel's QRTR bus, under the hand of a test.
#pragma once

#include <gtest/gtest.h>
#include <linux/qrtr.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <map>
#include <vector>

#include "platform/idl/sar.h"
#include "platform/qmi_client.h"
#include "qcci/wire/packet.h"
#include "support/desk.h"

namespace desk {

class BusPeer {
 public:
  using Octets = std::vector<uint8_t>;
  static constexpr int kPatienceMs = 20000;  // for what is sure to come

  // At a port of the kernel's choice, or at this one.
  explicit BusPeer(uint32_t port = 0) : fd_(::socket(AF_QIPCRTR, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_qrtr address{};
    socklen_t length = sizeof address;
    EXPECT_EQ(::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length), 0);
    address.sq_port = port;
    EXPECT_EQ(::bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length), 0);
    own_ = {address.sq_node, address.sq_port};
  }
  ~BusPeer() { leave(); }
  BusPeer(const BusPeer&) = delete;
  BusPeer& operator=(const BusPeer&) = delete;

  void leave() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

  pollfd polled() const { return {fd_, POLLIN, 0}; }
  qcci::Address own() const { return own_; }
  qcci::Address control() const { return {own_.node, qcci::kControlPort}; }

  bool send(qcci::Address to, std::span<const uint8_t> octets) const {
    const sockaddr_qrtr address{AF_QIPCRTR, to.node, to.port};
    return ::sendto(fd_, octets.data(), octets.size(), MSG_DONTWAIT,
                    reinterpret_cast<const sockaddr*>(&address),
                    sizeof address) == static_cast<ssize_t>(octets.size());
  }
  // Again and again, to one whose queue is full.
  void insist(qcci::Address to, std::span<const uint8_t> octets) const {
    for (int i = 0; i < kPatienceMs && !send(to, octets); ++i) ::usleep(1000);
  }
  void announce(uint32_t service) const {
    insist(control(), qcci::ControlPacket{qcci::Control::kNewServer, service, 1, 0, 0}.octets());
  }
  // The next datagram that no name service sent; empty, and a failure, when none comes.
  Octets take(qcci::Address* from) const {
    Octets octets(qcci::kMaxDatagram);
    for (;;) {
      pollfd ready{fd_, POLLIN, 0};
      if (::poll(&ready, 1, kPatienceMs) != 1) {
        ADD_FAILURE() << "nothing has come";
        return {};
      }
      sockaddr_qrtr address{};
      socklen_t length = sizeof address;
      const ssize_t got = ::recvfrom(fd_, octets.data(), octets.size(), 0,
                                     reinterpret_cast<sockaddr*>(&address), &length);
      *from = {address.sq_node, address.sq_port};
      if (got < 0 || from->port == qcci::kControlPort) continue;
      octets.resize(static_cast<size_t>(got));
      return octets;
    }
  }
  // Where the services are, by their ids, as the name service tells.
  std::map<uint32_t, qcci::Address> services() const {
    std::map<uint32_t, qcci::Address> found;
    send(control(), qcci::ControlPacket{qcci::Control::kNewLookup, 0, 0, 0, 0}.octets());
    for (;;) {
      qcci::ControlPacket packet;
      if (::recv(fd_, &packet, sizeof packet, 0) != sizeof packet || packet.ends_list()) break;
      found[packet.service] = packet.server();
    }
    send(control(), qcci::ControlPacket{qcci::Control::kDelLookup, 0, 0, 0, 0}.octets());
    return found;
  }

 private:
  int fd_;
  qcci::Address own_;
};

// ---- the SAR service, at both ends

inline const auto kSar = sar_get_service_object_internal_v01(1, 15, 6);

inline int open_sar(qmi_client_type* client, uint32_t patience_ms = BusPeer::kPatienceMs) {
  return qmi_client_init_instance(kSar, QMI_CLIENT_INSTANCE_ANY, nullptr, nullptr, nullptr,
                                  patience_ms, client);
}
// The state that the service says; what went wrong, below 0.
inline int ask_sar(qmi_client_type client) {
  sar_rf_get_state_resp resp;
  const int result = qmi_client_send_msg_sync(client, SAR_RF_GET_STATE, nullptr, 0, &resp,
                                              sizeof resp, BusPeer::kPatienceMs);
  return result != 0 ? result : static_cast<int>(resp.state);
}
// The response to a request with such a transaction.
inline BusPeer::Octets sar_answer(uint8_t low, uint8_t high, uint8_t state) {
  BusPeer::Octets octets = unhex("02 00 00 02 00 0E 00 02 04 00 00 00 00 00 10 04 00 00 00 00 00");
  octets[1] = low;
  octets[2] = high;
  octets[17] = state;
  return octets;
}

}  // namespace desk

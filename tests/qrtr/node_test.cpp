// What only a second node of the kernel's bus can show: BYE, node loss, full windows and a node
// that lies. Most play the node themselves, behind /dev/qrtr-tun.

#include <fcntl.h>

#include <future>
#include <memory>

#include "qrtr/bus_peer.h"
#include "qrtr/served_phone.h"

namespace {

using desk::ask_sar;
using desk::BusPeer;
using desk::kSar;
using desk::open_sar;
using desk::unhex;
using qcci::Address;
using qcci::Control;
using qcci::ControlPacket;
using Octets = BusPeer::Octets;

constexpr uint32_t kNode = 0;
constexpr uint32_t kData = 1;
constexpr uint32_t kResumeTx = 7;
constexpr const char kTun[] = "/dev/qrtr-tun";

// A remote node under the hand of a test.
class Node {
 public:
  struct Packet {
    uint32_t version, type, from_node, from_port, confirm, size, to_node, to_port;
  };
  Node() : fd_(::open(kTun, O_RDWR | O_CLOEXEC)) { control({Control::kHello, 0, 0, 0, 0}); }
  ~Node() { leave(); }
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;
  void leave() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

  void write(Packet head, const Octets& octets, size_t cut = 0) const {
    Octets all(sizeof head + (octets.size() + 3) / 4 * 4);
    std::memcpy(all.data(), &head, sizeof head);
    std::memcpy(all.data() + sizeof head, octets.data(), octets.size());
    [[maybe_unused]] const ssize_t n = ::write(fd_, all.data(), all.size() - cut);
  }
  void control(const ControlPacket& packet, uint32_t from_port = qcci::kControlPort,
               Address to = {1, qcci::kControlPort}) const {
    const auto octets = packet.octets();
    write({1, static_cast<uint32_t>(packet.command), kNode, from_port, 0, 20, to.node, to.port},
          {octets.begin(), octets.end()});
  }
  void announce(uint32_t port) const {
    control({Control::kNewServer, SAR_SERVICE_ID, 1, kNode, port});
  }
  void bye() const { control(ControlPacket::of_client(Control::kBye, {kNode, 0})); }
  // The next request for this port: who asks, and its transaction.
  Packet take_request(uint32_t port, uint16_t* transaction) const {
    uint8_t octets[4096];
    Packet head{};
    do {
      if (::read(fd_, octets, sizeof octets) <= 0) {
        ADD_FAILURE() << "nothing has come";
        return head;
      }
      std::memcpy(&head, octets, sizeof head);
    } while (head.type != kData || head.to_port != port);
    std::memcpy(transaction, octets + sizeof head + 1, sizeof *transaction);
    return head;
  }
  void answer(const Packet& to, uint16_t transaction, uint8_t state) const {
    const Octets octets = desk::sar_answer(static_cast<uint8_t>(transaction),
                                           static_cast<uint8_t>(transaction >> 8), state);
    write({1, kData, kNode, to.to_port, 0, static_cast<uint32_t>(octets.size()), to.from_node,
           to.from_port},
          octets);
    if (to.confirm != 0) resume(to);
  }
  void resume(const Packet& to) const {
    control(ControlPacket::of_client(static_cast<Control>(kResumeTx), {kNode, to.to_port}),
            to.to_port, {to.from_node, to.from_port});
  }

 private:
  int fd_;
};

struct QrtrNode : testing::Test {
  void SetUp() override {
    if (::access(kTun, F_OK) != 0) GTEST_SKIP() << "no second node of the bus";
    ::setenv("VEX_MODEM", "qrtr", 1);
  }
};

// ---- the client library

// A node that goes, and the same with other ports that comes back, at every step of a request.
TEST_F(QrtrNode, AModemThatGoesEndsTheRequestAndIsFoundAgainAtOtherPorts) {
  uint32_t port = 5;
  for (const bool says_bye : {true, false}) {
    for (const char* step : {"opened", "asked", "answered"}) {
      SCOPED_TRACE(std::string(step) + (says_bye ? ", BYE" : ", lost"));
      auto node = std::make_unique<Node>();
      node->announce(port);
      qmi_client_type client = nullptr;
      ASSERT_EQ(open_sar(&client), QMI_CLIENT_OK);
      const auto go = [&] {
        if (says_bye) {
          node->bye();
        } else {
          node->leave();
        }
      };
      const bool opened = std::string(step) == "opened";
      const bool answered = std::string(step) == "answered";
      if (opened) go();
      auto asking = std::async(std::launch::async, [&] { return ask_sar(client); });
      if (!opened) {
        uint16_t transaction = 0;
        const Node::Packet from = node->take_request(port, &transaction);
        if (answered) {
          node->answer(from, transaction, 6);
          EXPECT_EQ(asking.get(), 6);
        }
        go();
      }
      if (!answered) {
        EXPECT_EQ(asking.get(), QMI_CLIENT_SERVICE_GONE);
      }
      EXPECT_EQ(ask_sar(client), QMI_CLIENT_SERVICE_GONE);
      qmi_client_release(client);
      uint32_t services = 9;
      std::ignore = qmi_client_get_service_list(kSar, nullptr, nullptr, &services);
      EXPECT_EQ(services, 0U);
      ++port;
    }
  }
}

TEST_F(QrtrNode, ANodeThatLiesMakesNoAnswerAndLosesNone) {
  const Node node;
  node.announce(5);
  qmi_client_type client = nullptr;
  ASSERT_EQ(open_sar(&client), QMI_CLIENT_OK);
  auto asking = std::async(std::launch::async, [&] { return ask_sar(client); });
  uint16_t transaction = 0;
  const Node::Packet from = node.take_request(5, &transaction);
  const Address to{from.from_node, from.from_port};
  node.answer({1, 0, 0, to.port, 0, 0, 0, 6}, transaction, 9);  // from another port of the node
  node.answer(from, static_cast<uint16_t>(transaction + 1), 9);
  const Octets junk = unhex("02 00 00 02 00 0E 00 02");
  node.write({2, kData, kNode, 5, 0, 8, to.node, to.port}, junk);     // another version
  node.write({1, kData, kNode, 5, 0, 4000, to.node, to.port}, junk);  // longer than it is
  node.write({1, kData, kNode, 5, 0, 8, to.node, to.port}, junk, 5);  // cut
  node.write({1, kData, kNode, 5, 0, 0, to.node, to.port}, {});       // empty
  node.write({1, 99, kNode, 5, 0, 8, to.node, to.port}, junk);        // of no kind
  node.write({1, kData, kNode, 5, 0, 8, to.node, to.port}, junk);     // no message
  node.control({Control::kDelServer, SAR_SERVICE_ID, 1, kNode, 77});  // that is not there
  for (const Control lie : {Control::kBye, Control::kDelClient, Control::kDelServer}) {
    node.control({lie, SAR_SERVICE_ID, 1, kNode, 5}, 5, to);  // not by the name service
  }
  node.announce(5);
  node.answer(from, transaction, 4);
  EXPECT_EQ(asking.get(), 4);
}

// ---- the served modem

TEST_F(QrtrNode, AModemKeepsAClientsAnswersUntilTheyAreRead) {
  ::setenv("VEX_TEST_NODE", "0", 1);
  const desk::ServedPhone phone;
  const BusPeer peer;
  const Address sar = peer.services().at(SAR_SERVICE_ID);
  EXPECT_EQ(sar.node, kNode);
  constexpr uint8_t kRequests = 40;  // four windows
  for (uint8_t i = 1; i <= kRequests; ++i) {
    peer.insist(sar, Octets{0, i, 0, SAR_RF_GET_STATE, 0, 0, 0});
  }
  while (phone.traced(" response ") < kRequests) ::usleep(5000);
  phone.pause();
  Address from;
  uint8_t i = 0;
  for (pollfd ready = peer.polled(); ::poll(&ready, 1, 0) == 1 && i < kRequests;) {
    EXPECT_EQ(peer.take(&from).at(1), ++i);
  }
  EXPECT_EQ(i, 10) << "no more than the kernel lets anybody send unread";
  phone.go_on();
  while (++i <= kRequests) {
    EXPECT_EQ(peer.take(&from).at(1), i);
    EXPECT_EQ(from, sar);
  }
}

}  // namespace

// The client library and the served phone on the kernel's QRTR bus, among others who are on it too.

#include <atomic>
#include <future>
#include <thread>

#include "qcci/link/qrtr.h"
#include "qrtr/bus_peer.h"
#include "qrtr/served_phone.h"
#include "sim/phone/files.h"

namespace {

using desk::BusPeer;
using desk::kSar;
using desk::open_sar;
using desk::ServedPhone;
using desk::unhex;
using qcci::Address;
using qcci::Control;
using qcci::ControlPacket;
using Octets = BusPeer::Octets;

Octets packet(Control command, uint32_t a, uint32_t b, Address server = {}) {
  const ControlPacket made{command, a, b, server.node, server.port};
  return {made.octets().begin(), made.octets().end()};
}

// A SAR "get state" request, and the response to it with a state.
Octets request(uint8_t transaction) { return {0, transaction, 0, SAR_RF_GET_STATE, 0, 0, 0}; }
Octets answer(const Octets& request, uint8_t state) {
  return desk::sar_answer(request.at(1), request.at(2), state);
}

// The next request at a server, whatever else comes to it.
Octets take_request(const BusPeer& server, Address* from) {
  for (;;) {
    Octets octets = server.take(from);
    if (octets.empty() || (octets.size() == 7 && octets[0] == QMI_IDL_REQUEST)) return octets;
  }
}

// ---- the link

TEST(QrtrLink, TellsABusyDestinationFromOneThatIsNotThere) {
  Address own;
  const sim::Descriptor socket(qcci::qrtr_socket(&own));
  const auto send = [&](Address to) { return qcci::qrtr_send(socket.get(), to, request(1)); };
  BusPeer peer;
  size_t taken = 0;
  while (taken < 100000 && send(peer.own()) == qcci::Sent::kSent) ++taken;
  EXPECT_GT(taken, 0u);
  EXPECT_EQ(send(peer.own()), qcci::Sent::kBusy) << "its queue is full";
  peer.leave();
  EXPECT_EQ(send(peer.own()), qcci::Sent::kCut) << "it has left";
  EXPECT_EQ(send({own.node + 1, 1}), qcci::Sent::kCut) << "no such node";
}

// ---- the client library

struct QrtrClient : testing::Test {
  void SetUp() override { ::setenv("VEX_MODEM", "qrtr", 1); }

  // To every port that a socket of this test may have.
  static void spray(const BusPeer& from, const Octets& octets) {
    for (uint32_t port = 0x4000; port < 0x4040; ++port) from.send({from.own().node, port}, octets);
  }
};

TEST_F(QrtrClient, TakesTheServersAnswerToTheRequestAndNothingElse) {
  BusPeer server;
  BusPeer other;
  server.announce(SAR_SERVICE_ID);
  qmi_client_type client = nullptr;
  ASSERT_EQ(open_sar(&client), QMI_CLIENT_OK);
  auto asking = std::async(std::launch::async, [&] { return desk::ask_sar(client); });
  Address to;
  const Octets asked = take_request(server, &to);
  Octets longest = answer(asked, 9);
  longest.resize(qcci::kMaxDatagram);
  server.send(to, longest);
  server.send(to, {});
  // Packets like the name service's.
  const Address at = server.own();
  for (const BusPeer* liar : {&server, &other}) {
    for (const Octets& lie :
         {packet(Control::kDelServer, SAR_SERVICE_ID, 1, at),
          packet(Control::kDelClient, at.node, at.port), packet(Control::kBye, at.node, 0)}) {
      liar->send(to, lie);
      spray(*liar, lie);
    }
  }
  for (int i = 0; i < 3000; ++i) other.send(to, answer(asked, 9));
  server.insist(to, answer(asked, 5));
  EXPECT_EQ(asking.get(), 5);
}

TEST_F(QrtrClient, BelievesNobodyButTheNameServiceWhereAServiceIs) {
  BusPeer liar;
  qmi_client_type client = nullptr;
  uint32_t services = 9;
  EXPECT_EQ(qmi_client_get_service_list(kSar, nullptr, nullptr, &services),
            QMI_CLIENT_SERVICE_GONE);
  spray(liar, packet(Control::kNewServer, SAR_SERVICE_ID, 1, liar.own()));
  EXPECT_EQ(open_sar(&client, 50), QMI_CLIENT_TIMED_OUT);

  auto opening = std::async(std::launch::async, [&] { return open_sar(&client); });
  BusPeer server;
  server.announce(SAR_SERVICE_ID);
  EXPECT_EQ(opening.get(), QMI_CLIENT_OK) << "one that comes later is found";
}

TEST_F(QrtrClient, AServiceThatIsThereTwiceLosesOnlyTheClientsOfTheOneThatGoes) {
  BusPeer servers[2];
  for (BusPeer& server : servers) server.announce(SAR_SERVICE_ID);
  uint32_t services = 0;
  EXPECT_EQ(qmi_client_get_service_list(kSar, nullptr, nullptr, &services), QMI_CLIENT_OK);
  EXPECT_EQ(services, 2u);
  qmi_client_type first = nullptr;
  ASSERT_EQ(open_sar(&first), QMI_CLIENT_OK);
  auto asking = std::async(std::launch::async, [&] { return desk::ask_sar(first); });
  pollfd ready[2] = {servers[0].polled(), servers[1].polled()};
  ASSERT_EQ(::poll(ready, 2, BusPeer::kPatienceMs), 1);
  BusPeer& chosen = servers[ready[0].revents != 0 ? 0 : 1];
  BusPeer& other = servers[ready[0].revents != 0 ? 1 : 0];
  Address from;
  const Octets lost = take_request(chosen, &from);
  other.insist(from, answer(lost, 9));
  chosen.leave();
  EXPECT_EQ(asking.get(), QMI_CLIENT_SERVICE_GONE) << "the moment it goes";

  qmi_client_type second = nullptr;
  ASSERT_EQ(open_sar(&second), QMI_CLIENT_OK);
  asking = std::async(std::launch::async, [&] { return desk::ask_sar(second); });
  const Octets asked = take_request(other, &from);
  other.insist(from, answer(asked, 3));
  EXPECT_EQ(asking.get(), 3);
  EXPECT_EQ(desk::ask_sar(first), QMI_CLIENT_SERVICE_GONE) << "a lost client stays lost";
}

// ---- the served phone

TEST(QrtrPhone, AnswersWhatCanBeAnsweredAndOutlivesTheRest) {
  const ServedPhone phone;
  BusPeer peer;
  const auto services = peer.services();
  ASSERT_GE(services.size(), 4u);
  const Address sar = services.at(SAR_SERVICE_ID);
  for (const auto& [id, at] : services) {
    for (const char* junk :
         {"", "00", "00 01 00 02 00", "00 01 00 02 00 05 00", "00 01 00 02 00 00 00 FF",
          "02 01 00 02 00 00 00", "04 00 00 02 00 00 00", "FF FF FF FF FF FF FF"}) {
      peer.insist(at, unhex(junk));
    }
    peer.insist(at, Octets(qcci::kMaxDatagram));
  }
  BusPeer flood;
  for (int i = 0; i < 3000; ++i) flood.send(sar, unhex("02 01 00 02 00 00 00"));
  // The first answers are those to requests.
  Address from;
  peer.insist(sar, unhex("00 07 00 77 00 00 00"));
  EXPECT_EQ(desk::hex(peer.take(&from)), "02 07 00 77 00 07 00 02 04 00 01 00 47 00") << "unknown";
  EXPECT_EQ(from, sar);
  peer.insist(sar, unhex("00 08 00 02 00 04 00 01 01 00 00"));
  EXPECT_EQ(desk::hex(peer.take(&from)), "02 08 00 02 00 07 00 02 04 00 01 00 01 00")
      << "malformed";
  peer.insist(sar, request(9));
  EXPECT_EQ(desk::hex(peer.take(&from)), desk::hex(answer(request(9), 0)));
}

TEST(QrtrPhone, ForgetsAClientWhenTheKernelSaysSoAndNobodyElse) {
  const ServedPhone phone(
      "[[fault]]\nservice = \"sar\"\nkind = \"response\"\naction = \"delay\"\nms = 300\n");
  BusPeer liar;
  auto victim = std::make_unique<BusPeer>();
  const Address sar = victim->services().at(SAR_SERVICE_ID);
  const Address at = victim->own();
  victim->insist(sar, request(1));
  liar.insist(sar, packet(Control::kDelClient, at.node, at.port));
  liar.insist(sar, packet(Control::kBye, at.node, 0));
  Address from;
  EXPECT_EQ(victim->take(&from).at(1), 1);

  // Who gets a port that another has left gets none of its answers, and its own; also when the
  // phone hears late of the leaving, which is told at every service.
  victim->insist(sar, request(2));
  phone.pause();
  victim.reset();
  const BusPeer heir(at.port);
  heir.services();  // behind the news of the leaving, which goes the same way
  heir.insist(sar, request(3));
  phone.go_on();
  EXPECT_EQ(heir.take(&from).at(1), 3);
}

}  // namespace

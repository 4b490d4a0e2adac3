// The QMI client library against a bus that is not in order, and against the simulated modem.

#include <sys/eventfd.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>
#include <tuple>

#include "platform/idl/nas.h"
#include "platform/idl/sar.h"
#include "platform/idl/vendor.h"
#include "platform/qmi_client.h"
#include "qcci/link/poll_link.h"
#include "support/desk.h"
#include "support/process_link.h"
#include "support/scripted_link.h"

namespace {

using desk::ScriptedLink;
using qcci::Address;
using qcci::Control;
using namespace std::chrono_literals;

const auto kSar = sar_get_service_object_internal_v01(1, 15, 6);
const auto kNas = nas_get_service_object_internal_v01(1, 398, 6);
const auto kVendor = kelvor_extend_get_service_object_internal_v01(1, 1, 6);

int open(qmi_idl_service_object_type service, uint32_t timeout_ms, qmi_client_type* client,
         qmi_client_ind_cb callback = nullptr, void* data = nullptr) {
  return qmi_client_init_instance(service, QMI_CLIENT_INSTANCE_ANY, callback, data, nullptr,
                                  timeout_ms, client);
}

int ask_state(qmi_client_type client, sar_rf_get_state_resp* resp, uint32_t timeout_ms = 3000) {
  return qmi_client_send_msg_sync(client, SAR_RF_GET_STATE, nullptr, 0, resp, sizeof *resp,
                                  timeout_ms);
}

// ---- a scripted bus

class HostileBus : public testing::Test {
 protected:
  HostileBus() {
    auto link = std::make_unique<ScriptedLink>();
    link_ = link.get();
    link_->services[SAR_SERVICE_ID] = kServer;
    desk::use_link(std::move(link));
  }

  // The answer to a request: the state, under a header that may be wrong.
  static std::vector<uint8_t> answer(const ScriptedLink::Sent& request, uint8_t state,
                                     uint8_t type = 2, int transaction_off = 0,
                                     uint8_t message = SAR_RF_GET_STATE) {
    std::vector<uint8_t> octets =
        desk::unhex("02 00 00 00 00 0E 00 02 04 00 00 00 00 00 10 04 00 00 00 00 00");
    octets[0] = type;
    octets[1] = static_cast<uint8_t>(request.octets[1] + transaction_off);
    octets[2] = request.octets[2];
    octets[3] = message;
    octets[17] = state;
    return octets;
  }

  desk::TestClock& clock_ = desk::TestClock::install();
  ScriptedLink* link_;
  static constexpr Address kServer{1, 7};
};

TEST_F(HostileBus, OnlyTheServersAnswerToThisVeryRequestIsTaken) {
  static const struct {
    const char* rule;
    Address from = kServer;
    uint8_t type = 2;
    int transaction_off = 0;
    uint8_t message = SAR_RF_GET_STATE;
    size_t octets = 21;
    qcci::EndpointId endpoint = 0;  // 0: the request's
    uint8_t length = 14;
  } kStrays[] = {
      {"another node", {2, 7}},
      {"another port", {1, 8}},
      {"another transaction", kServer, 2, 1},
      {"another message", kServer, 2, 0, 3},
      {"a request", kServer, 0},
      {"an indication nobody wants", kServer, 4},
      {"a type that there is not", kServer, 7},
      {"a cut header", kServer, 2, 0, SAR_RF_GET_STATE, 2},
      {"nothing", kServer, 2, 0, SAR_RF_GET_STATE, 0},
      {"another endpoint", kServer, 2, 0, SAR_RF_GET_STATE, 21, 99},
      {"a length beyond the datagram", kServer, 2, 0, SAR_RF_GET_STATE, 21, 0, 15},
  };
  for (const auto& stray : kStrays) {
    link_->on_request = [&](const ScriptedLink::Sent& request) {
      auto octets = answer(request, 9, stray.type, stray.transaction_off, stray.message);
      octets[5] = stray.length;
      octets.resize(stray.octets);
      link_->say(stray.endpoint != 0 ? stray.endpoint : request.endpoint, stray.from, octets);
      link_->say(request.endpoint, kServer, answer(request, 5));
    };
    qmi_client_type client = nullptr;
    ASSERT_EQ(open(kSar, 4, &client), QMI_CLIENT_OK) << stray.rule;
    sar_rf_get_state_resp resp;
    EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_OK) << stray.rule;
    EXPECT_EQ(resp.state, 5u) << stray.rule;
    qmi_client_release(client);
  }
  EXPECT_EQ(clock_.threads(), 1) << "a caller receives by itself";
}

TEST_F(HostileBus, WhenTheCallerThatReadsGivesUpAnotherReadsOn) {
  qmi_client_type client = nullptr;
  ASSERT_EQ(open(kSar, 4, &client), QMI_CLIENT_OK);
  ScriptedLink::Sent last{};
  link_->on_request = [&](const ScriptedLink::Sent& request) { last = request; };
  sar_rf_get_state_resp resp;
  auto reads = std::async(std::launch::async, [&] { return ask_state(client, &resp, 1000); });
  clock_.await_waiter(1000ms);
  sar_rf_get_state_resp other;
  auto waits = std::async(std::launch::async, [&] { return ask_state(client, &other, 3000); });
  clock_.await_waiter(3000ms);
  clock_.advance(1000ms);
  EXPECT_EQ(reads.get(), QMI_CLIENT_TIMED_OUT);
  link_->say(last.endpoint, kServer, answer(last, 6));
  EXPECT_EQ(waits.get(), QMI_CLIENT_OK);
  EXPECT_EQ(other.state, 6u);
}

TEST_F(HostileBus, ALateAnswerNeverReachesTheNextRequest) {
  qmi_client_type client = nullptr;
  ASSERT_EQ(open(kSar, 4, &client), QMI_CLIENT_OK);
  ScriptedLink::Sent first{};
  link_->on_request = [&](const ScriptedLink::Sent& request) { first = request; };
  sar_rf_get_state_resp resp;
  auto late = std::async(std::launch::async, [&] { return ask_state(client, &resp, 3000); });
  clock_.await_waiter(3000ms);
  clock_.advance(2999ms);
  clock_.advance(1ms);
  EXPECT_EQ(late.get(), QMI_CLIENT_TIMED_OUT);
  EXPECT_EQ(resp.state_valid, 0);

  link_->on_request = [&](const ScriptedLink::Sent& request) {
    link_->say(request.endpoint, kServer, answer(first, 1));  // late
    link_->say(request.endpoint, kServer, answer(request, 2));
    link_->say(request.endpoint, kServer, answer(request, 3));  // twice
  };
  EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_OK);
  EXPECT_EQ(resp.state, 2u);

  // Nor the first one of a client that comes after, which may have the same port.
  qmi_client_release(client);
  ASSERT_EQ(open(kSar, 4, &client), QMI_CLIENT_OK);
  EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_OK);
  EXPECT_EQ(resp.state, 2u);
}

TEST_F(HostileBus, TransactionsGoRoundPastZeroAndPastTheOneThatStillWaits) {
  qmi_client_type client = nullptr;
  ASSERT_EQ(open(kSar, 4, &client), QMI_CLIENT_OK);
  const auto transaction = [](const ScriptedLink::Sent& request) {
    return request.octets[1] | request.octets[2] << 8;
  };
  ScriptedLink::Sent waits{};
  link_->on_request = [&](const ScriptedLink::Sent& request) { waits = request; };
  sar_rf_get_state_resp resp;
  auto waiting = std::async(std::launch::async, [&] { return ask_state(client, &resp); });
  clock_.await_waiter(3000ms);

  std::vector<int> sent(0x10000);
  link_->on_request = [&](const ScriptedLink::Sent& request) { ++sent[transaction(request)]; };
  link_->outcome = qcci::Sent::kBusy;  // so that nothing is waited for
  sar_rf_get_state_resp other;
  for (int i = 0; i < 0xFFFF; ++i) ask_state(client, &other);
  EXPECT_EQ(sent[0], 0);
  EXPECT_EQ(sent[transaction(waits)], 0);
  EXPECT_EQ(std::count(sent.begin(), sent.end(), 0), 2) << "every other one";
  link_->say(waits.endpoint, kServer, answer(waits, 7));
  EXPECT_EQ(waiting.get(), QMI_CLIENT_OK);
  EXPECT_EQ(resp.state, 7u);
}

TEST_F(HostileBus, ControlPacketsCountOnlyFromTheOwnNodesControlPort) {
  qmi_client_type client = nullptr;
  ASSERT_EQ(open(kSar, 4, &client), QMI_CLIENT_OK);
  for (const Address from : {Address{1, 7}, Address{2, qcci::kControlPort}, Address{1, 99}}) {
    link_->control(from, {Control::kDelServer, SAR_SERVICE_ID, 1, 1, 7});
    link_->control(from, {Control::kBye, 1, 0, 0, 0});
  }
  link_->say(1, ScriptedLink::kControl, {5, 0, 0});               // cut
  link_->announce(Control::kNewServer, SAR_SERVICE_ID, kServer);  // twice
  link_->announce(Control::kDelServer, NAS_SERVICE_ID, kServer);  // another service there
  desk::instances(kSar);
  link_->on_request = [&](const ScriptedLink::Sent& request) {
    link_->say(request.endpoint, kServer, answer(request, 4));
  };
  sar_rf_get_state_resp resp;
  EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_OK);
  uint32_t services = 0;
  uint32_t entries = 9;
  EXPECT_EQ(qmi_client_get_service_list(kSar, nullptr, &entries, &services), QMI_CLIENT_OK);
  EXPECT_EQ(services, 1u);
  EXPECT_EQ(entries, 0u) << "there is no list to enter any";

  link_->control(ScriptedLink::kControl, {Control::kBye, 1, 0, 0, 0});
  desk::instances(kSar);
  EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_SERVICE_GONE);
}

TEST_F(HostileBus, AnAnswerThatDoesNotDecodeIsAnInternalErrorAndLeavesNothingBehind) {
  qmi_client_type client = nullptr;
  ASSERT_EQ(open(kSar, 4, &client), QMI_CLIENT_OK);
  link_->on_request = [&](const ScriptedLink::Sent& request) {
    auto octets = answer(request, 4);
    octets[15] = 3;  // the state's TLV one short
    link_->say(request.endpoint, kServer, octets);
  };
  sar_rf_get_state_resp resp;
  std::memset(&resp, 0xEE, sizeof resp);
  EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_INTERNAL);
  EXPECT_EQ(resp.state_valid, 0);
  EXPECT_EQ(resp.resp.result, 0u);
}

TEST_F(HostileBus, WhatCannotBeSentFailsAtOnceAndLeavesNothingBehind) {
  qmi_client_type client = nullptr;
  ASSERT_EQ(open(kSar, 4, &client), QMI_CLIENT_OK);
  sar_rf_get_state_resp resp;
  link_->outcome = qcci::Sent::kBusy;
  EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_INTERNAL);
  ScriptedLink::Sent lost{};
  link_->on_request = [&](const ScriptedLink::Sent& request) {
    lost = request;
    throw std::bad_alloc();
  };
  EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_INTERNAL);
  link_->say(lost.endpoint, kServer, answer(lost, 9));  // for a request that is no more
  desk::instances(kSar);
  link_->outcome = qcci::Sent::kSent;
  link_->on_request = [&](const ScriptedLink::Sent& request) {
    link_->say(request.endpoint, kServer, answer(request, 5));
  };
  EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_OK);
  link_->outcome = qcci::Sent::kCut;
  link_->on_request = nullptr;
  EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_SERVICE_GONE);
  link_->outcome = qcci::Sent::kSent;
  EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_SERVICE_GONE) << "and stays with it";
}

TEST_F(HostileBus, ABusThatNeverAnswersALookUpIsGivenUp) {
  link_->answers = false;
  clock_.run_by_itself();
  uint32_t services = 9;
  EXPECT_EQ(qmi_client_get_service_list(kSar, nullptr, nullptr, &services),
            QMI_CLIENT_SERVICE_GONE);
  EXPECT_EQ(clock_.passed(), 5s);
  for (int i = 0; i < 50; ++i) qmi_client_get_service_list(kSar, nullptr, nullptr, &services);
  EXPECT_EQ(clock_.passed(), 5s) << "and not waited for again at once";
}

TEST_F(HostileBus, ALookUpThatTheBusHasNoRoomForIsSentAgain) {
  link_->lookup_outcomes.assign(3, qcci::Sent::kBusy);
  clock_.run_by_itself();
  uint32_t services = 0;
  EXPECT_EQ(qmi_client_get_service_list(kSar, nullptr, nullptr, &services), QMI_CLIENT_OK);
  EXPECT_EQ(services, 1u);
  EXPECT_LT(clock_.passed(), 1s);
}

TEST_F(HostileBus, ABusWithoutANameServiceIsNoBusUntilThereIsOne) {
  link_->lookup_outcomes.assign(3, qcci::Sent::kCut);
  uint32_t services = 9;
  EXPECT_EQ(qmi_client_get_service_list(kSar, nullptr, nullptr, &services),
            QMI_CLIENT_SERVICE_GONE);
  EXPECT_EQ(clock_.passed(), 0s) << "nothing is waited for";
  clock_.run_by_itself();
  qmi_client_type client = nullptr;
  EXPECT_EQ(open(kSar, 4000, &client), QMI_CLIENT_OK);
  EXPECT_LT(clock_.passed(), 1s);
}

TEST_F(HostileBus, ACallbackMayLookForServicesWithoutWaitingForItself) {
  static std::atomic<int> result{1};
  qmi_client_type notifier = nullptr;
  ASSERT_EQ(qmi_client_notifier_init(kNas, nullptr, &notifier), QMI_CLIENT_OK);
  qmi_client_register_notify_cb(
      notifier,
      [](qmi_client_type, qmi_idl_service_object_type, qmi_client_notify_event, void*) {
        uint32_t services = 0;
        result = qmi_client_get_service_list(kVendor, nullptr, nullptr, &services);
      },
      nullptr);
  link_->announce(Control::kNewServer, NAS_SERVICE_ID, {1, 9});
  while (result == 1) std::this_thread::yield();
  EXPECT_EQ(result, QMI_CLIENT_SERVICE_GONE);
  EXPECT_EQ(clock_.passed(), 0s);
}

// A name service says nothing of what had the address until then.
TEST_F(HostileBus, AServiceThatComesBackAtItsAddressInAnotherVersionIsAnotherOne) {
  qmi_client_type client = nullptr;
  ASSERT_EQ(open(kSar, 4, &client), QMI_CLIENT_OK);
  const auto found = [&](uint32_t service, uint32_t version) {
    link_->instance = version;
    link_->announce(Control::kNewServer, service, kServer);
    desk::instances(kSar);
    uint32_t services = 0;
    qmi_client_get_service_list(kSar, nullptr, nullptr, &services);
    return services;
  };
  sar_rf_get_state_resp resp;
  EXPECT_EQ(found(SAR_SERVICE_ID, 2), 0u);
  EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_SERVICE_GONE);
  EXPECT_EQ(found(SAR_SERVICE_ID, 1), 1u);
  EXPECT_EQ(found(NAS_SERVICE_ID, 1), 0u);
}

// ---- links over descriptors

// There is something to read at every one of them, at any time.
struct FloodedLink final : qcci::PollLink {
  int open_descriptor(Address*) override { return ::eventfd(1, EFD_CLOEXEC); }
  Read read(int, Address*, std::vector<uint8_t>*) override { return Read::kDatagram; }
  qcci::Sent write(int, Address, std::span<const uint8_t>) override { return qcci::Sent::kSent; }
};

TEST(PollLink, AFloodAtOneEndpointHoldsUpNoOtherAndNobodyWhoWakes) {
  FloodedLink link;
  qcci::Endpoint a, b;
  ASSERT_TRUE(link.open(&a) && link.open(&b));
  std::vector<qcci::EndpointId> heard;
  for (qcci::Datagram datagram; heard.size() < 6;) {
    if (heard.size() == 4) link.close(a.id);
    link.wait(platform::kNever, link.wakes());
    if (link.take(&datagram) == qcci::Received::kDatagram) heard.push_back(datagram.endpoint);
  }
  EXPECT_EQ(heard, (std::vector{a.id, b.id, a.id, b.id, b.id, b.id})) << "the last without a";
  qcci::Endpoint c;
  ASSERT_TRUE(link.open(&c));
  link.close(c.id);
  link.close(b.id);
  // Nothing is left to read: a wake, before a wait or during it, is what ends it.
  const uint64_t before = link.wakes();
  std::thread waker([&] { link.wake(); });
  link.wait(platform::kNever, before);
  waker.join();
}

// ---- the simulated modem

using Client = desk::Desk;

TEST_F(Client, PendingRequestsEndWhenTheServiceGoesAndTheErrorIsReportedOnce) {
  sim::Modem& modem = start_modem("[[fault]]\nservice = \"sar\"\nnth = 1\naction = \"drop\"\n");
  qmi_client_type client = nullptr;
  ASSERT_EQ(open(kSar, 4, &client), QMI_CLIENT_OK);
  qmi_client_type silent = nullptr;
  ASSERT_EQ(open(kSar, 4, &silent), QMI_CLIENT_OK);
  static std::atomic<int> errors;
  static std::atomic<int> last_error;
  qmi_client_register_error_cb(
      client,
      [](qmi_client_type, int error, void*) {
        last_error = error;
        ++errors;
      },
      nullptr);
  sar_rf_get_state_resp resp;
  auto pending = std::async(std::launch::async, [&] { return ask_state(client, &resp, 30000); });
  clock_.await_waiter(30000ms);
  modem.take_down(SAR_SERVICE_ID);
  EXPECT_EQ(pending.get(), QMI_CLIENT_SERVICE_GONE);
  modem.bring_up(SAR_SERVICE_ID);
  EXPECT_EQ(ask_state(client, &resp), QMI_CLIENT_SERVICE_GONE) << "a lost client stays lost";
  while (errors == 0) std::this_thread::yield();
  EXPECT_EQ(last_error, QMI_CLIENT_SERVICE_GONE);
  const auto late = [](qmi_client_type, int, void* data) {
    *static_cast<std::atomic<int>*>(data) = 1;
  };
  qmi_client_register_error_cb(client, late, &last_error);
  // Whoever has not heard of it hears of it late.
  qmi_client_register_error_cb(silent, late, &last_error);
  while (last_error != 1) std::this_thread::yield();
  EXPECT_EQ(errors, 1);
  EXPECT_EQ(qmi_client_release(client), QMI_CLIENT_OK);
}

TEST_F(Client, TheNotifierReportsEveryChangeInOrder) {
  sim::Modem& modem = start_modem();
  qmi_client_os_params signal{};
  qmi_client_type notifier = nullptr;
  ASSERT_EQ(qmi_client_notifier_init(kSar, &signal, &notifier), QMI_CLIENT_OK);
  uint32_t services = 0;
  ASSERT_EQ(qmi_client_get_service_list(kSar, nullptr, nullptr, &services), QMI_CLIENT_OK);
  static std::mutex mutex;
  static std::vector<int> events;
  const auto count = [] {
    const std::lock_guard lock(mutex);
    return events.size();
  };
  qmi_client_register_notify_cb(
      notifier,
      [](qmi_client_type, qmi_idl_service_object_type, qmi_client_notify_event event, void*) {
        const std::lock_guard lock(mutex);
        events.push_back(event);
      },
      nullptr);
  while (count() < 1) std::this_thread::yield();  // there already
  for (int i = 0; i < 3; ++i) {
    modem.take_down(SAR_SERVICE_ID);
    modem.bring_up(SAR_SERVICE_ID);
  }
  while (count() < 7) std::this_thread::yield();
  EXPECT_EQ(events, (std::vector<int>{0, 1, 0, 1, 0, 1, 0}));
  qmi_cci_os_signal_wait(&signal, 20);
  EXPECT_EQ(signal.timed_out, 0u) << "a change since the notifier was made";
  auto waiting = std::async(std::launch::async, [&] { qmi_cci_os_signal_wait(&signal, 20); });
  clock_.await_waiter(20ms);
  clock_.advance(20ms);
  waiting.get();
  EXPECT_EQ(signal.timed_out, 1u);
}

TEST_F(Client, ReleaseWaitsForACallbackThatRuns) {
  desk::Modem& modem = start_modem();
  struct Heard {
    std::atomic<int> begun{0}, ended{0};
  };
  for (const bool lost : {false, true}) {
    Heard heard;
    const auto callback = [](qmi_client_type, uint32_t, const void*, uint32_t, void* data) {
      auto& t = *static_cast<Heard*>(data);
      ++t.begun;
      std::this_thread::sleep_for(10ms);
      ++t.ended;
    };
    qmi_client_type client = nullptr;
    ASSERT_EQ(open(kNas, 4, &client, callback, &heard), QMI_CLIENT_OK);
    static nas_incremental_network_scan_req request;
    nas_plain_resp resp;
    ASSERT_EQ(qmi_client_send_msg_sync(client, NAS_INCREMENTAL_NETWORK_SCAN, &request,
                                       sizeof request, &resp, sizeof resp, 1000),
              QMI_CLIENT_OK);
    while (heard.begun == 0) std::this_thread::yield();
    if (lost) modem.take_down(NAS_SERVICE_ID);
    EXPECT_EQ(qmi_client_release(client), QMI_CLIENT_OK);
    EXPECT_EQ(heard.ended, heard.begun) << "none runs and none comes";
    const int ended = heard.ended;
    modem.bring_up(NAS_SERVICE_ID);
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(heard.begun, ended);
  }
}

TEST_F(Client, CallbacksMayReleaseButNotSend) {
  start_modem();
  static std::atomic<int> sent{1};
  static std::atomic<int> released{1};
  const auto callback = [](qmi_client_type client, uint32_t message, const void* encoded,
                           uint32_t length, void*) {
    static nas_incremental_network_scan_ind ind;
    EXPECT_EQ(qmi_client_message_decode(client, QMI_IDL_INDICATION, message, encoded, length, &ind,
                                        sizeof ind),
              QMI_CLIENT_OK);
    EXPECT_EQ(ind.networks_len, 1u) << "the first technology's";
    nas_plain_resp resp;
    const nas_bind_subscription_req bind{0};
    sent = qmi_client_send_msg_sync(client, NAS_BIND_SUBSCRIPTION, &bind, sizeof bind, &resp,
                                    sizeof resp, 1000);
    released = qmi_client_release(client);
  };
  qmi_client_type client = nullptr;
  ASSERT_EQ(open(kNas, 4, &client, callback), QMI_CLIENT_OK);
  static nas_incremental_network_scan_req request;
  nas_plain_resp resp;
  std::ignore = qmi_client_send_msg_sync(client, NAS_INCREMENTAL_NETWORK_SCAN, &request,
                                         sizeof request, &resp, sizeof resp, 1000);
  while (released == 1) std::this_thread::yield();
  EXPECT_EQ(sent, QMI_CLIENT_INTERNAL);
  EXPECT_EQ(released, QMI_CLIENT_OK);
}

}  // namespace

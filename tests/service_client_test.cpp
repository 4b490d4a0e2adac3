// The life of the statistics framework's service clients, against the simulated modem.

#include <pthread.h>

#include <atomic>
#include <filesystem>
#include <random>
#include <thread>

#include "platform/clock.h"
#include "platform/idl/nas.h"
#include "platform/idl/sar.h"
#include "support/desk.h"
#include "vireo/modem_api/nas/nas_0_client.h"
#include "vireo/modem_api/nas/nas_1_client.h"
#include "vireo/modem_api/sar/sar_client.h"
#include "vireo/modem_api/vs/vs_client.h"

namespace {

std::mutex g_given_mutex;
std::vector<const void*> g_given;         // each OS-parameter block that the client library got
std::atomic<uint32_t> g_c_struct_len{0};  // what the client library answers; 0: as it is

qmi_client_os_params* note(qmi_client_os_params* given) {
  const std::lock_guard lock(g_given_mutex);
  g_given.push_back(given);
  return given;
}

}  // namespace

extern "C" {
decltype(qmi_client_init_instance) __real_qmi_client_init_instance;
int __wrap_qmi_client_init_instance(qmi_idl_service_object_type service, uint32_t instance,
                                    qmi_client_ind_cb callback, void* data,
                                    qmi_client_os_params* os_params, uint32_t timeout_ms,
                                    qmi_client_type* client) {
  return __real_qmi_client_init_instance(service, instance, callback, data, note(os_params),
                                         timeout_ms, client);
}
decltype(qmi_client_notifier_init) __real_qmi_client_notifier_init;
int __wrap_qmi_client_notifier_init(qmi_idl_service_object_type service,
                                    qmi_client_os_params* os_params, qmi_client_type* notifier) {
  return __real_qmi_client_notifier_init(service, note(os_params), notifier);
}
decltype(qmi_idl_get_message_c_struct_len) __real_qmi_idl_get_message_c_struct_len;
int __wrap_qmi_idl_get_message_c_struct_len(qmi_idl_service_object_type service,
                                            qmi_idl_message_type type, uint32_t id,
                                            uint32_t* length) {
  const int result = __real_qmi_idl_get_message_c_struct_len(service, type, id, length);
  if (g_c_struct_len != 0) *length = g_c_struct_len;
  return result;
}
}  // extern "C"

namespace {

using namespace std::chrono_literals;
using Statuses = std::vector<uint64_t>;

// What was reported, by client type.
std::mutex g_mutex;
Statuses g_reported[kModemApiClientTypes];
std::atomic<bool> g_released;
std::atomic<int> g_late;

void on_status(uint32_t client_type, uint64_t status) {
  if (g_released && status != OP_STATUS_RELEASED) ++g_late;
  const std::lock_guard lock(g_mutex);
  g_reported[client_type].push_back(status);
}

Statuses reported(ModemApiClientType type) {
  const std::lock_guard lock(g_mutex);
  return g_reported[type];
}

void await(ModemApiClientType type, size_t count) {
  while (reported(type).size() < count) platform_sleep_ms(1);
}

void ignore_event(uint32_t, const void*, uint32_t) {}

size_t threads() {
  size_t n = 0;
  for ([[maybe_unused]] const auto& entry :
       std::filesystem::directory_iterator("/proc/self/task")) {
    ++n;
  }
  return n;
}

// Connects a member with a status callback.
#define CONNECT(member)                                         \
  [] {                                                          \
    member##_init();                                            \
    member##_client_set_operational_status_callback(on_status); \
    return member##_client_init(ignore_event);                  \
  }
constexpr int (*connect_nas_0)() = CONNECT(nas_0);
constexpr int (*connect_nas_1)() = CONNECT(nas_1);
constexpr int (*connect_vs)() = CONNECT(vs);

struct ServiceClients : desk::Desk {
  // A modem whose services stay away for a tenth of a second.
  desk::Modem& start() {
    directory_.write("phone.toml", "[modem]\nrestart_ms = 100\n");
    desk::Modem& modem = start_written_modem();
    clock_.run_by_itself();
    return modem;
  }
  static int bind(int (*send)(uint32_t, const void*, uint32_t, void*, uint32_t)) {
    const nas_bind_subscription_req request{0};
    nas_plain_resp response;
    return send(NAS_BIND_SUBSCRIPTION, &request, sizeof request, &response, sizeof response);
  }
  // What NAS was asked so far: message id and TLVs.
  std::vector<std::string> asked() {
    std::vector<std::string> all;
    for (const desk::Message& request : passed(sim::FaultKind::kRequest)) {
      all.push_back(std::to_string(request.id()) + ": " + request.tlvs());
    }
    return all;
  }
};

TEST_F(ServiceClients, ConnectBindsAndRegistersInThatOrder) {
  start();
  ASSERT_EQ(connect_nas_1(), 1);
  EXPECT_EQ(reported(kModemApiNas1), (Statuses{1, 3}));
  EXPECT_EQ(asked(), (std::vector<std::string>{"69: 01 01 00 01", "3: 13 01 00 00"}));
  EXPECT_EQ(bind(nas_1_client_send_msg_sync), 0);
  EXPECT_EQ(nas_1_client_set_networking_indications(), 0);
  EXPECT_EQ(nas_1_client_get_master_port(), 65535u);
  EXPECT_EQ(nas_1_client_release(), 1);
  EXPECT_EQ(reported(kModemApiNas1), (Statuses{1, 3, 0}));
  EXPECT_EQ(bind(nas_1_client_send_msg_sync), QMI_CLIENT_PORT_NOT_OPEN);
  nas_1_init();
  ASSERT_EQ(nas_1_client_init(ignore_event), 1) << "and again, without what the first one had";
  EXPECT_EQ(reported(kModemApiNas1), (Statuses{1, 3, 0}));
  nas_1_init();
  EXPECT_EQ(bind(nas_1_client_send_msg_sync), QMI_CLIENT_PORT_NOT_OPEN) << "released by that";
}

TEST_F(ServiceClients, AServiceThatNeverComesIsTriedTenTimes) {
  static const struct {
    ModemApiClientType type;
    uint32_t service;
    int (*connect)();
    Statuses statuses;
  } kRows[] = {{kModemApiNas0, NAS_SERVICE_ID, connect_nas_0, {1, 2}},
               {kModemApiNas1, NAS_SERVICE_ID, connect_nas_1, {1, 2}},
               {kModemApiSar, SAR_SERVICE_ID, CONNECT(sar), {1, 2}},
               {kModemApiVs, 0xFFE5, connect_vs, {}}};
  desk::Modem& modem = start();
  for (const auto& row : kRows) {
    modem.take_down(row.service);
    const auto before = clock_.passed();
    const std::string output = desk::output_of([&] { EXPECT_EQ(row.connect(), 0); });
    EXPECT_EQ(clock_.passed() - before, 9s + 10 * 4ms) << row.type;
    EXPECT_EQ(reported(row.type), row.statuses) << row.type;
    for (const char* line : {"Trying qmi_client_init_instance() try # 0 port[65535]",
                             "Trying qmi_client_init_instance() try # 9 port[65535]",
                             "qmi_client_init_instance returned (-3)",
                             "qmi_client_init_instance returned failure(-3)"}) {
      EXPECT_TRUE(desk::said(output, line)) << line;
    }
    EXPECT_FALSE(desk::said(output, "Trying qmi_client_init_instance() try # 10 port[65535]"));
  }
}

TEST_F(ServiceClients, FiftyRestartsAreSurvivedAndLeakNothing) {
  desk::Modem& modem = start();
  ASSERT_EQ(connect_nas_0(), 1);
  ASSERT_EQ(connect_nas_1(), 1);
  const size_t before = threads();
  Statuses expected{1, 3};
  for (int i = 0; i < 50; ++i) {
    const size_t asked_before = asked().size();
    modem.restart();
    expected.insert(expected.end(), {4, 5, 6, 3});
    await(kModemApiNas0, expected.size());
    await(kModemApiNas1, expected.size());
    ASSERT_EQ(reported(kModemApiNas0), expected);
    ASSERT_EQ(reported(kModemApiNas1), expected);
    ASSERT_EQ(asked().size(), asked_before + 4) << "bound and registered again, each of them";
    ASSERT_EQ(bind(nas_0_client_send_msg_sync), 0);
    ASSERT_EQ(bind(nas_1_client_send_msg_sync), 0);
  }
  while (threads() > before) platform_sleep_ms(1);
  EXPECT_EQ(threads(), before);
  nas_0_client_release();
  nas_1_client_release();
}

// While one exists, no thread can be started: each would ask for more stack than there are
// addresses.
class NoMoreThreads {
 public:
  NoMoreThreads() {
    pthread_attr_t attributes;
    pthread_getattr_default_np(&attributes);
    pthread_attr_getstacksize(&attributes, &before_);
    pthread_attr_destroy(&attributes);
    set(size_t{1} << 62);
  }
  ~NoMoreThreads() { set(before_); }
  NoMoreThreads(const NoMoreThreads&) = delete;
  NoMoreThreads& operator=(const NoMoreThreads&) = delete;

 private:
  static void set(size_t octets) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    EXPECT_EQ(pthread_attr_setstacksize(&attributes, octets), 0);
    EXPECT_EQ(pthread_setattr_default_np(&attributes), 0);
    pthread_attr_destroy(&attributes);
  }
  size_t before_ = 0;
};

TEST_F(ServiceClients, WithoutAThreadTheClientIsReleasedOrTheNextReturnHeeded) {
  desk::Modem& modem = start();
  ASSERT_EQ(connect_nas_0(), 1);
  {
    const NoMoreThreads none;
    modem.take_down(NAS_SERVICE_ID);
    await(kModemApiNas0, 4);
  }
  EXPECT_EQ(reported(kModemApiNas0), (Statuses{1, 3, 4, 0})) << "nothing to suspend on";
  EXPECT_EQ(bind(nas_0_client_send_msg_sync), QMI_CLIENT_PORT_NOT_OPEN) << "nothing is kept";
  modem.bring_up(NAS_SERVICE_ID);
  nas_0_client_release();
  g_given.clear();
  ASSERT_EQ(connect_nas_0(), 1) << "and again";
  EXPECT_EQ(bind(nas_0_client_send_msg_sync), 0);
  modem.take_down(NAS_SERVICE_ID);
  await(kModemApiNas0, 9);
  {
    const NoMoreThreads none;
    modem.bring_up(NAS_SERVICE_ID);
    await(kModemApiNas0, 11);
  }
  modem.take_down(NAS_SERVICE_ID);
  modem.bring_up(NAS_SERVICE_ID);
  await(kModemApiNas0, 13);
  EXPECT_EQ(reported(kModemApiNas0), (Statuses{1, 3, 4, 0, 0, 1, 3, 4, 5, 6, 7, 6, 3}));
  EXPECT_EQ(bind(nas_0_client_send_msg_sync), 0);
  EXPECT_EQ(g_given, std::vector(3, g_given.at(0))) << "one block from init to release";
}

TEST_F(ServiceClients, TheStatisticsServiceIsNotReconnectedTo) {
  desk::Modem& modem = start();
  ASSERT_EQ(connect_vs(), 1);
  const vs_feature_status_req request{2, 1, 1, 1};
  vs_plain_resp response;
  const auto send = [&] {
    return vs_client_send_msg_sync(VS_FEATURE_STATUS, &request, sizeof request, &response,
                                   sizeof response);
  };
  EXPECT_EQ(send(), 0);
  modem.take_down(0xFFE5);
  EXPECT_EQ(send(), QMI_CLIENT_SERVICE_GONE);
  modem.bring_up(0xFFE5);
  EXPECT_EQ(send(), QMI_CLIENT_SERVICE_GONE);
  vs_client_release();
  ASSERT_EQ(connect_vs(), 1);
  EXPECT_EQ(send(), 0);
  EXPECT_EQ(reported(kModemApiVs), (Statuses{0}));
}

TEST_F(ServiceClients, IndicationsThatNobodyWantsAreDropped) {
  start();
  ASSERT_EQ(connect_nas_0(), 1);
  EXPECT_SAYS("Indication decode failed for msg 0x85 with error -5",
              nas_0_client_unsol_ind_cb(nullptr, 0x85, nullptr, 0, nullptr));
  static nas_incremental_network_scan_req request;
  nas_plain_resp response;
  EXPECT_EQ(nas_0_client_send_msg_sync(NAS_INCREMENTAL_NETWORK_SCAN, &request, sizeof request,
                                       &response, sizeof response),
            0);
  nas_0_client_release();
  // Before a callback is there.
  EXPECT_SAYS("Unexpected NULL pointer!", vs_client_unsol_ind_cb(nullptr, 4, nullptr, 0, nullptr));
  vs_init();
  ASSERT_EQ(vs_client_init(ignore_event), 1);
  g_c_struct_len = UINT32_MAX;
  const std::string output =
      desk::output_of([] { vs_client_unsol_ind_cb(nullptr, 4, nullptr, 0, nullptr); });
  EXPECT_TRUE(desk::said(output, "decoded_payload_len(-1) can not <= 0")) << output;
  EXPECT_TRUE(output.starts_with("RIL[vs_client.cpp:")) << "the function's own source: " << output;
}

TEST_F(ServiceClients, ReleaseWaitsForACallbackThatRuns) {
  desk::Modem& modem = start();
  static std::atomic<bool> inside{false};
  static std::atomic<bool> released{false};
  static std::atomic<bool> late{false};
  static std::atomic<bool> over{false};
  nas_0_init();
  nas_0_client_set_operational_status_callback([](uint32_t, uint64_t status) {
    if (status != OP_STATUS_SUSPENDED) return;  // of a thread of the client
    inside = true;
    for (int i = 0; i < 20 && !released; ++i) std::this_thread::sleep_for(1ms);
    late = released.load();
    over = true;
  });
  ASSERT_EQ(nas_0_client_init(ignore_event), 1);
  modem.take_down(NAS_SERVICE_ID);
  while (!inside) std::this_thread::yield();
  nas_0_client_release();
  released = true;
  while (!over) std::this_thread::yield();
  EXPECT_FALSE(late);
}

// Loss and release at any moment of connecting, suspending and resuming.
TEST_F(ServiceClients, NoCallbackComesAfterTheRelease) {
  desk::Modem& modem = start();
  std::mt19937 random(7);
  std::thread([] {}).join();            // a sanitizer starts a thread of its own with the first one
  const size_t before = threads() + 1;  // the client library's
  for (int i = 0; i < 30; ++i) {
    g_released = false;
    std::atomic<bool> stop{false};
    std::thread restarting([&, seed = random()] {
      std::mt19937 own(seed);
      while (!stop) {
        modem.take_down(NAS_SERVICE_ID);
        std::this_thread::sleep_for(std::chrono::microseconds(own() % 3000));
        modem.bring_up(NAS_SERVICE_ID);
        std::this_thread::sleep_for(std::chrono::microseconds(own() % 3000));
      }
    });
    nas_0_init();
    nas_0_client_set_operational_status_callback(on_status);
    std::thread connecting([] { nas_0_client_init(ignore_event); });
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
    nas_0_client_release();
    g_released = true;
    std::this_thread::sleep_for(2ms);
    EXPECT_EQ(g_late, 0);
    stop = true;
    restarting.join();
    connecting.join();
  }
  while (threads() > before) platform_sleep_ms(1);
}

}  // namespace

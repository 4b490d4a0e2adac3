// What the contract's headers promise, of whichever implementation it is linked with: host/ on a
// desk, device/ on the machine that stands for a phone. There is a modem with its SAR service, a
// place for properties, and nothing else.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "platform/clock/process_clock.h"
#include "platform/diag.h"
#include "platform/idl/sar.h"
#include "platform/kelvor_utils.h"
#include "platform/properties.h"
#include "platform/qmi_client.h"
#include "platform/shell.h"
#include "platform/timer.h"

namespace {

using namespace std::chrono_literals;

platform::Duration time_of(const std::function<void()>& work) {
  const platform::Time begun = platform::clock().now();
  work();
  return platform::clock().now() - begun;
}

// ---- clock.h, timer.h

TEST(Clock, SleepsForAtLeastTheTime) {
  for (const uint32_t ms : {0U, 1U, 250U}) {
    EXPECT_GE(time_of([ms] { platform_sleep_ms(ms); }), std::chrono::milliseconds(ms));
  }
}

std::mutex g_mutex;
std::vector<uint32_t> g_expired;
std::thread::id g_timer_thread;

void expired(sigval value) {
  const std::lock_guard lock(g_mutex);
  g_expired.push_back(static_cast<uint32_t>(value.sival_int));
  g_timer_thread = std::this_thread::get_id();
}

// A callback that stops its own timer, in vain, and starts another.
void restart(sigval value) {
  EXPECT_EQ(kelvor_timer_stop(static_cast<uint32_t>(value.sival_int)), -1);
  EXPECT_NE(kelvor_timer_start(expired, 0), 0U);
}

TEST(Timer, CallsBackOnceInOrderOnAThreadOfItsOwnUnlessStopped) {
  EXPECT_EQ(kelvor_timer_start(nullptr, 0), 0U);
  const uint32_t late = kelvor_timer_start(expired, 2);
  const uint32_t stopped = kelvor_timer_start(expired, 1);
  const uint32_t early = kelvor_timer_start(expired, 1);
  const uint32_t never = kelvor_timer_start(expired, ~0UL);
  EXPECT_EQ(kelvor_timer_stop(stopped), 0);
  EXPECT_EQ(kelvor_timer_stop(stopped), -1);
  platform_sleep_ms(900);
  const auto count = [] {
    const std::lock_guard lock(g_mutex);
    return g_expired.size();
  };
  EXPECT_EQ(count(), 0U);
  platform_sleep_ms(1600);
  const uint32_t now = kelvor_timer_start(expired, 0);
  platform_sleep_ms(500);
  EXPECT_NE(kelvor_timer_start(restart, 0), 0U);
  platform_sleep_ms(500);
  ASSERT_EQ(count(), 4U);
  g_expired.pop_back();
  EXPECT_EQ(g_expired, (std::vector<uint32_t>{early, late, now}));
  EXPECT_NE(g_timer_thread, std::this_thread::get_id());
  EXPECT_EQ(kelvor_timer_stop(late), -1);
  EXPECT_EQ(kelvor_timer_stop(never), 0);
}

// ---- properties.h, kelvor_utils.h

std::string property(const char* name, const char* fallback = nullptr) {
  char value[PROPERTY_VALUE_MAX];
  const int length = property_get(name, value, fallback);
  EXPECT_EQ(static_cast<size_t>(length), std::strlen(value));
  return value;
}

TEST(Properties, KeepTheLastValueThatIsValid) {
  const std::string longest(PROPERTY_VALUE_MAX - 1, 'x');
  EXPECT_EQ(property("vex.test.none"), "");
  EXPECT_EQ(property("vex.test.none", "default"), "default");
  EXPECT_EQ(property("vex.test.none", (longest + "yz").c_str()), longest);
  const struct {
    const char* name;
    std::string value;
    int result;
  } rows[] = {
      {"vex.test.a", "1", 0},
      {"vex.test.ab", "other", 0},
      {"vex.test.a", "$(id) 'a' \"b\" = \\n; `c`", 0},
      {"vex.test.a", longest, 0},
      {"vex.test.a", longest + "y", -1},
      {"vex.test.a", "two\nlines", -1},
      {"vex.test.a=b", "1", -1},
      {"", "1", -1},
  };
  std::string a;
  for (const auto& row : rows) {
    EXPECT_EQ(property_set(row.name, row.value.c_str()), row.result) << row.name << row.value;
    if (row.result == 0 && std::strcmp(row.name, "vex.test.a") == 0) a = row.value;
    EXPECT_EQ(property("vex.test.a", "default"), a);
  }
  EXPECT_EQ(property_set(nullptr, "1"), -1);
  EXPECT_EQ(property("vex.test.ab"), "other");
}

TEST(Utils, ReadNumbersFromProperties) {
  const struct {
    const char* text;
    int result;
    int32_t value;
  } rows[] = {{"12", 0, 12},  {"-7", 0, -7}, {"", -1, 5},
              {"0x1", -1, 5}, {"1 ", -1, 5}, {"99999999999", -1, 5}};
  for (const auto& row : rows) {
    ASSERT_EQ(property_set("vex.test.n", row.text), 0);
    int32_t value = 0;
    EXPECT_EQ(kelvor_get_property_value_from_int("vex.test.n", &value, 5), row.result) << row.text;
    EXPECT_EQ(value, row.value) << row.text;
  }
  for (const auto& [text, sub] : {std::pair("1", 1), {"2", 0}, {"x", 0}}) {
    ASSERT_EQ(property_set("persist.vendor.radio.default_data_sub", text), 0);
    EXPECT_EQ(kelvor_get_default_data_sub(), sub) << text;
  }
}

TEST(Utils, KeepTheirSwitchesAndNames) {
  EXPECT_STREQ(kelvor_get_current_pid_name(), "contract_test");
  EXPECT_STREQ(kelvor_utils_get_pid_name(), kelvor_get_current_pid_name());
  EXPECT_EQ(kelvor_get_qcril_process_instance_id(), KELVOR_NO_PROCESS_INSTANCE);
  kelvor_utils_syslog_dbg("%s", std::string(20000, 'x').c_str());  // cut or whole, but not harmful
  char text[30] = "zzzzzzz";
  for (const auto& [room, shown] : {std::pair(1, ""), {6, "0807"}, {30, "0807060504030201"}}) {
    kelvor_get_hex_str(text, static_cast<size_t>(room), 0x0102030405060708);
    EXPECT_STREQ(text, shown);
  }
  kelvor_hal_set_shell_print_mask(2);
  EXPECT_TRUE(kelvor_hal_get_shell_print_flag(2));
  EXPECT_FALSE(kelvor_hal_get_shell_print_flag(1));
  EXPECT_TRUE(kelvor_hal_get_logcat_print_flag(1));
}

// ---- shell.h, diag.h

TEST(Shell, ReturnsTheStatusOfTheLine) {
  const auto status = [](const char* line) { return WEXITSTATUS(platform_shell(line)); };
  EXPECT_EQ(status("exit 3"), 3);
  EXPECT_EQ(status("x='a b'; test \"$x\" = 'a b' && exit 4"), 4);
  EXPECT_EQ(status("/no/such/program 2>/dev/null"), 127);
  EXPECT_EQ(WTERMSIG(platform_shell("kill -9 $$")), SIGKILL);
}

TEST(Diag, RefusesBadArgumentsAndLeavesTheRoomAlone) {
  const uint8_t command[KELVOR_DIAG_CMD_MAX + 1] = {0x7B};
  uint8_t room[4] = {9, 9, 9, 9};
  uint32_t length = sizeof room;
  for (const auto send : {kelvor_diag_cmd_send_with_result_by_callback_mode,
                          kelvor_diag_cmd_send_with_result_by_dci_mode}) {
    EXPECT_EQ(send(nullptr, 1, 100, room, &length), KELVOR_DIAG_BAD_ARGUMENT);
    EXPECT_EQ(send(command, 0, 100, room, &length), KELVOR_DIAG_BAD_ARGUMENT);
    EXPECT_EQ(send(command, sizeof command, 100, room, &length), KELVOR_DIAG_BAD_ARGUMENT);
    for (const int32_t time_out : {0, -1, INT32_MIN}) {
      EXPECT_EQ(send(command, 1, time_out, room, &length), KELVOR_DIAG_BAD_ARGUMENT) << time_out;
    }
    EXPECT_EQ(send(command, 1, 100, nullptr, &length), KELVOR_DIAG_BAD_ARGUMENT);
    EXPECT_EQ(send(command, 1, 100, room, nullptr), KELVOR_DIAG_BAD_ARGUMENT);
  }
  for (const uint32_t bad : {uint32_t{0}, uint32_t{sizeof command}}) {
    EXPECT_EQ(kelvor_diag_cmd_send_without_result_by_dci_mode(command, bad),
              KELVOR_DIAG_BAD_ARGUMENT);
  }
  EXPECT_EQ(length, sizeof room);
  EXPECT_EQ(room[0], 9);
}

// ---- qmi_client.h

const auto kSar = sar_get_service_object_internal_v01(1, 15, 6);
constexpr uint32_t kPatienceMs = 20000;

int open_sar(uint32_t instance, uint32_t patience_ms, qmi_client_type* client) {
  return qmi_client_init_instance(kSar, instance, nullptr, nullptr, nullptr, patience_ms, client);
}

TEST(QmiClient, FindsAServiceAndAsksIt) {
  uint32_t services = 0;
  EXPECT_EQ(qmi_client_get_service_list(kSar, nullptr, nullptr, &services), QMI_CLIENT_OK);
  EXPECT_EQ(services, 1U);
  qmi_client_type client = nullptr;
  ASSERT_EQ(open_sar(QMI_CLIENT_INSTANCE_ANY, kPatienceMs, &client), QMI_CLIENT_OK);
  const auto ask = [&](uint32_t message, uint32_t length, const void* request = nullptr,
                       uint32_t request_length = 0) {
    sar_rf_get_state_resp resp;
    std::memset(&resp, 9, sizeof resp);
    const int result = qmi_client_send_msg_sync(client, message, request, request_length, &resp,
                                                length, kPatienceMs);
    if (result != 0 && request == nullptr && request_length == 0) {
      EXPECT_EQ(resp.resp.result, 0U) << "zeroed";
    }
    return result;
  };
  constexpr uint32_t kSize = sizeof(sar_rf_get_state_resp);
  EXPECT_EQ(ask(SAR_RF_GET_STATE, kSize), QMI_CLIENT_OK);
  EXPECT_NE(ask(SAR_RF_GET_STATE, kSize - 1), QMI_CLIENT_OK) << "another length";
  EXPECT_NE(ask(0x7777, kSize), QMI_CLIENT_OK) << "no such message";
  EXPECT_NE(ask(SAR_RF_GET_STATE, kSize, &kSize, 1), QMI_CLIENT_OK) << "it has no request";
  EXPECT_NE(ask(SAR_RF_GET_STATE, kSize, nullptr, 4), QMI_CLIENT_OK);
  EXPECT_EQ(qmi_client_release(client), QMI_CLIENT_OK);
  EXPECT_EQ(ask(SAR_RF_GET_STATE, kSize), QMI_CLIENT_PORT_NOT_OPEN);
  EXPECT_EQ(qmi_client_release(client), QMI_CLIENT_PORT_NOT_OPEN);
}

TEST(QmiClient, WaitsForAServiceThatIsNotThereAsLongAsItMay) {
  qmi_client_type client = nullptr;
  int result = 0;
  const auto took = time_of([&] { result = open_sar(77, 300, &client); });
  EXPECT_EQ(result, QMI_CLIENT_TIMED_OUT);
  EXPECT_GE(took, 300ms);
  EXPECT_EQ(client, nullptr);
  EXPECT_EQ(open_sar(0, kPatienceMs, nullptr), QMI_CLIENT_BAD_ARGUMENT);
  EXPECT_EQ(qmi_client_init_instance(nullptr, 0, nullptr, nullptr, nullptr, 4, &client),
            QMI_CLIENT_BAD_ARGUMENT);
  EXPECT_EQ(qmi_client_register_error_cb(client, nullptr, nullptr), QMI_CLIENT_PORT_NOT_OPEN);
}

TEST(QmiClient, ReportsWhatIsThereOnAThreadOfItsOwn) {
  static std::atomic<int> came{0};
  static std::atomic<bool> own_thread{false};
  static const auto caller = std::this_thread::get_id();
  qmi_client_os_params params{};
  qmi_client_type notifier = nullptr;
  ASSERT_EQ(qmi_client_notifier_init(kSar, &params, &notifier), QMI_CLIENT_OK);
  const auto notify = [](qmi_client_type, qmi_idl_service_object_type,
                         qmi_client_notify_event event, void*) {
    own_thread = std::this_thread::get_id() != caller;
    if (event == QMI_CLIENT_SERVICE_COUNT_INC) ++came;
  };
  EXPECT_EQ(qmi_client_register_notify_cb(notifier, notify, nullptr), QMI_CLIENT_OK);
  for (int i = 0; i < 200 && came == 0; ++i) platform_sleep_ms(10);
  EXPECT_EQ(came, 1);
  EXPECT_TRUE(own_thread);
  qmi_cci_os_signal_wait(nullptr, 100);
  qmi_cci_os_signal_wait(&params, 100);
  qmi_cci_os_signal_wait(&params, 100);
  EXPECT_EQ(params.timed_out, 1U);
  EXPECT_EQ(qmi_client_release(notifier), QMI_CLIENT_OK);
}

}  // namespace

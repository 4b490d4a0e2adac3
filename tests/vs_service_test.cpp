// The simulated statistics service as a client meets it: its records, the mistakes that a
// phone.toml can make in them, services that are not there, and indications on demand.

#include <mutex>
#include <thread>

#include "platform/idl/nas.h"
#include "platform/idl/sar.h"
#include "platform/idl/vs.h"
#include "platform/qmi_client.h"
#include "qcci/services/services.h"
#include "sim/services/counters.h"
#include "sim/services/make_modem.h"
#include "sim/serving/embedded_link.h"
#include "support/desk.h"
#include "support/process_link.h"

namespace {

using namespace std::chrono_literals;

const auto kVs = vs_get_service_object_internal_v01(1, 2, 6);
const auto kSar = sar_get_service_object_internal_v01(1, 15, 6);
const auto kNas = nas_get_service_object_internal_v01(1, 398, 6);

struct Vs : desk::Desk {
  static qmi_client_type open(qmi_idl_service_object_type service = kVs,
                              qmi_client_ind_cb callback = nullptr, void* data = nullptr) {
    qmi_client_type client = nullptr;
    EXPECT_EQ(qmi_client_init_instance(service, QMI_CLIENT_INSTANCE_ANY, callback, data, nullptr, 4,
                                       &client),
              QMI_CLIENT_OK);
    return client;
  }
  // "sub.id octets; ..." of the records that the modem has, "none" for a response without a list,
  // or "error N".
  static std::string get(qmi_client_type client, uint16_t sub,
                         const std::vector<std::pair<uint32_t, uint32_t>>& wanted) {
    static vs_get_parameters_req request;
    static vs_get_parameters_resp response;
    request = {};
    request.sub = sub;
    for (const auto& [entry_sub, id] : wanted) {
      vs_parameter& entry = request.parameters[request.parameters_len++];
      entry.sub = entry_sub;
      entry.id = id;
    }
    const int result = qmi_client_send_msg_sync(client, VS_GET_PARAMETERS, &request, sizeof request,
                                                &response, sizeof response, 3000);
    if (result != 0) return "failed " + std::to_string(result);
    if (response.resp.result != 0) return "error " + std::to_string(response.resp.error);
    if (response.parameters_valid == 0) return "none";
    std::string text;
    for (uint32_t i = 0; i < response.parameters_len; ++i) {
      const vs_parameter& record = response.parameters[i];
      text += (i > 0 ? "; " : "") + std::to_string(record.sub) + "." + std::to_string(record.id) +
              " " + desk::hex({record.data, record.data_len});
    }
    return text;
  }
  static int feature(qmi_client_type client) {
    const vs_feature_status_req request{5, 1, 0, 1};
    vs_plain_resp response;
    const int result = qmi_client_send_msg_sync(client, VS_FEATURE_STATUS, &request, sizeof request,
                                                &response, sizeof response, 3000);
    return result != 0 ? result : static_cast<int>(response.resp.error);
  }
};

sim::Measurements measured(const std::string& toml) {
  sim::PhoneConfig config;
  std::string why;
  EXPECT_TRUE(sim::parse_phone_config(toml, &config, &why)) << toml << why;
  return config.measurements;
}

TEST(VsConfig, TheTechnologyIsANameOrANumber) {
  static const struct {
    const char* rat;
    const char* record;
  } kRows[] = {
      {"\"lte\"", "01 09 00 00 00"},    {"\"nr\"", "01 0C 00 00 00"},
      {"\"wcdma\"", "01 05 00 00 00"},  {"\"gsm\"", "01 03 00 00 00"},
      {"0x01020304", "01 04 03 02 01"}, {"\"none\"", "00"},
  };
  for (const auto& row : kRows) {
    const auto measurements = measured("[measurements.sub0]\nrat = " + std::string(row.rat) + "\n");
    ASSERT_TRUE(measurements[0].contains(0x2C)) << row.rat;
    EXPECT_EQ(desk::hex(measurements[0].at(0x2C)), row.record) << row.rat;
  }
}

TEST_F(Vs, RequestsGetWhatThePhoneHasOfThem) {
  start_modem(
      "[measurements.sub0.raw]\n\"0x64\" = \"FF\"\n\"0x123\" = \"00a0 Bb\"\n\"7\" = \"\"\n"
      "[measurements.sub1.raw]\n\"0xFFFFFFFF\" = \"" +
      std::string(1400, '5') + "\"\n");
  static const struct {
    uint16_t sub;
    std::vector<std::pair<uint32_t, uint32_t>> wanted;
    std::string answer;
  } kRows[] = {
      {0, {}, ""},
      {0, {{0, 0x55}}, ""},
      {1, {{1, 0x87}}, ""},  // no NR there
      {0, {{0, 0x64}}, "0.100 FF"},
      {0, {{0, 0x123}, {0, 7}}, "0.291 00 A0 BB; 0.7 "},
      {0, {{1, 0x2C}, {1, 0x71}, {0, 0x2C}}, "1.44 01 09 00 00 00; 0.44 01 0C 00 00 00"},
      {1, {{1, 0xFFFFFFFF}}, "1.4294967295 " + desk::hex(std::vector<uint8_t>(700, 0x55))},
      {2, {{0, 0x2C}}, "error 48"},
      {0, {{0, 0x2C}, {2, 0x2C}}, "error 48"},
      {0, {{0xFFFFFFFF, 0x2C}}, "error 48"},
  };
  const qmi_client_type client = open();
  for (const auto& row : kRows) EXPECT_EQ(get(client, row.sub, row.wanted), row.answer);
  EXPECT_EQ(feature(client), 0);
}

// ---- indications on demand

// The messages that one client received.
struct Heard {
  std::mutex mutex;
  std::vector<uint32_t> messages;

  static void callback(qmi_client_type, uint32_t message, const void*, uint32_t, void* data) {
    auto& heard = *static_cast<Heard*>(data);
    const std::lock_guard lock(heard.mutex);
    heard.messages.push_back(message);
  }
  // Once there are so many.
  std::vector<uint32_t> after(size_t n) {
    for (;; std::this_thread::yield()) {
      const std::lock_guard lock(mutex);
      if (messages.size() >= n) return messages;
    }
  }
};

TEST_F(Vs, IndicationsReachThoseThatAskedAndNobodyElse) {
  static Heard asked, quiet, other, gone;
  desk::Modem& modem = start_modem();
  const qmi_client_type first = open(kVs, Heard::callback, &asked);
  const qmi_client_type second = open(kVs, Heard::callback, &quiet);
  const qmi_client_type third = open(kNas, Heard::callback, &other);
  const qmi_client_type fourth = open(kVs, Heard::callback, &gone);
  EXPECT_EQ(feature(first), 0);
  EXPECT_EQ(get(first, 5, {}), "error 48") << "refused, it has asked all the same";
  EXPECT_EQ(feature(fourth), 0);
  const nas_bind_subscription_req bind{0};
  nas_plain_resp resp;
  EXPECT_EQ(qmi_client_send_msg_sync(third, NAS_BIND_SUBSCRIPTION, &bind, sizeof bind, &resp,
                                     sizeof resp, 3000),
            0);
  qmi_client_release(fourth);

  const uint32_t vs = qcci::idl::kVsService.id;
  const vs_byte_ind byte{255};
  modem.indicate_all(vs, VS_IND_BYTE, &bind, sizeof bind);  // of another message
  modem.indicate_all(vs, 0x99, &byte, sizeof byte);
  modem.indicate_all(0x99, VS_IND_BYTE, &byte, sizeof byte);
  modem.indicate_all(vs, VS_IND_BYTE, &byte, sizeof byte);
  EXPECT_EQ(asked.after(1), std::vector<uint32_t>{VS_IND_BYTE});
  EXPECT_EQ(passed(sim::FaultKind::kIndication)[0].tlvs(), "01 01 00 FF");

  // Whoever asks later hears what comes later.
  EXPECT_EQ(feature(second), 0);
  modem.indicate_all(vs, VS_IND_BYTE, &byte, sizeof byte);
  EXPECT_EQ(quiet.after(1), std::vector<uint32_t>{VS_IND_BYTE});
  EXPECT_EQ(asked.after(2).size(), 2u);

  // A service that has been away has forgotten them.
  modem.take_down(vs);
  modem.bring_up(vs);
  modem.indicate_all(vs, VS_IND_BYTE, &byte, sizeof byte);
  EXPECT_EQ(passed(sim::FaultKind::kIndication).size(), 1u + 2u);
  EXPECT_TRUE(other.after(0).empty());
  EXPECT_TRUE(gone.after(0).empty());
}

}  // namespace

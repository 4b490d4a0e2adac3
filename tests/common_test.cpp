// Common requests and NAS requests, against the simulated modem.

#include "platform/idl/nas.h"
#include "platform/idl/vendor_payload.h"
#include "qmi/kelvor_extend_cmn.h"
#include "qmi/kelvor_extend_nvefs.h"
#include "support/desk.h"

namespace {

using desk::output_of;
using desk::said;
using namespace std::chrono_literals;

struct Common : desk::Desk {
  uint8_t rsp_[KELVOR_COMMON_RSP_SIZE];
  const std::vector<uint8_t> value_ = std::vector<uint8_t>(512, 0xC3);
};

TEST_F(Common, ArgumentsAreCheckedAndTheLongestValuesAreSentWhole) {
  start_modem();
  const uint8_t* v = value_.data();
  const auto item = kelvor_send_common_qmi_msg;
  const auto raw = kelvor_common_qmi_req;
  static constexpr uint32_t kBad = KELVOR_COMMON_BAD_ARGUMENT;
  static_assert(kBad == 268431370);
  const struct {
    uint32_t (*call)(uint32_t, uint32_t, const uint8_t*, uint8_t*);
    uint32_t length;
    const uint8_t* value;
    uint8_t* rsp;
    uint32_t result;
    const char* message;
  } rows[] = {
      {item, 491, v, rsp_, 0, "l 491"},
      {item, 492, v, rsp_, kBad, "l is out of range"},
      {item, 4, nullptr, rsp_, kBad, "v is null"},
      {item, 0, nullptr, rsp_, 0, "t 35"},
      {item, 0, nullptr, nullptr, kBad, "rsp is NULL"},
      {raw, 499, v, rsp_, 0, nullptr},
      {raw, 500, v, rsp_, kBad, "l is out of range"},
      {raw, 4, nullptr, rsp_, kBad, "v is null"},
      {raw, 0, nullptr, rsp_, 0, nullptr},
      {raw, 0, nullptr, nullptr, kBad, "rsp is NULL"},
  };
  for (const auto& row : rows) {
    const size_t before = requests();
    const std::string output = output_of([&] {
      EXPECT_EQ(row.call(KELVOR_COMMON_ITEM_NV_SYNC, row.length, row.value, row.rsp), row.result);
    });
    EXPECT_EQ(requests() - before, row.result == 0 ? 1u : 0u);
    if (row.message != nullptr) {
      EXPECT_TRUE(said(output, row.message)) << row.message;
    }
    EXPECT_TRUE(said(output, "function exit <-------------"));
  }
  // Command, reserved, item, length, value; and command, reserved, payload.
  const auto sent = passed(sim::FaultKind::kRequest);
  EXPECT_EQ(desk::hex(std::span(sent[0].octets).subspan(24, 18)),
            "02 00 00 00 00 00 00 00 23 00 00 00 EB 01 00 00 C3 C3");
  EXPECT_EQ(desk::hex(std::span(sent[2].octets).subspan(24, 10)), "23 00 00 00 00 00 00 00 C3 C3");
  EXPECT_EQ(desk::hex(std::span(sent[0].octets).subspan(7, 14)),
            "01 04 00 04 00 00 00 02 04 00 00 02 00 00");
}

TEST_F(Common, SyncIsZeroOnlyWhenBothResultsAre) {
  start_modem(
      "[[fault]]\nservice = \"vendor\"\naction = \"change\"\nnth = 2\nat = 28\noctets = [4]\n"
      "[[fault]]\nservice = \"vendor\"\naction = \"vendor-error\"\nnth = 3\nresult = 1\n");
  EXPECT_EQ(kelvor_nvefs_sync(), 0);
  std::string output = output_of([] { EXPECT_EQ(kelvor_nvefs_sync(), 4); });
  EXPECT_TRUE(said(output, "kelvor_send_common_qmi_msg, ret_sync: 0, rsp.result: 4"));
  EXPECT_EQ(kelvor_nvefs_sync(), -3);
}

TEST_F(Common, ANasRequestReleasesItsClientAndKeepsTheStaleHandle) {
  start_modem();
  static nas_network_scan_req scan;
  static nas_network_scan_resp found;
  std::string output = output_of([&] {
    EXPECT_EQ(kelvor_send_nas_qmi_req_msg(NAS_NETWORK_SCAN, nullptr, 0, &found, 8, 10), -1);
    EXPECT_EQ(kelvor_send_nas_qmi_req_msg(NAS_NETWORK_SCAN, &scan, 0, nullptr, 8, 10), -1);
  });
  EXPECT_TRUE(said(output, "qmi_request is NULL"));
  EXPECT_TRUE(said(output, "qmi_response is NULL"));
  EXPECT_TRUE(said(output, "qmi_client_ptr is NULL")) << "the release step runs all the same";
  EXPECT_EQ(kelvor_send_nas_qmi_req_msg(NAS_NETWORK_SCAN, &scan, sizeof scan, &found, sizeof found,
                                        10000),
            0);
  EXPECT_EQ(found.networks_len, 3u);
  EXPECT_STREQ(found.networks[0].name, "Test One");
  output = output_of([&] {
    EXPECT_EQ(kelvor_send_nas_qmi_req_msg(NAS_NETWORK_SCAN, &scan, sizeof scan, &found,
                                          sizeof found, 10000),
              QMI_CLIENT_PORT_NOT_OPEN);
  });
  EXPECT_TRUE(said(output, "qmi_client_release failed"));
  EXPECT_EQ(requests(), 1u);
  output = output_of([] { kelvor_qmi_client_error_cb(nullptr, -2, nullptr); });
  EXPECT_TRUE(said(output, "QMI error callback -2"));
}

}  // namespace

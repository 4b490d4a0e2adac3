// The one client of the vendor service, against the simulated modem.

#include <array>

#include "platform/idl/vendor.h"
#include "platform/idl/vendor_payload.h"
#include "qcci/idl/codec.h"
#include "qcci/services/services.h"
#include "qmi/kelvor_extend_api.h"
#include "support/desk.h"

namespace {

using desk::output_of;
using desk::said;

struct Vendor : desk::Desk {
  // One exchange with common request 35, whose answer is a command and a result: 8 octets.
  int32_t sync(uint32_t length = 512, uint32_t room = 512) {
    std::array<uint8_t, 600> request{};
    kelvor_common_item_req item{};
    item.command = KELVOR_COMMON_ITEM;
    item.t = KELVOR_COMMON_ITEM_NV_SYNC;
    std::memcpy(request.data(), &item, sizeof item);
    response_.fill(0xEE);
    response_len_ = room;
    return kelvor_extend_qmi_send_sync(REQUEST_ID_COMMON, request.data(), length, response_.data(),
                                       &response_len_);
  }
  std::array<uint8_t, 600> response_{};
  uint32_t response_len_ = 0;
};

// A fault rule for the vendor service's responses.
std::string rule(const std::string& action) {
  return "[[fault]]\nservice = \"vendor\"\nkind = \"response\"\naction = " + action + "\n";
}

TEST_F(Vendor, TheRequestCarriesWhatItIsGivenAndNothingOfTheOneBefore) {
  start_modem();
  const std::vector<uint8_t> full(512, 0xAA);
  const uint8_t one[] = {0x55};
  uint32_t room = 512;
  kelvor_extend_qmi_send_sync(5, full.data(), 512, response_.data(), &room);
  room = 512;
  kelvor_extend_qmi_send_sync(3, one, 1, response_.data(), &room);
  const auto requests = passed(sim::FaultKind::kRequest);
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[1].tlvs().substr(0, 62),
            "01 04 00 03 00 00 00 02 04 00 01 00 00 00 10 00 02 55 00 00 00");
  EXPECT_EQ(requests[1].tlvs().find("AA"), std::string::npos);
  EXPECT_EQ(requests[1].octets.size(), 7u + 529u);
  // A length beyond its room, which only another client sends, is refused.
  kelvor_vendor_msg request{};
  kelvor_vendor_msg response{};
  request.id = REQUEST_ID_COMMON;
  request.data_len = sizeof request.data + 1;
  EXPECT_EQ(qmi_client_send_msg_sync(kelvor_extend_qmi_client_open(), KELVOR_VENDOR_GENERIC,
                                     &request, sizeof request, &response, sizeof response, 1000),
            0);
  EXPECT_NE(response.id, 0u);
}

TEST_F(Vendor, AnAnswerIsCopiedAsFarAsItGoesAndAsFarAsThereIsRoom) {
  // In an answer the length's four octets are at 17 from the message's start, the data's type at
  // 21: another one is skipped.
  static const std::string kTimedOut = "send msg sync failed:-3";
  static const struct {
    const char* rule;
    uint32_t length, room;
    std::string action;  // of a fault rule; empty: the answer is 8 octets
    int32_t result;
    uint32_t copied = 0;
    std::string message = "";
  } kRows[] = {
      {"512 of each is sent", 512, 512, "", 0, 8},
      {"513 octets of request", 513, 512, "", -1, 0, "put data_len 513 > max 512"},
      {"room of 513, by the request's length", 512, 513, "", -1, 0, "put data_len 512 > max 512"},
      {"little room", 512, 5, "", 0, 5},
      {"a length beyond any room", 512, 512, "change\"\nat = 17\noctets = [255, 255]", 0, 512},
      {"and less room", 512, 100, "change\"\nat = 17\noctets = [255, 255, 255, 255]", 0, 100},
      {"nothing", 512, 512, "change\"\nat = 17\noctets = [0, 0, 0, 0]", 0, 0},
      {"no data", 512, 512, "change\"\nat = 21\noctets = [0x7F]", 0, 0},
      {"refused", 512, 512, "qmi-error\"\nerror = 71", -3, 0, "send msg sync failed:-1"},
      {"lost", 512, 512, "drop\"", -3, 0, kTimedOut},
  };
  std::string toml;
  int nth = 0;
  for (const auto& row : kRows) {
    if (row.result != -1) ++nth;  // the others are not sent
    if (!row.action.empty())
      toml += rule("\"" + row.action) + "nth = " + std::to_string(nth) + "\n";
  }
  start_modem(toml);
  clock_.run_by_itself();
  for (const auto& row : kRows) {
    const size_t before = requests();
    const std::string output =
        output_of([&] { EXPECT_EQ(sync(row.length, row.room), row.result) << row.rule; });
    EXPECT_EQ(requests() - before, row.result == -1 ? 0u : 1u) << row.rule;
    EXPECT_EQ(response_len_, row.result == 0 ? row.copied : row.room) << row.rule;
    EXPECT_EQ(response_[0], row.copied == 0 ? 0xEE : KELVOR_COMMON_ITEM) << row.rule;
    EXPECT_EQ(response_[row.copied], 0xEE) << row.rule;
    EXPECT_TRUE(row.message.empty() || said(output, row.message)) << output;
  }
  EXPECT_EQ(clock_.passed(), std::chrono::milliseconds(3000));
  EXPECT_EQ(sync(), 0) << "and the next one works";
}

TEST_F(Vendor, FailuresAreNotedUnlessTheSwitchIsOff) {
  start_modem(rule("\"vendor-error\"\nresult = 77"));
  const std::string loud = output_of([&] { EXPECT_EQ(sync(), -3); });
  EXPECT_TRUE(said(loud, "77 QMI service framework error. Check client"));
  EXPECT_TRUE(said(loud, "kelvor_extend_qmi_handle_req_cb result:-3"));
  EXPECT_TRUE(said(output_of([&] { kelvor_extend_qmi_send_sync(4, nullptr, 1, nullptr, nullptr); }),
                   "0,  put Invalid param"));
  kelvor_extend_set_trace(0);
  EXPECT_EQ(output_of([&] {
              EXPECT_EQ(sync(), -3);
              EXPECT_EQ(sync(513), -1);
              EXPECT_EQ(kelvor_extend_qmi_send_sync(4, nullptr, 1, nullptr, nullptr), -1);
            }),
            "");
}

// ---- indications, as the client library delivers them

std::vector<uint8_t> indication(uint16_t message, const void* c, size_t size) {
  const auto* row = qcci::idl::kVendorService.find(QMI_IDL_INDICATION, message);
  std::vector<uint8_t> wire(row->max_encoded);
  wire.resize(qcci::idl::encode(*row, c, size, wire).length);
  return wire;
}

TEST_F(Vendor, IndicationsReachTheirHandlers) {
  start_modem();
  const qmi_client_type client = kelvor_extend_qmi_client_open();
  static std::vector<std::string> got;
  const auto deliver = [&](uint16_t message, const void* c, size_t size) {
    const auto wire = indication(message, c, size);
    return output_of([&] {
      kelvor_extend_qmi_ind_cb(client, message, wire.data(), static_cast<uint32_t>(wire.size()),
                               nullptr);
    });
  };
  kelvor_vendor_msg ind{};
  ind.id = 6;
  ind.data_len = 3;
  EXPECT_TRUE(said(deliver(3, &ind, sizeof ind), "No function defined to handle indication: 6"));
  kelvor_extend_set_sub_id_handler(6, [](uint32_t sub_id, const uint8_t* data, uint32_t length) {
    got.push_back(std::to_string(sub_id) + ":" + desk::hex({data, length}));
  });
  kelvor_extend_set_sub_id_handler(7, [](uint32_t, const uint8_t*, uint32_t) { ADD_FAILURE(); });
  deliver(3, &ind, sizeof ind);  // without data: no length
  ind.data_valid = 1;
  ind.data[0] = 0xA5;
  deliver(3, &ind, sizeof ind);
  ind.id = 7;
  EXPECT_TRUE(
      said(deliver(3, &ind, sizeof ind), "Indicaion: 7 greater than maximum known indication."));
  EXPECT_EQ(got, (std::vector<std::string>{"6:", "6:A5 00 00"}));

  got.clear();
  kelvor_extend_set_shared_handler([](uint32_t message, const void*, uint32_t size) {
    got.push_back(std::to_string(message) + ":" + std::to_string(size));
  });
  static const kelvor_vendor_ind_5 largest{};
  deliver(5, &largest, sizeof(kelvor_vendor_ind_5));
  static const kelvor_vendor_ind_6 records{};
  deliver(6, &records, sizeof records);
  deliver(7, &largest, 8);
  static const kelvor_vendor_ind_8 eight{};
  deliver(8, &eight, sizeof eight);
  deliver(9, &largest, 408);
  EXPECT_EQ(got, (std::vector<std::string>{"5:1128", "6:1288", "7:8", "8:32", "9:408"}));
  const uint8_t garbage[] = {1, 9, 9};
  for (const uint32_t message : {2u, 3u, 4u, 5u, 9u, 10u, 0xFFFFu}) {
    kelvor_extend_qmi_ind_cb(client, message, garbage, sizeof garbage, nullptr);
  }
  EXPECT_EQ(got.size(), 5u);
}

}  // namespace

// The one client of the vendor service, against the simulated modem.

#include <array>
#include <thread>

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
}

TEST_F(Vendor, LengthsAreCheckedBeforeAnythingIsSent) {
  start_modem();
  static const struct {
    const char* rule;
    uint32_t length, room;
    int32_t result;
    const char* message;
  } kRows[] = {
      {"512 of each is sent", 512, 512, 0, nullptr},
      {"513 octets of request", 513, 512, -1, "put data_len 513 > max 512"},
      {"room of 513, told by the request's length", 512, 513, -1, "put data_len 512 > max 512"},
  };
  for (const auto& row : kRows) {
    const size_t before = requests();
    const std::string output =
        output_of([&] { EXPECT_EQ(sync(row.length, row.room), row.result) << row.rule; });
    EXPECT_EQ(requests() - before, row.result == 0 ? 1u : 0u) << row.rule;
    if (row.message != nullptr) {
      EXPECT_TRUE(said(output, row.message)) << row.rule << output;
    }
  }
  uint32_t room = 8;
  const std::string output = output_of([&] {
    EXPECT_EQ(kelvor_extend_qmi_send_sync(4, nullptr, 1, response_.data(), &room), -1);
    EXPECT_EQ(kelvor_extend_qmi_send_sync(4, &room, 1, nullptr, &room), -1);
    EXPECT_EQ(kelvor_extend_qmi_send_sync(4, &room, 1, response_.data(), nullptr), -1);
  });
  EXPECT_TRUE(said(output, "0,  put Invalid param"));
}

TEST_F(Vendor, TheResponseIsCopiedAsFarAsItGoesAndAsFarAsThereIsRoom) {
  // 10 00 02 + data: the data's flag is its TLV; the length is the TLV before it.
  start_modem();
  EXPECT_EQ(sync(512, 512), 0);
  EXPECT_EQ(response_len_, 8u);
  EXPECT_EQ(response_[0], KELVOR_COMMON_ITEM);
  EXPECT_EQ(response_[8], 0xEE);
  EXPECT_EQ(sync(512, 5), 0);
  EXPECT_EQ(response_len_, 5u) << "left as it was";
  EXPECT_EQ(response_[5], 0xEE);
}

TEST_F(Vendor, AModemThatLiesOfTheLengthIsNotBelievedBeyondTheRoom) {
  // The length's four octets are at 17 from the message's start.
  start_modem(rule("\"change\"\nat = 17\noctets = [255, 255, 255, 255]"));
  EXPECT_EQ(sync(512, 100), 0);
  EXPECT_EQ(response_len_, 100u);
  EXPECT_EQ(response_[100], 0xEE);
  EXPECT_EQ(sync(512, 512), 0);
  EXPECT_EQ(response_len_, 512u);
  EXPECT_EQ(response_[512], 0xEE);
}

TEST_F(Vendor, AnEmptyResponseCopiesNothing) {
  start_modem(rule("\"change\"\nat = 17\noctets = [0, 0, 0, 0]"));
  EXPECT_EQ(sync(), 0);
  EXPECT_EQ(response_len_, 0u);
  EXPECT_EQ(response_[0], 0xEE);
}

TEST_F(Vendor, AResponseWithoutDataIsASuccessOfLengthZero) {
  // The data's type becomes one that is skipped: its flag stays clear.
  start_modem(rule("\"change\"\nat = 21\noctets = [0x7F]"));
  EXPECT_EQ(sync(), 0);
  EXPECT_EQ(response_len_, 0u);
  EXPECT_EQ(response_[0], 0xEE);
}

TEST_F(Vendor, FailuresAreToldUnlessTheSwitchIsOff) {
  start_modem(rule("\"vendor-error\"\nresult = 77"));
  const std::string loud = output_of([&] { EXPECT_EQ(sync(), -3); });
  EXPECT_TRUE(said(loud, "77 QMI service framework error. Check client"));
  EXPECT_TRUE(said(loud, "kelvor_extend_qmi_handle_req_cb result:-3"));
  kelvor_extend_set_trace(0);
  EXPECT_EQ(output_of([&] {
              EXPECT_EQ(sync(), -3);
              EXPECT_EQ(sync(513), -1);
              EXPECT_EQ(kelvor_extend_qmi_send_sync(4, nullptr, 1, nullptr, nullptr), -1);
            }),
            "");
}

TEST_F(Vendor, WhatIsNotAnAnswerIsATransportError) {
  static const struct {
    const char* rule;
    std::string action;
    int error;
  } kRows[] = {
      {"cut", "\"truncate\"\noctets = 100", -3},  // no whole message: nobody's answer
      {"empty", "\"truncate\"\noctets = 0", -3},  {"refused", "\"qmi-error\"\nerror = 71", -1},
      {"another's", "\"wrong-transaction\"", -3}, {"lost", "\"drop\"", -3},
  };
  std::string toml;
  int nth = 0;
  for (const auto& row : kRows) {
    toml += rule(row.action) + "nth = " + std::to_string(++nth) + "\n";
  }
  start_modem(toml);
  clock_.run_by_itself();
  for (const auto& row : kRows) {
    const std::string output = output_of([&] { EXPECT_EQ(sync(), -3) << row.rule; });
    EXPECT_TRUE(said(output, "send msg sync failed:" + std::to_string(row.error))) << output;
  }
  EXPECT_EQ(clock_.passed(), std::chrono::milliseconds(4 * 3000));
  EXPECT_EQ(sync(), 0) << "and the next one works";
}

TEST_F(Vendor, WithoutAModemTheOpenGivesUpAfterFiftyTriesAndTheNextTriesAgain) {
  sim::Modem& modem = start_modem();
  modem.take_down(KELVOR_VENDOR_SERVICE_ID);
  clock_.run_by_itself();
  const std::string output = output_of([&] { EXPECT_EQ(sync(), -2); });
  size_t tries = 0;
  for (const std::string& message : desk::trace_messages(output)) {
    tries += message.starts_with("KELVOR_QMI_NV: qmi_client_get_service_list() returned -2");
  }
  EXPECT_EQ(tries, 50u);
  EXPECT_EQ(clock_.passed(), std::chrono::milliseconds(50 * 20));
  EXPECT_TRUE(
      said(output, "qmi_client_get_service_list, err = -2, num_entries = 0, num_services = 0"));
  EXPECT_TRUE(said(output, "-2 QMI client init failed"));
  modem.bring_up(KELVOR_VENDOR_SERVICE_ID);
  EXPECT_EQ(sync(), 0);
}

TEST_F(Vendor, OpeningSaysWhatItFinds) {
  start_modem();
  const std::vector<std::string> lines = desk::trace_messages(output_of([&] { sync(); }));
  const std::vector<std::string> expected = {
      "KELVOR_QMI_NV: qmi_client_get_service_list() returned 0 num_services = 1",
      "qmi_client_get_service_list, err = 0, num_entries = 1, num_services = 1",
      "qmi_client_init, err = 0, handle = 2, client_handle = 2",
      "QMI client inited",
      "kelvor_extend_qmi_send_sync resp_len:8",
      "kelvor_extend_qmi_handle_req_cb result:0",
  };
  EXPECT_EQ(lines, expected);
}

TEST_F(Vendor, ThreadsTakeTurns) {
  start_modem();
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 50; ++i) {
        uint8_t request[8] = {KELVOR_COMMON_STATS_DEBUG_INFO};
        uint8_t response[512];
        uint32_t length = sizeof response;
        if (kelvor_extend_qmi_send_sync(4, request, 8, response, &length) != 0 || length != 229) {
          ++wrong;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(requests(), 200u);
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
  static std::vector<std::string> told;
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
    told.push_back(std::to_string(sub_id) + ":" + desk::hex({data, length}));
  });
  kelvor_extend_set_sub_id_handler(7, [](uint32_t, const uint8_t*, uint32_t) { ADD_FAILURE(); });
  deliver(3, &ind, sizeof ind);  // without data: no length
  ind.data_valid = 1;
  ind.data[0] = 0xA5;
  deliver(3, &ind, sizeof ind);
  ind.id = 7;
  EXPECT_TRUE(
      said(deliver(3, &ind, sizeof ind), "Indicaion: 7 greater than maximum known indication."));
  EXPECT_EQ(told, (std::vector<std::string>{"6:", "6:A5 00 00"}));

  told.clear();
  kelvor_extend_set_shared_handler([](uint32_t message, const void*, uint32_t size) {
    told.push_back(std::to_string(message) + ":" + std::to_string(size));
  });
  static const kelvor_vendor_ind_5 largest{};
  deliver(5, &largest, sizeof(kelvor_vendor_ind_5));
  static const kelvor_vendor_ind_6 records{};
  deliver(6, &records, sizeof records);
  deliver(7, &largest, 8);
  static const kelvor_vendor_ind_8 eight{};
  deliver(8, &eight, sizeof eight);
  deliver(9, &largest, 408);
  EXPECT_EQ(told, (std::vector<std::string>{"5:1128", "6:1288", "7:8", "8:32", "9:408"}));
  const uint8_t garbage[] = {1, 9, 9};
  for (const uint32_t message : {2u, 3u, 4u, 5u, 9u, 10u, 0xFFFFu}) {
    kelvor_extend_qmi_ind_cb(client, message, garbage, sizeof garbage, nullptr);
  }
  EXPECT_EQ(told.size(), 5u);
}

}  // namespace

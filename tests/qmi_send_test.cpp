// Command 6 against the simulated modem.

#include "platform/idl/vendor_payload.h"
#include "platform/kelvor_utils.h"
#include "support/command.h"

namespace {

using Texts = std::vector<std::string>;

struct Send : desk::Desk {
  static Texts said(const std::vector<std::string>& words, int* result = nullptr) {
    return desk::messages_of("kelvor_vex_test_cmn.cpp",
                             desk::run_command(kelvor_test_qmi_send_data_do, words, result));
  }
  std::vector<desk::VendorRequest> sent() {
    return desk::vendor_requests(passed(sim::FaultKind::kRequest));
  }
};

TEST_F(Send, RequestIdsAreTakenFromZeroToFive) {
  start_modem();
  for (int id = -1; id <= 6; ++id) {
    const size_t before = sent().size();
    const std::string number = std::to_string(id);
    const std::string output =
        desk::run_command(kelvor_test_qmi_send_data_do, "6 " + number + " 1");
    const bool taken = id >= 0 && id <= 5;
    EXPECT_EQ(sent().size() - before, taken ? 1u : 0u) << id;
    const Texts texts = desk::messages_of("kelvor_vex_test_cmn.cpp", output);
    if (!taken) {
      EXPECT_EQ(texts, Texts{"note: the second parameters(qmi_id) should be >= 0 && < 6"});
      EXPECT_NE(output.find("\n6: kelvor qmi send_data\n"), std::string::npos) << output;
      continue;
    }
    EXPECT_EQ(sent().back().id, static_cast<uint32_t>(id));
    // Families 2 and 4 are there; the modem knows no other.
    const bool known = id == REQUEST_ID_EFS || id == REQUEST_ID_COMMON;
    EXPECT_EQ(texts[0], "mi_qmi req data(qmi_id: " + number + ", len: 1[max: 500]):");
    EXPECT_EQ(texts[1], "0x01 ");
    EXPECT_EQ(texts[2], "qmi_id = " + number + ", result = " + (known ? "0" : "-3"));
    if (!known) {
      EXPECT_EQ(texts.back(), "kelvor_extend_qmi_send_sync fail");
    }
  }
}

TEST_F(Send, OctetsAreTheLowBitsOfTheirWordsUpToFiveHundred) {
  start_modem();
  said({"6", "5", "1", "255", "0xA5", "0x1ff", "256", "-1", "x", "0X", ""});
  EXPECT_EQ(desk::hex(sent().back().data), "01 FF A5 FF 00 FF 00 00 00");
  for (const size_t given : {499u, 500u, 501u}) {
    std::vector<std::string> words = {"6", "5"};
    words.resize(2 + given - 1, "7");
    words.emplace_back("9");
    const Texts texts = said(words);
    const size_t taken = std::min<size_t>(given, 500);
    const auto request = sent().back();
    EXPECT_EQ(request.data.size(), taken);
    EXPECT_EQ(request.data.back(), given <= 500 ? 9 : 7);
    EXPECT_EQ(texts[0],
              "mi_qmi req data(qmi_id: 5, len: " + std::to_string(taken) + "[max: 500]):");
    EXPECT_EQ(texts.size(), 1 + taken + 2);
  }
}

TEST_F(Send, TheResponseIsDumpedOctetByOctet) {
  start_modem();
  EXPECT_EQ(said({"6", "4", "2", "0", "0", "0", "0", "0", "0", "0", "35"}),
            (Texts{"mi_qmi req data(qmi_id: 4, len: 9[max: 500]):",
                   "0x02 ",
                   "0x00 ",
                   "0x00 ",
                   "0x00 ",
                   "0x00 ",
                   "0x00 ",
                   "0x00 ",
                   "0x00 ",
                   "0x23 ",
                   "qmi_id = 4, result = 0",
                   "mi_qmi rsp data(qmi_id: 4, len: 8[max: 500]):",
                   " 02",
                   " 00",
                   " 00",
                   " 00",
                   " 00",
                   " 00",
                   " 00",
                   " 00",
                   ""}));
}

TEST_F(Send, AResponseThatIsLongerThanTheRoomIsCut) {
  // The response's length says 512, and all of them come.
  start_modem(
      "[[fault]]\nservice = \"vendor\"\naction = \"change\"\nat = 17\noctets = [0x00, 0x02]\n");
  const Texts texts = said({"6", "4", "2"});
  EXPECT_EQ(texts[3], "mi_qmi rsp data(qmi_id: 4, len: 500[max: 500]):");
  EXPECT_EQ(texts.size(), 4u + 500 + 1);
}

TEST_F(Send, AModemThatDoesNotAnswerIsTold) {
  start_modem("[[fault]]\nservice = \"vendor\"\naction = \"drop\"\n");
  const desk::PassOne time_out(clock_, std::chrono::seconds(3), [&] { return requests() == 1; });
  int result = 0;
  EXPECT_EQ(said({"6", "2", "1"}, &result),
            (Texts{"mi_qmi req data(qmi_id: 2, len: 1[max: 500]):", "0x01 ",
                   "qmi_id = 2, result = -3", "kelvor_extend_qmi_send_sync fail"}));
  EXPECT_EQ(result, -3);
}

TEST_F(Send, TooFewWordsGetTheirNote) {
  kelvor_hal_set_shell_print_mask(1 | 8);  // errors and usage
  start_modem();
  const std::string few = "note: Too few parameters, Pls refer to the following cmd:";
  EXPECT_EQ(said({"6"}), Texts{few});
  EXPECT_EQ(said({"6", "2"}), Texts{few});
  EXPECT_EQ(said({"5", "2", "1"}),
            Texts{"note: the first parameters should be 6, Pls refer to the following cmd:"});
  EXPECT_EQ(requests(), 0u);
}

}  // namespace

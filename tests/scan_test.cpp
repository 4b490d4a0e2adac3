// Command 12 against the simulated modem, and the cells that it finds.

#include <atomic>
#include <thread>

#include "platform/idl/nas.h"
#include "platform/kelvor_utils.h"
#include "qmi/kelvor_extend_cmn.h"
#include "support/command.h"

namespace {

using desk::said;
using Texts = std::vector<std::string>;

struct Scan : desk::Desk {
  static std::string scan(const std::string& words, int* result = nullptr) {
    return desk::run_command(kelvor_test_qmi_do, "12 " + words, result);
  }
};

// The messages of the command whose sender has that name.
Texts sender_says(const std::string& name, bool fails) {
  Texts texts = {"function entry ------------->", name + ", scan_scope = 0"};
  if (!fails) {
    texts.emplace_back("function exit <-------------");
    return texts;
  }
  texts.emplace_back("qmi_client_send_msg_sync fail, qmi_client_error = -3");
  texts.emplace_back("note: Error happen! error_code(-3)");
  return texts;
}

TEST_F(Scan, BothRequestsGoOutWithoutAnyElement) {
  start_modem();
  const Texts full = desk::messages_of("kelvor_vex_qmi.cpp", scan("0 ignored"));
  EXPECT_EQ(full, sender_says("kelvor_send_nas_perform_network_scan_req_msg_v01", false));
  const auto sent = passed(sim::FaultKind::kRequest);
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].service, "nas");
  EXPECT_EQ(sent[0].id(), 0x21);
  EXPECT_EQ(sent[0].tlvs(), "");
}

TEST_F(Scan, TheIncrementalOneReportsTechnologyByTechnology) {
  start_modem();
  const Texts texts = desk::messages_of("kelvor_vex_qmi.cpp", scan("1"));
  EXPECT_EQ(texts,
            sender_says("kelvor_send_nas_perform_incremental_network_scan_req_msg_v01", false));
  const auto sent = passed(sim::FaultKind::kRequest);
  EXPECT_EQ(sent.at(0).id(), 0x85);
  EXPECT_EQ(sent.at(0).tlvs(), "");
  // The default phone's gsm, lte and nr cell: status, count, and each one's codes in the order of
  // their technologies.
  const std::string gsm = " E7 03 46 00 9A 04 00 09 54 65 73 74 20 52 6F 61 6D";
  const std::string lte = " 01 00 01 00 65 08 00 08 54 65 73 74 20 4F 6E 65";
  const std::string nr = " 01 00 01 00 66 0C 00 08 54 65 73 74 20 4F 6E 65";
  const auto reports = passed(sim::FaultKind::kIndication);
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports[0].tlvs(), "01 04 00 01 00 00 00 10 13 00 01 00" + gsm);
  EXPECT_EQ(reports[1].tlvs(), "01 04 00 01 00 00 00 10 23 00 02 00" + gsm + lte);
  EXPECT_EQ(reports[2].tlvs(), "01 04 00 00 00 00 00 10 33 00 03 00" + gsm + lte + nr);
}

TEST_F(Scan, AScanOfNothingIsCompleteAtOnce) {
  directory_.write("phone.toml", "");
  start_written_modem();
  scan("1");
  const auto reports = passed(sim::FaultKind::kIndication);
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].tlvs(), "01 04 00 00 00 00 00 10 02 00 00 00");
}

TEST_F(Scan, AScanThatIsNotAnsweredIsToldAfterTenSeconds) {
  start_modem("[[fault]]\nservice = \"nas\"\naction = \"drop\"\n");
  const desk::PassOne time_out(clock_, std::chrono::seconds(10), [&] { return requests() == 1; });
  int result = -1;
  const std::string output = scan("0", &result);
  EXPECT_EQ(desk::messages_of("kelvor_vex_qmi.cpp", output),
            sender_says("kelvor_send_nas_perform_network_scan_req_msg_v01", true));
  EXPECT_EQ(result, 0);
  EXPECT_EQ(clock_.passed(), std::chrono::seconds(10));
}

TEST_F(Scan, AModemWithoutTheServiceIsTold) {
  start_modem().take_down(NAS_SERVICE_ID);
  clock_.run_by_itself();
  const std::string output = scan("1");
  EXPECT_TRUE(said(output, "note: Error happen! error_code(-1)")) << output;
  EXPECT_EQ(requests(), 0u);
}

TEST_F(Scan, ARestartEndsAScanThatWaitsAtOnce) {
  start_modem("[[fault]]\nservice = \"nas\"\naction = \"drop\"\n");
  std::string output;
  std::thread waiting([&] { output = scan("0"); });
  while (requests() == 0) std::this_thread::yield();
  // Its output is the scan's: only one capture at a time.
  uint8_t rsp[KELVOR_COMMON_RSP_SIZE];
  const uint8_t word[4] = {0, 0x10};
  EXPECT_EQ(kelvor_send_common_qmi_msg(31, sizeof word, word, rsp), 0u);
  waiting.join();
  EXPECT_TRUE(said(output, "note: Error happen! error_code(-2)")) << output;
  EXPECT_EQ(clock_.passed(), platform::Duration::zero());
}

TEST_F(Scan, WrongWordsGetTheirNoteAndTheSectionAndNothingIsSent) {
  kelvor_hal_set_shell_print_mask(1 | 8);  // errors and usage
  start_modem();
  const std::string section = desk::output_of([] { kelvor_test_qmi_show_help(12); });
  const std::pair<const char*, const char*> rows[] = {
      {"12", "note: Too few parameters, Pls refer to the following cmd:"},
      {"11", "note: Too few parameters, Pls refer to the following cmd:"},
      {"11 0", "note: the first parameters should be 12, Pls refer to the following cmd:"},
      {"12 2", "note: the second parameters is invalid, Pls refer to the following cmd:"},
      {"12 -1", "note: the second parameters is invalid, Pls refer to the following cmd:"},
  };
  for (const auto& [words, note] : rows) {
    const std::string output = desk::run_command(kelvor_test_qmi_do, words);
    EXPECT_TRUE(said(output, note)) << output;
    EXPECT_EQ(output.substr(output.find('\n') + 1), section) << words;
  }
  // Command 4 alone checks its number first.
  EXPECT_TRUE(said(desk::run_command(kelvor_test_nvefs_do, "3"),
                   "note: the first parameters should be 4, Pls refer to the following cmd:"));
  EXPECT_EQ(requests(), 0u);
}

}  // namespace

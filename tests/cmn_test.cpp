// Command 5 without its eSIM test: diag, card items, the SAR state; words and what they send.

#include <cstring>

#include "platform/idl/vendor_payload.h"
#include "qcci/services/diag.h"
#include "support/command.h"
#include "support/desk.h"

namespace {

using desk::hex;
using desk::said;
using desk::unhex;
using namespace std::chrono_literals;

// The dump of a command: its octets, as lines of " %02X" or " 0x%02X" give them.
std::string dumped(const std::string& output) {
  std::string octets;
  for (const std::string& message : desk::trace_messages(output)) {
    const bool prefixed = message.starts_with(" 0x");
    if (message.size() != (prefixed ? 5u : 3u) || message[0] != ' ') continue;
    if (std::isxdigit(static_cast<unsigned char>(message[1])) == 0) continue;  // a value
    octets += (octets.empty() ? "" : " ") + message.substr(prefixed ? 3 : 1);
  }
  return octets;
}

struct Cmn : desk::Desk {
  static std::string vex(const std::string& words) {
    return desk::run_command(kelvor_test_cmn_do, words);
  }

  desk::Message last_diag() { return passed(sim::FaultKind::kRequest).back(); }

  // The item, length and value that the last request carried, as they lie in its 512 octets.
  std::string last_item(size_t octets) {
    const auto sent = passed(sim::FaultKind::kRequest);
    return hex(std::span(sent.back().octets).subspan(24 + 8, 8 + octets));
  }
};

std::string words(const char* word, int n) {
  std::string text;
  for (int i = 0; i < n; ++i) text += std::string(" ") + word;
  return text;
}

TEST_F(Cmn, WrongWordsGetTheirNoteAndTheSectionAndSendNothing) {
  start_modem();
  const std::string section = desk::output_of([] { kelvor_test_cmn_show_help(5); });
  const std::pair<const char*, const char*> rows[] = {
      {"5", "note: Too few parameters, Pls refer to the following cmd:"},
      {"4 1", "note: the first parameters should be 5, Pls refer to the following cmd:"},
      {"5 9", "note: the second parameters is invalid, Pls refer to the following cmd:"},
      {"5 7", "note: the second parameters is invalid, Pls refer to the following cmd:"},
      {"5 -1", "note: the second parameters is invalid, Pls refer to the following cmd:"},
      {"5 11", "note: the second parameters is invalid, Pls refer to the following cmd:"},
      {"5 0", "note: Too few inputs, Pls refer to the following cmd:"},
      {"5 0 0 0 1000", "note: Too few inputs, Pls refer to the following cmd:"},
      {"5 1 0", "note: need 3 inputs, Pls refer to the following cmd:"},
      {"5 2", "note: need 4 inputs, Pls refer to the following cmd:"},
      {"5 2 0 0", "note: need 4 inputs, Pls refer to the following cmd:"},
      {"5 3 0 1", "note: need 6 inputs, Pls refer to the following cmd:"},
      {"5 3 0 1 1 1", "note: need 6 inputs, Pls refer to the following cmd:"},
      {"5 4 0", "note: need 3 inputs, Pls refer to the following cmd:"},
      {"5 6", "note: need 4 inputs at least, Pls refer to the following cmd:"},
      {"5 6 1", "note: need 7 inputs, Pls refer to the following cmd:"},
      {"5 6 1 2 2", "note: need 7 inputs, Pls refer to the following cmd:"},
      {"5 6 2 2 2 3 4", "note: need 7 inputs, Pls refer to the following cmd:"},
  };
  for (const auto& [line, note] : rows) {
    const std::string output = vex(line);
    EXPECT_TRUE(said(output, note)) << line << "\n" << output;
    EXPECT_NE(output.find(section), std::string::npos) << line;
    EXPECT_EQ(output.find("Error happen"), std::string::npos) << output;
  }
  EXPECT_EQ(requests(), 0u);
}

// ---- diag

TEST_F(Cmn, DiagShowsAnItemAsNvReadDoes) {
  start_modem();
  const std::string item = dumped(desk::run_command(kelvor_test_nvefs_do, "4 1 0 550"));
  EXPECT_EQ(item.size(), 26u);
  for (const char* mode : {"0", "1", "-1"}) {
    const std::string output = vex("5 0 " + std::string(mode) + " 0 1000 0x26 0x26 0x02");
    const bool dci = *mode != '0';
    EXPECT_TRUE(said(output, dci ? "dci mode with result" : "callback mode with result"));
    EXPECT_NE(output.find("rsp data len(133)\nrsp data:\n"), std::string::npos) << output;
    EXPECT_EQ(dumped(output), "26 26 02 " + item + words("00", 128 - 9 + 2)) << output;
    EXPECT_EQ(last_diag().id(), dci ? qcci::kDiagByDci : qcci::kDiagByCallback);
  }
}

TEST_F(Cmn, DiagWordsAreCutToTheirLowOctetsAndToTheFirst4096) {
  start_modem();
  std::string output = vex("5 0 0 0 1000 0x27 600 2 0x1FF -1 256 zz 0XaB");
  for (const char* echo : {"0x27 ", "0x58 ", "0x02 ", "0xFF ", "0x00 ", "0xAB "}) {
    EXPECT_TRUE(said(output, echo)) << echo;
  }
  EXPECT_EQ(dumped(desk::run_command(kelvor_test_nvefs_do, "4 1 0 600")), "FF FF 00 00 AB");
  EXPECT_EQ(directory_.file("nv/0/600"), (std::string("\xFF\xFF\0\0\xAB", 5)));

  output = vex("5 0 1 0 1000" + words("0x7B", 4097));
  EXPECT_TRUE(said(output, "rsp data len(4097)")) << "the bad-command answer repeats it";
  EXPECT_TRUE(dumped(output).starts_with("13 7B 7B"));
}

TEST_F(Cmn, DiagWithoutAResultIsDoneAndHeardNoMore) {
  start_modem();
  const std::pair<const char*, const char*> rows[] = {{"0", "callback mode without result"},
                                                      {"1", "dci mode without result"}};
  for (const auto& [mode, text] : rows) {
    const std::string output = vex("5 0 " + std::string(mode) + " 1 0 0x27 0x58 0x02 " + mode);
    EXPECT_TRUE(said(output, text));
    EXPECT_TRUE(said(output, "done without rsp data"));
    EXPECT_TRUE(said(output, "function exit, ret = 0 <-------------"));
    EXPECT_EQ(dumped(output), "");
    EXPECT_EQ(directory_.file("nv/0/600"), std::string(1, static_cast<char>(*mode - '0')));
    EXPECT_EQ(last_diag().id(), *mode == '1' ? qcci::kDiagByDci : qcci::kDiagByCallback);
    const std::string unanswered = "01 06 00 04 00 27 58 02 0" + std::string(mode) + " 02 01 00 00";
    EXPECT_TRUE(last_diag().tlvs().starts_with(unanswered)) << last_diag().tlvs();
  }
}

TEST_F(Cmn, DiagThatFailsSaysSo) {
  start_modem("[[fault]]\nservice = \"diag\"\naction = \"drop\"\n");
  clock_.run_by_itself();
  const std::pair<const char*, int> rows[] = {
      {"5 0 0 0 700 0x00", -3}, {"5 0 1 1 0 0x00", -3}, {"5 0 0 0 0 0x00", -1}};
  for (const auto& [line, code] : rows) {
    const std::string output = vex(line);
    EXPECT_TRUE(said(output, "kelvor_diag_cmd_send fail"));
    EXPECT_TRUE(said(output, "function exit, ret = " + std::to_string(code) + " <-------------"));
    EXPECT_TRUE(said(output, "note: Error happen! error_code(" + std::to_string(code) + ")"));
    EXPECT_EQ(output.find("cmn option"), std::string::npos) << "no section: the words were right";
  }
  EXPECT_EQ(clock_.passed(), 1700ms);
}

// ---- items of the vendor service

TEST_F(Cmn, ItemsSendTheirValuesAndShowTheirAnswers) {
  start_modem();
  const struct {
    const char* line;
    const char* sent;  // item, length, values
    const char* params;
    const char* answer;
  } rows[] = {
      {"5 1", "27 00 00 00 00 00 00 00", "param(cnt: 0):", "01 00 00 00"},
      {"5 2 0", "37 00 00 00 04 00 00 00 00 00 00 00", "param(cnt: 1):", "01 00 00 00"},
      {"5 2 7", "37 00 00 00 04 00 00 00 01 00 00 00", " 1", "01 00 00 00"},
      {"5 2 x", "37 00 00 00 04 00 00 00 00 00 00 00", " 0", "01 00 00 00"},
      {"5 3 -4 9 0", "39 00 00 00 0C 00 00 00 01 00 00 00 01 00 00 00 00 00 00 00",
       "param(cnt: 3):", "00 00 00 00"},
      {"5 2 1", "37 00 00 00 04 00 00 00 01 00 00 00", " 1", "00 00 00 00"},
      {"5 1", "27 00 00 00 00 00 00 00", "param(cnt: 0):", "01 00 00 00"},
      {"5 3 0 0 0", "39 00 00 00 0C 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00", " 0",
       "00 00 00 00"},
      {"5 1", "27 00 00 00 00 00 00 00", "param(cnt: 0):", "00 00 00 00"},
      {"5 4", "38 00 00 00 00 00 00 00", "param(cnt: 0):", "02 00 00 00"},
      {"5 6 7 -1 2 3", "50 00 00 00 10 00 00 00 07 00 00 00 FF FF FF FF 02 00 00 00 03 00 00 00",
       " -1", "01 00 00 00 00 00 00 00"},
      {"5 6 0", "50 00 00 00 04 00 00 00 00 00 00 00", "opt: 0", "00 00 00 00 00 00 00 00"},
      {"5 6 x 1 2", "50 00 00 00 04 00 00 00 00 00 00 00", "opt: 0", "00 00 00 00 00 00 00 00"},
  };
  for (const auto& row : rows) {
    const std::string output = vex(row.line);
    EXPECT_EQ(last_item(unhex(row.sent).size() - 8), row.sent) << row.line;
    EXPECT_TRUE(said(output, row.params)) << output;
    EXPECT_TRUE(said(output, "result = 0, rsp.result = 0"));
    const size_t length = unhex(row.answer).size();
    EXPECT_NE(output.find("data len(" + std::to_string(length) + ")\ndata:\n"), std::string::npos)
        << output;
    EXPECT_EQ(dumped(output), row.answer) << row.line;
  }
  EXPECT_EQ(
      hex(std::span(passed(sim::FaultKind::kRequest)[1].octets).subspan(7, 29)),
      "01 04 00 04 00 00 00 02 04 00 00 02 00 00 10 00 02 02 00 00 00 00 00 00 00 37 00 00 00");
}

TEST_F(Cmn, ItemsThatFailSayWhere) {
  // The answer's own result lies behind the vendor's: 4 octets into its data.
  start_modem(
      "[[fault]]\nservice = \"vendor\"\naction = \"vendor-error\"\nnth = 1\nresult = 9\n"
      "[[fault]]\nservice = \"vendor\"\naction = \"change\"\nnth = 2\nat = 28\noctets = [5]\n"
      "[[fault]]\nservice = \"vendor\"\naction = \"change\"\nnth = 3\nat = 17\noctets = [7]\n");
  std::string output = vex("5 1");
  EXPECT_TRUE(said(output, "kelvor_cmn_cmd_send, t: 39, l: 0"));
  EXPECT_TRUE(said(output, "result = -3, rsp.result = 0"));
  EXPECT_TRUE(said(output, "kelvor_extend_qmi_send_sync fail"));
  EXPECT_TRUE(said(output, "note: Error happen! error_code(-3)"));
  output = vex("5 1");
  EXPECT_TRUE(said(output, "result = 0, rsp.result = 5"));
  EXPECT_TRUE(said(output, "rsp.result fail"));
  EXPECT_TRUE(said(output, "note: Error happen! error_code(5)"));
  output = vex("5 1");
  EXPECT_NE(output.find("data len(0)\ndata:\n"), std::string::npos)
      << "an answer that ends before its payload\n"
      << output;
}

TEST_F(Cmn, TheTrayIsThePhones) {
  start_modem("");
  vex("5 3 1 1 0");
  EXPECT_TRUE(directory_.file("cards/tray").starts_with("1 1 1 0 0 0 0 0 0 "));
  directory_.write("cards/tray", "1 0 0 1 0 0 0 0 0\n");
  EXPECT_EQ(dumped(vex("5 2 0")), "00 00 00 00");
  EXPECT_EQ(dumped(vex("5 2 1")), "01 00 00 00");
  directory_.write("cards/tray", "1 1 1 1 1 0 3600 1000 0 another-start\n");
  EXPECT_EQ(dumped(vex("5 2 0")), "01 00 00 00") << "a hot-swap test of an earlier start";
  for (const char* broken : {"", "1 0 0", "x", "1 0 0 1 0 0 0 0 99999999999\n"}) {
    directory_.write("cards/tray", broken);
    EXPECT_EQ(dumped(vex("5 2 0")), "01 00 00 00") << broken;
  }
}

TEST_F(Cmn, AHotSwapTestPushesAndPullsInTimeUntilItIsStopped) {
  start_modem();
  const auto present = [] { return dumped(vex("5 2 0")).substr(0, 2); };
  EXPECT_EQ(dumped(vex("5 6 1 2 3 2")), "01 00 00 00 00 00 00 00");
  const std::pair<std::chrono::milliseconds, const char*> rows[] = {
      {1999ms, "01"}, {1ms, "00"},    {2999ms, "00"},  {1ms, "01"},
      {2000ms, "00"}, {3000ms, "01"}, {100000ms, "01"}};
  for (const auto& [pause, state] : rows) {
    clock_.advance(pause);
    EXPECT_EQ(present(), state) << pause.count();
  }
  EXPECT_EQ(dumped(vex("5 6 0")), "00 00 00 00 02 00 00 00") << "it ended by itself";
  vex("5 6 1 2 3 1000");
  clock_.advance(14s);
  EXPECT_EQ(present(), "00");
  EXPECT_EQ(dumped(vex("5 6 0")), "00 00 00 00 02 00 00 00") << "the third is not over";
  EXPECT_EQ(present(), "01");
  EXPECT_EQ(dumped(vex("5 6 1 0 0 5")), "00 00 00 00 00 00 00 00") << "it takes no time";
  vex("5 6 1 1 1 4000000000");
  clock_.advance(1s);
  EXPECT_EQ(present(), "00");
}

TEST_F(Cmn, TheSarStateIsAResultLine) {
  start_modem("[[fault]]\nservice = \"sar\"\naction = \"change\"\nat = 17\noctets = [7]\n");
  EXPECT_NE(("\n" + vex("5 5")).find("\nSAR DSI: 7\n"), std::string::npos);
}

TEST_F(Cmn, WithoutASarServiceTheStateIsMinusOne) {
  start_modem().take_down(0x11);
  clock_.run_by_itself();
  EXPECT_NE(("\n" + vex("5 5 x")).find("\nSAR DSI: -1\n"), std::string::npos);
}

}  // namespace

// The eSIM test of command 5: what it prints for the script that calls it, and when it saves the
// EID.

#include "sim/phone/default_phone.h"
#include "support/command.h"
#include "support/desk.h"
#include "vex/kelvor_vex_esim_test.h"

namespace {

using desk::said;
using namespace std::chrono_literals;

constexpr char kEid[] = "89044099123456789012345678901220";
constexpr char kEidFile[] = "efs/1/nv/item_files/modem/uim/uimdrv/esim_eid";
constexpr char kEnableFile[] = "efs/1/nv/item_files/modem/uim/uimdrv/esim_enable";
constexpr char kEnabled[] = {1, 0, 0, 0};

struct Esim : desk::Desk {
  static std::string vex(const std::string& words) {
    return desk::run_command(kelvor_test_cmn_do, words);
  }

  // The modem of the default phone with one of its lines, or more, written anew and `faults` added.
  sim::Modem& start(std::string_view line = "", std::string_view anew = "",
                    const std::string& faults = "") {
    std::string why;
    EXPECT_TRUE(directory_.phone().prepare(&why)) << why;
    std::string toml = sim::default_phone_toml();
    const size_t at = toml.find(line);
    EXPECT_NE(at, std::string::npos) << line;
    directory_.write("phone.toml", toml.replace(at, line.size(), anew) + faults);
    clock_.run_by_itself();
    return start_written_modem();
  }
};

// ---- what standard output gets

struct OutcomeRow {
  const char* rule;
  bool euicc;  // slot 2 is connected to it from the start
  const char* line;
  const char* anew;  // in its place
  const char* words;
  std::string output;
  std::chrono::milliseconds passed;
  const char* fault = "";  // of the UIM service
  friend void PrintTo(const OutcomeRow& row, std::ostream* out) { *out << row.rule; }
};

std::string eid_line(const char* eid) { return "eID=" + std::string(eid) + "\n"; }

constexpr char kEidKey[] = "eid = \"89044099123456789012345678901220\"";
constexpr char kSim1[] = "[cards.sim1]\nstate = \"present\"";
constexpr char kSim2[] = "[cards.sim2]\nstate = \"present\"";
constexpr char kFailed[] = "value=FAILED\n";
constexpr char kSucceed[] = "value=SUCCEED\n";

const OutcomeRow kOutcomes[] = {
    {"SwitchesToTheEsim", false, "", "", "1 0", eid_line(kEid), 300ms},
    {"NoEid", false, kEidKey, "eid = \"\"", "1 0", kFailed, 3000ms},
    {"AnEuiccThatTakesTheLastAttempt", false, "ready_ms = 250", "ready_ms = 2950", "1 0",
     eid_line(kEid), 3000ms},
    {"AnEuiccThatTakesLonger", false, "ready_ms = 250", "ready_ms = 3050", "1 0", kFailed, 3000ms},
    {"TheHotSwapSwitchDoesNotKeepTheEsimOff", false, kSim2, "[cards.sim2]\nstate = \"absent\"",
     "1 0", eid_line(kEid), 300ms},
    {"SwitchesToTheCard", true, "", "", "2 0", kSucceed, 0ms},
    {"ReadsAnEidThatFailsTheCheckToo", true, kEidKey, "eid = \"89044099123456789012345678901221\"",
     "3 0", eid_line("89044099123456789012345678901221"), 100ms},
    {"ACardHasNoEid", false, "", "", "3 0", kFailed, 200ms},
    {"StatusWithoutACard", false, kSim1, "[cards.sim1]\nstate = \"absent\"", "4 0",
     "card_status, [0, 1]\nABSENT,PRESENT\n", 0ms},
    {"StatusWithABadCard", false, kSim2, "[cards.sim2]\nstate = \"error\"", "4 0",
     "card_status, [1, 2]\nPRESENT,ERROR\n", 0ms},
    {"StatusOfAModemThatKnowsNone", false, "extended_status = true", "extended_status = false",
     "4 0", "card_status, [3, 3]\nUNKNOWN,UNKNOWN\n", 0ms},
    {"ResetOfACardEndsWithoutAWord", false, "", "", "5 0", "", 0ms},
    {"ResetWithoutAChannel", true, "", "", "5 0", "", 3000ms, "message = 0x42\naction = \"drop\""},
    {"ResetRefused", true, "", "", "5 0", kFailed, 0ms,
     "message = 0x3B\naction = \"qmi-error\"\nerror = 48"},
    // A response APDU lies 14 octets into its message: type, length, count, 8 octets.
    {"ResetOfAnotherResult", true, "", "", "5 0", "apdu=08bf340380017f9000\n", 0ms,
     "message = 0x3B\naction = \"change\"\nat = 24\noctets = [0x7F]"},
    {"ResetOfAnotherStatusWord", true, "", "", "5 0", "apdu=08bf34038001006a82\n", 0ms,
     "message = 0x3B\naction = \"change\"\nat = 25\noctets = [0x6A, 0x82]"},
    {"ResetWhoseChannelStaysOpen", true, "", "", "5 0", "apdu=08bf34038001009000\nvalue=SUCCEED\n",
     3000ms, "message = 0x3F\naction = \"drop\""},
    {"ActionZeroIsSkipped", false, "", "", "0 0", "", 0ms},
    {"AWordThatIsNoNumberIsZero", false, "", "", "4 off", "card_status, [1, 1]\nPRESENT,PRESENT\n",
     0ms},
};

struct Outcome : Esim, testing::WithParamInterface<OutcomeRow> {};

TEST_P(Outcome, IsAllThatStandardOutputGetsWithoutDebug) {
  const OutcomeRow& row = GetParam();
  if (row.euicc) directory_.write(kEnableFile, {kEnabled, sizeof kEnabled});
  const std::string fault = "[[fault]]\nservice = \"uim\"\n" + std::string(row.fault) + "\n";
  start(row.line, row.anew, *row.fault != '\0' ? fault : "");
  EXPECT_EQ(vex("5 10 " + std::string(row.words)), row.output);
  EXPECT_EQ(directory_.file("log/system.log"), "");
  EXPECT_EQ(clock_.passed(), row.passed);
  const bool saved = row.words[0] == '1' && row.output.starts_with("eID=");
  EXPECT_EQ(directory_.has(kEidFile), saved);
}

INSTANTIATE_TEST_SUITE_P(Esim, Outcome, testing::ValuesIn(kOutcomes),
                         [](const auto& row) { return row.param.rule; });

// ---- the EID

TEST_F(Esim, TheEidIsSavedWholeOnceInARun) {
  // Requests to the vendor service: two files, the read, the write that is lost.
  start("", "",
        "[[fault]]\nservice = \"vendor\"\nnth = 4\nkind = \"request\"\naction = \"drop\"\n");
  const std::string output = vex("5 10 1 1");
  EXPECT_TRUE(said(output, "save eid efs result = -103")) << output;
  EXPECT_FALSE(said(output, "save eid successfully, set IS_EID_SAVE TRUE"));
  EXPECT_NE(output.find("\n" + eid_line(kEid)), std::string::npos);
  EXPECT_FALSE(directory_.has(kEidFile));
  EXPECT_TRUE(said(vex("5 10 1 1"), "save eid successfully, set IS_EID_SAVE TRUE"));
  EXPECT_EQ(directory_.file(kEidFile).size(), 16u);
  ASSERT_EQ(directory_.phone().efs().remove("1/nv/item_files/modem/uim/uimdrv/esim_eid"), 0);
  EXPECT_TRUE(said(vex("5 10 1 1"), "EID already saved, skip"));
  EXPECT_FALSE(directory_.has(kEidFile));
}

TEST(Eid, IsValidWhenItsDigitsLeaveOneOf97) {
  const std::pair<const char*, int> rows[] = {
      {"89044099123456789012345678901220", 1},
      {"89044099123456789012345678901221", 2},
      {"89044099123456789012345678901219", 0},
      {"89044099123456789012345678902120", 28},
      {"00000000000000000000000000000001", 1},
      {"00000000000000000000000000000098", 1},
      {"00000000000000000000000000000000", 0},
      // A hexadecimal letter counts by its character: 49 for an a.
      {"0000000000000000000000000000004b", 90},
      {"0000000000000000000000000000005a", 2},
  };
  for (const auto& [digits, remainder] : rows) {
    const std::string output = desk::output_of([&, &digits = digits, &remainder = remainder] {
      EXPECT_EQ(is_eid_valid(digits), remainder == 1) << digits;
    });
    EXPECT_TRUE(said(output, remainder == 1
                                 ? "eid validate pass"
                                 : "eid validate failed, result = " + std::to_string(remainder)))
        << output;
  }
}

}  // namespace

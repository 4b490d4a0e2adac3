// The eSIM test of command 5: what it prints for the script that calls it, what the modem gets, and
// what a modem that restarts or says anything makes of it.

#include <utility>

#include "common/trace.h"
#include "platform/idl/uim.h"
#include "platform/kelvor_utils.h"
#include "sim/phone/default_phone.h"
#include "support/command.h"
#include "support/desk.h"
#include "vex/kelvor_vex_esim_test.h"

namespace {

using desk::hex;
using desk::said;
using namespace std::chrono_literals;
using sim::FaultKind;

const auto kUim = uim_get_service_object_internal_v01(1, 109, 6);
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
  sim::Modem& start_with_euicc(std::string_view line = "", std::string_view anew = "",
                               const std::string& faults = "") {
    directory_.write(kEnableFile, {kEnabled, sizeof kEnabled});
    return start(line, anew, faults);
  }

  size_t asked_of_uim() {
    const auto all = passed(FaultKind::kRequest);
    return static_cast<size_t>(std::count_if(
        all.begin(), all.end(), [](const auto& message) { return message.service == "uim"; }));
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
    {"ReadsTheEid", true, "", "", "3 0", eid_line(kEid), 100ms},
    {"ReadsAnEidThatFailsTheCheckToo", true, kEidKey, "eid = \"89044099123456789012345678901221\"",
     "3 0", eid_line("89044099123456789012345678901221"), 100ms},
    {"ACardHasNoEid", false, "", "", "3 0", kFailed, 200ms},
    {"Status", false, "", "", "4 0", "card_status, [1, 1]\nPRESENT,PRESENT\n", 0ms},
    {"StatusWithoutACard", false, kSim1, "[cards.sim1]\nstate = \"absent\"", "4 0",
     "card_status, [0, 1]\nABSENT,PRESENT\n", 0ms},
    {"StatusWithABadCard", false, kSim2, "[cards.sim2]\nstate = \"error\"", "4 0",
     "card_status, [1, 2]\nPRESENT,ERROR\n", 0ms},
    {"StatusOfAModemThatKnowsNone", false, "extended_status = true", "extended_status = false",
     "4 0", "card_status, [3, 3]\nUNKNOWN,UNKNOWN\n", 0ms},
    {"ResetDeletes", true, "", "", "5 0", "apdu=08bf34038001009000\nvalue=SUCCEED\n", 0ms},
    {"ResetOfACardEndsWithoutAWord", false, "", "", "5 0", "", 0ms},
    {"ActionZeroIsSkipped", false, "", "", "0 0", "", 0ms},
    {"NegativeActionsAreSkipped", false, "", "", "-1 0", "", 0ms},
    {"AWordThatIsNoNumberIsZero", false, "", "", "4 off", "card_status, [1, 1]\nPRESENT,PRESENT\n",
     0ms},
};

struct Outcome : Esim, testing::WithParamInterface<OutcomeRow> {};

TEST_P(Outcome, IsAllThatStandardOutputGetsWithoutDebug) {
  const OutcomeRow& row = GetParam();
  row.euicc ? start_with_euicc(row.line, row.anew) : start(row.line, row.anew);
  EXPECT_EQ(vex("5 10 " + std::string(row.words)), row.output);
  EXPECT_EQ(directory_.file("log/system.log"), "");
  EXPECT_EQ(clock_.passed(), row.passed);
  const bool saved = row.words[0] == '1' && row.output.starts_with("eID=");
  EXPECT_EQ(directory_.has(kEidFile), saved);
}

INSTANTIATE_TEST_SUITE_P(Esim, Outcome, testing::ValuesIn(kOutcomes),
                         [](const auto& row) { return row.param.rule; });

// ---- a reset that the card or the modem does not do

struct ResetRow {
  const char* rule;
  const char* fault;
  const char* output;
  size_t requests;
  friend void PrintTo(const ResetRow& row, std::ostream* out) { *out << row.rule; }
};

// A response APDU lies 14 octets into its message, behind the standard result: type, length, count,
// 8 octets.
const ResetRow kResets[] = {
    {"OpenRefused", "message = 0x42\naction = \"qmi-error\"\nerror = 68", "", 1},
    {"OpenNotAnswered", "message = 0x42\naction = \"drop\"", "", 1},
    {"ApduRefused", "message = 0x3B\naction = \"qmi-error\"\nerror = 48", "value=FAILED\n", 2},
    {"ApduNotAnswered", "message = 0x3B\naction = \"drop\"", "value=FAILED\n", 2},
    {"AnotherResult", "message = 0x3B\naction = \"change\"\nat = 24\noctets = [0x7F]",
     "apdu=08bf340380017f9000\n", 2},
    {"AnotherStatusWord", "message = 0x3B\naction = \"change\"\nat = 25\noctets = [0x6A, 0x82]",
     "apdu=08bf34038001006a82\n", 2},
    {"CloseRefused", "message = 0x3F\naction = \"qmi-error\"\nerror = 3",
     "apdu=08bf34038001009000\nvalue=SUCCEED\n", 3},
    {"CloseNotAnswered", "message = 0x3F\naction = \"drop\"",
     "apdu=08bf34038001009000\nvalue=SUCCEED\n", 3},
};

struct Reset : Esim, testing::WithParamInterface<ResetRow> {};

TEST_P(Reset, EndsAtItsStepAndClosesNoChannelBefore) {
  const ResetRow& row = GetParam();
  start_with_euicc("", "", "[[fault]]\nservice = \"uim\"\n" + std::string(row.fault) + "\n");
  EXPECT_EQ(vex("5 10 5 0"), row.output);
  EXPECT_EQ(asked_of_uim(), row.requests);
}

INSTANTIATE_TEST_SUITE_P(Esim, Reset, testing::ValuesIn(kResets),
                         [](const auto& row) { return row.param.rule; });

// ---- a modem that restarts at each place in turn

struct RestartRow {
  const char* words;
  const char* service;
  int nth;
  std::string output;
  friend void PrintTo(const RestartRow& row, std::ostream* out) { *out << row.words; }
};

// The UIM service is found again; the vendor service's client is for life. So an EID that comes
// after the restart is shown, but no file is written any more.
const RestartRow kRestarts[] = {
    {"1", "vendor", 1, ""},
    {"1", "uim", 1, ""},
    {"1", "vendor", 2, kFailed},
    {"1", "uim", 2, kFailed},
    {"1", "uim", 3, eid_line(kEid)},
    {"1", "uim", 4, eid_line(kEid)},
    {"1", "uim", 5, eid_line(kEid)},
    {"1", "vendor", 3, eid_line(kEid)},
    {"1", "vendor", 4, eid_line(kEid)},
    {"2", "vendor", 1, ""},
    {"2", "uim", 1, ""},
    {"2", "vendor", 2, kFailed},
    {"2", "uim", 2, kFailed},
    {"3", "uim", 1, eid_line(kEid)},
    {"4", "uim", 1, "UNKNOWN,UNKNOWN\n"},
    {"5", "uim", 1, ""},
    {"5", "uim", 2, kFailed},
    {"5", "uim", 3, "apdu=08bf34038001009000\nvalue=SUCCEED\n"},
};

struct Restarts : Esim, testing::WithParamInterface<std::tuple<RestartRow, std::string>> {};

TEST_P(Restarts, EndInOneOutcomeAndTheNextTestSucceeds) {
  const auto& [row, kind] = GetParam();
  start_with_euicc("", "",
                   "[[fault]]\naction = \"restart\"\nservice = \"" + std::string(row.service) +
                       "\"\nkind = \"" + kind + "\"\nnth = " + std::to_string(row.nth) + "\n");
  EXPECT_EQ(vex("5 10 " + std::string(row.words) + " 0"), row.output);
  // What was written before the answer was lost is there.
  const bool written =
      kind == "response" && row.nth == 4 && std::string_view(row.service) == "vendor";
  EXPECT_EQ(directory_.has(kEidFile), written);
  clock_.advance(5s);
  // A client that died unused is used once more by the first status.
  vex("5 10 4 0");
  EXPECT_EQ(vex("5 10 4 0").substr(0, 11), "card_status") << "the modem is back";
}

INSTANTIATE_TEST_SUITE_P(Esim, Restarts,
                         testing::Combine(testing::ValuesIn(kRestarts),
                                          testing::Values(std::string("request"),
                                                          std::string("response"))),
                         [](const auto& all) {
                           const RestartRow& row = std::get<0>(all.param);
                           return "Action" + std::string(row.words) + "_" + row.service + "_" +
                                  std::get<1>(all.param) + "_" + std::to_string(row.nth);
                         });

// ---- the EID

TEST_F(Esim, TheEidIsSavedOnceAndAnExistingFileIsKept) {
  start();
  vex("5 10 1 1");
  EXPECT_EQ(directory_.file(kEidFile),
            std::string("\x89\x04\x40\x99\x12\x34\x56\x78\x90\x12\x34\x56\x78\x90\x12\x20"));
  ASSERT_EQ(directory_.phone().efs().remove("1/nv/item_files/modem/uim/uimdrv/esim_eid"), 0);
  EXPECT_TRUE(said(vex("5 10 1 1"), "EID already saved, skip")) << "in one run: at most once";
  EXPECT_FALSE(directory_.has(kEidFile));
}

TEST_F(Esim, AnEidThatCouldNotBeSavedIsTriedAgainAndIsWholeOrAbsent) {
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
    const std::string output =
        desk::output_of([&] { EXPECT_EQ(is_eid_valid(digits), remainder == 1) << digits; });
    EXPECT_TRUE(said(output, remainder == 1
                                 ? "eid validate pass"
                                 : "eid validate failed, result = " + std::to_string(remainder)))
        << output;
  }
}

// ---- the tray and the slots

TEST_F(Esim, ASimThatIsPulledIsAbsentUntilItIsPushed) {
  start();
  vex("5 3 1 1 0");
  EXPECT_NE(vex("5 10 4 1").find("\nPRESENT,ABSENT\n"), std::string::npos);
  vex("5 3 1 1 1");
  EXPECT_NE(vex("5 10 4 1").find("\nPRESENT,PRESENT\n"), std::string::npos);
}

}  // namespace

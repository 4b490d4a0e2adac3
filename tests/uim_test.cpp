// The card operations: over the simulated modem, whose restarts they have to survive, and over one
// that answers whatever the test says.

#include "platform/idl/uim.h"

#include <array>
#include <thread>

#include "common/qcril_mem.h"
#include "platform/qmi_client.h"
#include "qcci/wire/packet.h"
#include "qmi/kelvor_extend_api_uim.h"
#include "support/command.h"
#include "support/process_link.h"
#include "support/scripted_link.h"

namespace {

using desk::output_of;
using desk::said;
using std::chrono::milliseconds;
using Octets = std::vector<uint8_t>;

const auto kUim = uim_get_service_object_internal_v01(1, 109, 6);
constexpr const char* kEsimEnable = "efs/1/nv/item_files/modem/uim/uimdrv/esim_enable";
const std::string kEsimOn("\x01\0\0\0", 4);

// Each operation's block, with octets behind it that nobody is to touch.
template <class Out>
struct Guarded {
  Out out;
  std::array<uint8_t, 64> guard;

  Guarded() { std::memset(this, 0xEE, sizeof *this); }
  std::string octets(size_t count) const {
    return desk::hex({reinterpret_cast<const uint8_t*>(&out), count});
  }
  // Nothing was written from the given octet on, as far as the guard goes.
  bool untouched_from(size_t from) const {
    const auto* all = reinterpret_cast<const uint8_t*>(this);
    return std::all_of(all + from, all + sizeof *this, [](uint8_t octet) { return octet == 0xEE; });
  }
};

// The operations on slot 2, and what they leave.
int32_t power(bool up, uint32_t ignore = 0, uint32_t enable = 1) {
  const kelvor_uim_power_in in{up, 2, ignore, enable};
  return kelvor_esim_request_uicc_power_ex(&in);
}
int32_t power_up() { return power(true); }
int32_t power_down() { return power(false); }

Guarded<kelvor_uim_eid_out> g_eid;
int32_t eid() {
  const kelvor_uim_eid_in in{2};
  g_eid = {};
  return kelvor_uim_request_eid(&in, &g_eid.out);
}
Guarded<kelvor_uim_card_status_out> g_status;
int32_t card_status() {
  g_status = {};
  return kelvor_uim_get_card_status(&g_status.out);
}
Guarded<kelvor_uim_open_channel_out> g_opened;
int32_t open_channel() {
  const kelvor_uim_open_channel_in in{2, 1};
  g_opened = {};
  return kelvor_uim_open_channel(&in, &g_opened.out);
}
int32_t close_channel() {
  const kelvor_uim_close_channel_in in{2, g_opened.out.channel};
  return kelvor_uim_close_channel(&in);
}
Guarded<kelvor_uim_send_apdu_out> g_response;
int32_t send_apdu() {
  const kelvor_uim_send_apdu_in in{
      2, g_opened.out.channel, 13, {0x80, 0xE2, 0x91, 0, 7, 0xBF, 0x34, 4, 0x82, 2, 5, 0xE0, 0}};
  g_response = {};
  return kelvor_uim_send_apdu(&in, &g_response.out);
}

struct Named {
  const char* name;  // as its messages call it
  int32_t (*call)();
  uint16_t message;
};
constexpr Named kOperations[] = {
    {"kelvor_uim_request_uicc_power_ex", power_up, UIM_POWER_UP},
    {"kelvor_uim_request_uicc_power_ex", power_down, UIM_POWER_DOWN},
    {"kelvor_uim_request_eid", eid, UIM_GET_EID},
    {"kelvor_uim_get_card_status", card_status, UIM_CARD_STATUS},
    {"kelvor_uim_open_channel", open_channel, UIM_OPEN_LOGICAL_CHANNEL},
    {"kelvor_uim_close_channel", close_channel, UIM_LOGICAL_CHANNEL},
    {"kelvor_uim_close_channel", send_apdu, UIM_SEND_APDU},
};

// A handle, which is another at every run, ends its line.
std::vector<std::string> lines_of(int32_t (*call)()) {
  std::vector<std::string> lines = desk::trace_messages(output_of(call));
  for (std::string& line : lines) {
    const size_t at = line.find(" 0x");
    if (at != std::string::npos) line.replace(at + 1, std::string::npos, "H");
  }
  return lines;
}
bool has(const std::vector<std::string>& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}
const std::string kRecovery = "uim_qmi_client_recovery qmi_client_release H";
const std::string kNewClient = "init_uim_qmi_client H";

std::string rule(const std::string& what) { return "[[fault]]\nservice = \"uim\"\n" + what + "\n"; }

struct Uim : desk::Desk {
  ~Uim() override { EXPECT_EQ(qcril_mem_blocks(), 0u) << "a block was not given back"; }

  std::vector<desk::Message> uim_requests() {
    auto requests = passed(sim::FaultKind::kRequest);
    std::erase_if(requests, [](const desk::Message& message) { return message.service != "uim"; });
    return requests;
  }
};

TEST_F(Uim, ThePowerRequestsWriteTheWholeEnableFileFirst) {
  start_modem();
  EXPECT_EQ(power(true, 0, 0x04030201), 0);
  EXPECT_EQ(desk::hex(directory_.file(kEsimEnable)), "01 02 03 04");
  EXPECT_EQ(power(false, 0, 0), 0);
  EXPECT_EQ(directory_.file(kEsimEnable), std::string(4, '\0'));
  EXPECT_EQ(power(true, 7), 0);
  EXPECT_EQ(uim_requests().back().tlvs(), "01 01 00 02 10 01 00 01 11 01 00 00");
}

// ---- results

TEST_F(Uim, AFailedSendIsTheClientLibrarysErrorAndCountedByEveryOperation) {
  std::string toml;
  for (size_t i = 0; i < std::size(kOperations); ++i) {
    toml += rule("nth = " + std::to_string(2 * i + 1) + "\naction = \"drop\"");
  }
  sim::Modem& modem = start_modem(toml);
  clock_.run_by_itself();
  for (const Named& row : kOperations) {
    const std::string output = output_of([&] { EXPECT_EQ(row.call(), -3) << row.name; });
    const std::string text = "send msg sync client error = -3";
    const bool power = row.message == UIM_POWER_UP || row.message == UIM_POWER_DOWN;
    EXPECT_TRUE(said(output, power ? text + ", failed_cnt = 1" : text)) << output;
    EXPECT_FALSE(said(output, "QMI error, try recovery")) << row.name;
    EXPECT_TRUE(said(output_of(power_down), "uicc_power_ex res = 0, failed_cnt = 1")) << row.name;
    desk::bounce(modem, kUim);
    EXPECT_EQ(card_status(), -2) << "and another client next";
  }
}

TEST_F(Uim, ThreeFailuresDropTheClientAndTheNextOneClearsTheCount) {
  // Three of the first client's, with an answer among them, and one of the next client's.
  std::string toml;
  for (const char* nth : {"1", "2", "4", "5"}) {
    toml += rule("kind = \"request\"\naction = \"drop\"\nnth = " + std::string(nth));
  }
  sim::Modem& modem = start_modem(toml);
  clock_.run_by_itself();
  EXPECT_FALSE(has(lines_of(eid), kRecovery));
  EXPECT_FALSE(has(lines_of(power_down), kRecovery));
  EXPECT_FALSE(has(lines_of(eid), kRecovery)) << "an answer does not clear the count";
  const auto third = lines_of(power_down);
  EXPECT_TRUE(has(third, "uicc_power_ex res = -3, failed_cnt = 3"));
  EXPECT_TRUE(has(third, "QMI error, try recovery"));
  EXPECT_TRUE(has(third, kRecovery));
  modem.take_down(UIM_SERVICE_ID);
  while (desk::instances(kUim) != 0) std::this_thread::yield();
  const auto without = lines_of(power_down);
  EXPECT_TRUE(has(without, "uicc_power_ex res = -1, failed_cnt = 3"));
  EXPECT_TRUE(has(without, "QMI error, try recovery"));
  EXPECT_TRUE(has(without, "uim_qmi_client_recovery qmi_client_release (nil)"));
  EXPECT_FALSE(has(without, "qmi_client_release failed"));
  modem.bring_up(UIM_SERVICE_ID);
  const auto next = lines_of(power_down);
  EXPECT_TRUE(has(next, kNewClient));
  EXPECT_TRUE(has(next, "uicc_power_ex res = -3, failed_cnt = 1"));
  EXPECT_FALSE(has(next, kRecovery));
  EXPECT_EQ(clock_.passed(), milliseconds(4 * 3000 + 4000));
}

// The handle that a call shows.
qmi_client_type made_by(int32_t (*call)()) {
  const std::string output = output_of(call);
  const char* const shown = output.c_str() + output.find("init_uim_qmi_client 0x");
  void* handle = nullptr;
  std::sscanf(shown, "init_uim_qmi_client %p", &handle);
  return static_cast<qmi_client_type>(handle);
}

TEST_F(Uim, RecoveryGivesTheClientBackAndForgetsOneThatItCannot) {
  sim::Modem& modem = start_modem();
  const qmi_client_type first = made_by(eid);
  desk::bounce(modem, kUim);
  const qmi_client_type second = made_by(eid);
  EXPECT_NE(qmi_client_release(first), 0) << "it was given back";
  EXPECT_EQ(qmi_client_release(second), 0);
  eid();
  eid();
  const auto third = lines_of(eid);
  EXPECT_TRUE(has(third, kRecovery));
  EXPECT_TRUE(has(third, "qmi_client_release failed"));
  EXPECT_EQ(eid(), 0);
}

TEST_F(Uim, NullBlocksAreRefusedBeforeAnythingIsSent) {
  start_modem();
  const kelvor_uim_eid_in slot{2};
  const kelvor_uim_open_channel_in open{2, 1};
  const kelvor_uim_send_apdu_in apdu{};
  EXPECT_EQ(kelvor_esim_request_uicc_power_ex(nullptr), -1);
  EXPECT_EQ(kelvor_uim_request_eid(nullptr, &g_eid.out), -1);
  EXPECT_EQ(kelvor_uim_request_eid(&slot, nullptr), -1);
  EXPECT_EQ(kelvor_uim_get_card_status(nullptr), -1);
  EXPECT_EQ(kelvor_uim_open_channel(nullptr, &g_opened.out), -1);
  EXPECT_EQ(kelvor_uim_open_channel(&open, nullptr), -1);
  EXPECT_EQ(kelvor_uim_close_channel(nullptr), -1);
  EXPECT_EQ(kelvor_uim_send_apdu(nullptr, &g_response.out), -1);
  EXPECT_EQ(kelvor_uim_send_apdu(&apdu, nullptr), -1);
  EXPECT_EQ(requests(), 0u);
}

// ---- a modem that restarts

TEST_F(Uim, AClientThatIsKnownToBeDeadIsReplacedBeforeTheRequestButForCardStatus) {
  sim::Modem& modem = start_modem();
  for (const Named& row : kOperations) {
    card_status();  // a client there is
    const std::string noticed = output_of([&] { desk::bounce(modem, kUim); });
    EXPECT_TRUE(said(noticed, "QMI error callback -2"));
    EXPECT_TRUE(said(noticed, "SSR Detected, set SSR_Detected 1"));
    const size_t before = uim_requests().size();
    const auto lines = lines_of(row.call);
    if (row.message == UIM_CARD_STATUS) {
      EXPECT_FALSE(has(lines, "SSR_Detected, try recovery"));
      EXPECT_EQ(lines[1], "kelvor_uim_get_card_status uim_qmi_client H");
      EXPECT_EQ(lines[2], "send msg sync client error = -2");
      EXPECT_EQ(lines[3], "QMI error, try recovery");
      EXPECT_EQ(lines[4], kRecovery);
      EXPECT_EQ(g_status.octets(2), "03 03");
      EXPECT_EQ(uim_requests().size(), before);
      EXPECT_TRUE(has(lines_of(eid), "SSR_Detected, try recovery")) << "the flag is still set";
    } else {
      EXPECT_EQ(lines[1], "SSR_Detected, try recovery") << row.name;
      EXPECT_EQ(lines[2], kRecovery) << row.name;
      EXPECT_EQ(lines[3], kNewClient) << row.name;
      EXPECT_EQ(lines[4], row.name + std::string(" try init_uim_qmi_client H"));
      EXPECT_EQ(uim_requests().size(), before + 1) << row.name;
    }
    EXPECT_FALSE(has(lines_of(row.call), kRecovery)) << row.name << ": once";
  }
}

// ---- a modem that answers what it likes

// UIM alone, whose answers to each message are the octets given.
struct Answers : testing::Test {
  Answers() {
    auto link = std::make_unique<desk::ScriptedLink>();
    link->services[UIM_SERVICE_ID] = kServer;
    link->instance = 0x0201;  // not the first: any will do
    link->on_request = [this, bus = link.get()](const desk::ScriptedLink::Sent& sent) {
      qcci::QmiHeader header;
      ASSERT_TRUE(qcci::QmiHeader::parse(sent.octets, &header));
      header.type = QMI_IDL_RESPONSE;
      const Octets& answer = answers_[header.message];
      header.length = static_cast<uint16_t>(answer.size());
      std::vector<uint8_t> octets(qcci::kQmiHeader);
      header.write(octets.data());
      octets.insert(octets.end(), answer.begin(), answer.end());
      bus->say(sent.endpoint, kServer, octets);
    };
    desk::use_link(std::move(link));
  }
  // A TLV whose octets are `count` times the same behind a counter of two octets.
  static std::string apdu(uint16_t count) {
    std::vector<uint8_t> tlv = {0x10, static_cast<uint8_t>(count + 2),
                                static_cast<uint8_t>((count + 2) >> 8), static_cast<uint8_t>(count),
                                static_cast<uint8_t>(count >> 8)};
    tlv.resize(tlv.size() + count, 0x5A);
    return desk::hex(tlv);
  }

  static constexpr qcci::Address kServer{1, 7};
  desk::TestClock& clock_ = desk::TestClock::install();
  std::map<uint16_t, Octets> answers_;
};

const std::string kOk = "02 04 00 00 00 00 00 ";

// Cards of the extended status, each of the state and nothing else.
std::string extended(const std::vector<uint8_t>& states) {
  std::vector<uint8_t> tlv = {0x13, static_cast<uint8_t>(3 + 6 * states.size()), 0, 0,
                              0,    static_cast<uint8_t>(states.size())};
  for (const uint8_t state : states) {
    tlv.push_back(state);
    tlv.resize(tlv.size() + 5);
  }
  return desk::hex(tlv);
}

// What the eSIM test prints of the same answers: the EID's, the status's and the reset's.
constexpr char kNoEid[] = "value=FAILED\n";
constexpr char kUnknown[] = "card_status, [3, 3]\nUNKNOWN,UNKNOWN\n";
constexpr char kReset[] = "apdu=08bf34038001009000\nvalue=SUCCEED\n";
constexpr char kEmpty[] = "apdu=000000000000000000\n";
constexpr char kStatusWords[] = "apdu=025a5a000000000000\n";

TEST_F(Answers, NothingBeyondTheCallersBlockIsWrittenAndNoneOfItPrinted) {
  const struct {
    const char* rule;
    int32_t (*call)();
    std::string answer;
    int32_t result;
    std::string written;
    std::string printed;
  } rows[] = {
      {"no EID", eid, kOk, 0, "", kNoEid},
      {"an EID", eid, kOk + "10 11 00 10 89 01 02 03 04 05 06 07 08 09 10 11 12 13 14 15", 0,
       "89 01 02 03 04 05 06 07 08 09 10 11 12 13 14 15", "eID=89010203040506070809101112131415\n"},
      {"a shorter one", eid, kOk + "10 03 00 02 89 01", 0,
       "89 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00", "eID=89010000000000000000000000000000\n"},
      {"an EID of nothing", eid, kOk + "10 01 00 00", 0,
       "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00", kNoEid},
      {"a longer one", eid, kOk + "10 12 00 11 89 01 02 03 04 05 06 07 08 09 10 11 12 13 14 15 16",
       -1, "", kNoEid},
      {"no extended status", card_status, kOk, 0, "03 03", kUnknown},
      {"one of no cards", card_status, kOk + extended({}), 0, "03 03", kUnknown},
      {"one card", card_status, kOk + extended({0}), 0, "00 03",
       "card_status, [0, 3]\nABSENT,UNKNOWN\n"},
      {"two, of any state", card_status, kOk + extended({2, 0xFF}), 0, "02 FF",
       "card_status, [2, 255]\nERROR,UNKNOWN\n"},
      {"six", card_status, kOk + extended({1, 0, 2, 2, 2, 2}), -1, "03 03", "UNKNOWN,UNKNOWN\n"},
      {"no channel", open_channel, kOk, 0, "", kReset},
      {"a channel", open_channel, kOk + "10 01 00 FF", 0, "FF", kReset},
      {"no APDU", send_apdu, kOk, 0, "00", kEmpty},
      {"status words", send_apdu, kOk + apdu(2), 0, "02 5A 5A", kStatusWords},
      {"1024 octets", send_apdu, kOk + apdu(1024), 0, "00 " + desk::hex(Octets(1024, 0x5A)),
       "apdu=005a5a5a5a5a5a5a5a\n"},
      {"1025 octets", send_apdu, kOk + apdu(1025), -1, "", "value=FAILED\n"},
      {"its announcement", send_apdu, kOk + apdu(2) + " 11 03 00 01 02 03", 0, "02 5A 5A",
       kStatusWords},
  };
  clock_.run_by_itself();
  for (const auto& row : rows) {
    const auto operation = std::find_if(std::begin(kOperations), std::end(kOperations),
                                        [&](const Named& named) { return named.call == row.call; });
    answers_ = {{UIM_OPEN_LOGICAL_CHANNEL, desk::unhex(kOk + "10 01 00 01")},
                {UIM_SEND_APDU, desk::unhex(kOk + "10 0A 00 08 00 BF 34 03 80 01 00 90 00")},
                {UIM_LOGICAL_CHANNEL, desk::unhex(kOk)}};
    answers_[operation->message] = desk::unhex(row.answer);
    EXPECT_EQ(row.call(), row.result) << row.rule;
    const size_t written = (row.written.size() + 1) / 3;
    const auto check = [&](const auto& block, const char* action) {
      EXPECT_EQ(block.octets(written), row.written) << row.rule;
      EXPECT_TRUE(block.untouched_from(written)) << row.rule;
      const std::string words = "5 10 " + std::string(action) + " 0";
      EXPECT_EQ(desk::run_command(kelvor_test_cmn_do, words), row.printed) << row.rule;
    };
    if (row.call == eid) check(g_eid, "3");
    if (row.call == card_status) check(g_status, "4");
    if (row.call == open_channel) check(g_opened, "5");
    if (row.call == send_apdu) check(g_response, "5");
  }
}

}  // namespace

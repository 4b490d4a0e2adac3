// The simulated cards as a client of the UIM service meets them: what the slots are connected to,
// their power, logical channels, and what an eUICC does.

#include <algorithm>

#include "platform/idl/uim.h"
#include "platform/qmi_client.h"
#include "support/desk.h"

namespace {

using std::chrono::milliseconds;
using Octets = std::vector<uint8_t>;

const auto kUim = uim_get_service_object_internal_v01(1, 109, 6);
const char* const kEsimEnable = "efs/1/nv/item_files/modem/uim/uimdrv/esim_enable";
const std::string kEsimOn("\x01\0\0\0", 4);
const char* const kIsdR = "A0 00 00 05 59 10 10 FF FF FF FF 89 00 00 01 00";
const char* const kUsim = "A0 00 00 00 87 10 02 FF FF FF FF 89 04 00 00 FF";
const char* const kReset = "80 E2 91 00 07 BF 34 04 82 02 05 E0 00";
const char* const kDone = "BF 34 03 80 01 00 90 00";
const char* const kNothing = "BF 34 03 80 01 01 90 00";
const char* const kWrittenEid = "eid = \"89044099123456789012345678901220\"";
const char* const kDefaultEid = "89 04 40 99 12 34 56 78 90 12 34 56 78 90 12 20";

struct Cards : desk::Desk {
  static qmi_client_type make_client() {
    qmi_client_type client = nullptr;
    EXPECT_EQ(qmi_client_init_instance(kUim, QMI_CLIENT_INSTANCE_ANY, nullptr, nullptr, nullptr, 4,
                                       &client),
              QMI_CLIENT_OK);
    return client;
  }
  // "" or the QMI error.
  template <class Request, class Response>
  std::string ask(uint16_t message, const Request& request, Response* response) {
    if (client_ == nullptr) client_ = make_client();
    const int result = qmi_client_send_msg_sync(client_, message, &request, sizeof request,
                                                response, sizeof *response, 3000);
    if (result != 0) return "failed " + std::to_string(result);
    return response->resp.result == 0 ? "" : "error " + std::to_string(response->resp.error);
  }

  // The modem of a phone whose slot 2 is connected to its eUICC.
  sim::Modem& start_esim(std::string_view toml = "") {
    directory_.write(kEsimEnable, kEsimOn);
    return start_modem(toml);
  }
  // The modem of the default phone with some text replaced.
  void start_changed(std::string_view from, std::string_view to) {
    start_modem();
    std::string toml = directory_.file("phone.toml");
    const size_t at = toml.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    directory_.write("phone.toml", toml.replace(at, from.size(), to));
    start_written_modem();
  }

  std::string eid(uint32_t slot = 2) {
    uim_get_eid_resp response;
    const std::string error = ask(UIM_GET_EID, uim_slot_req{slot}, &response);
    if (!error.empty()) return error;
    return response.eid_valid != 0 ? desk::hex({response.eid, response.eid_len}) : "none";
  }
  std::string power_down(uint32_t slot = 2) {
    uim_plain_resp response;
    return ask(UIM_POWER_DOWN, uim_slot_req{slot}, &response);
  }
  std::string power_up(uint32_t slot = 2, uint8_t ignore = 0) {
    uim_plain_resp response;
    return ask(UIM_POWER_UP, uim_power_up_req{slot, 1, ignore, 1, 0}, &response);
  }
  // Down, up, and as long as the card takes.
  void power_cycle() {
    EXPECT_EQ(power_down(), "");
    EXPECT_EQ(power_up(), "");
    clock_.advance(milliseconds(250));
  }
  // "state.error/applications" of each slot, in the extended status; "none" without one.
  std::string status(uint8_t wanted = 1) {
    static uim_card_status_resp response;
    const std::string error = ask(UIM_CARD_STATUS, uim_card_status_req{wanted, wanted}, &response);
    if (!error.empty() || response.extended_valid == 0) return error.empty() ? "none" : error;
    std::string text;
    for (uint32_t i = 0; i < response.extended.cards_len; ++i) {
      const uim_ext_card& card = response.extended.cards[i];
      text += (i > 0 ? " " : "") + std::to_string(card.state) + "." + std::to_string(card.error) +
              "/" + std::to_string(card.apps_len);
      EXPECT_EQ(card.state, response.status.cards[i].state);
      EXPECT_EQ(card.apps_len, response.status.cards[i].apps_len);
      const auto expected = static_cast<uint16_t>(card.apps_len > 0 ? i << 8 : UIM_NO_SESSION);
      EXPECT_EQ(i == 0 ? response.status.gw_primary : response.status.gw_secondary, expected);
      EXPECT_EQ(i == 0 ? response.status.onex_primary : response.status.onex_secondary,
                UIM_NO_SESSION);
      EXPECT_EQ(response.extended.gw[i], expected);
      EXPECT_EQ(response.extended.onex[i], UIM_NO_SESSION);
    }
    EXPECT_EQ(response.extended.gw_len, response.extended.cards_len);
    EXPECT_EQ(response.extended.onex_len, response.extended.cards_len);
    return text;
  }
  // "channel sw1 sw2 select" of an opening, or the error and the status words.
  std::string open(const std::string& aid = kIsdR, uint32_t slot = 2, uint32_t file_control = 0) {
    uim_open_logical_channel_req request{slot, 0, 0, {}, 1, file_control};
    const Octets octets = desk::unhex(aid);
    request.aid_valid = !octets.empty();
    request.aid_len = static_cast<uint32_t>(octets.size());
    std::copy(octets.begin(), octets.end(), request.aid);
    uim_logical_channel_resp response;
    std::string text = ask(UIM_OPEN_LOGICAL_CHANNEL, request, &response);
    if (response.channel_valid != 0) text += std::to_string(response.channel);
    if (response.card_result_valid != 0) {
      text += " " + desk::hex(Octets{response.sw1, response.sw2});
    }
    if (response.select_valid != 0) text += " " + desk::hex({response.select, response.select_len});
    return text;
  }
  std::string close(uint8_t channel, uint32_t slot = 2) {
    uim_logical_channel_resp response;
    return ask(UIM_LOGICAL_CHANNEL, uim_logical_channel_req{slot, 0, 0, {}, 1, channel, 0, 0, 1, 0},
               &response);
  }
  std::string apdu(const std::string& octets, uint8_t channel = 1, uint32_t slot = 2) {
    static uim_send_apdu_req request;
    request = {slot, 0, {}, 1, channel, 1, 1, 0, {}};
    const Octets sent = desk::unhex(octets);
    request.apdu_len = static_cast<uint32_t>(sent.size());
    std::copy(sent.begin(), sent.end(), request.apdu);
    static uim_send_apdu_resp response;
    const std::string error = ask(UIM_SEND_APDU, request, &response);
    return error.empty() ? desk::hex({response.apdu, response.apdu_len}) : error;
  }

  qmi_client_type client_ = nullptr;
};

TEST_F(Cards, SlotTwoIsWhatTheEnableFileSaysWhenItIsPoweredUp) {
  start_modem();
  EXPECT_EQ(eid(1), "error 94");
  EXPECT_EQ(eid(2), "error 94") << "without the file it is the SIM";
  static const struct {
    std::string file, eid;
  } kRows[] = {
      {kEsimOn, kDefaultEid},
      {std::string(4, '\0'), "error 94"},
      {std::string("\0\0\0\x80", 4), kDefaultEid},
      {"", "error 94"},
  };
  std::string before = "error 94";
  for (const auto& row : kRows) {
    directory_.write(kEsimEnable, row.file);
    EXPECT_EQ(eid(), before) << "the file alone changes nothing";
    power_cycle();
    EXPECT_EQ(eid(), row.eid);
    EXPECT_EQ(eid(1), "error 94") << "slot 1 has no other card";
    before = row.eid;
  }
}

TEST_F(Cards, PowerGoesAndComesWithTheCardsState) {
  start_esim();
  EXPECT_EQ(status(), "1.0/1 1.0/1");
  EXPECT_EQ(power_up(), "error 26") << "it is up";
  EXPECT_EQ(power_down(), "");
  EXPECT_EQ(power_down(), "error 26");
  EXPECT_EQ(status(), "1.0/1 2.1/0") << "an error, whose reason is that it is down";
  EXPECT_EQ(eid(), "error 52");
  EXPECT_EQ(open(), "error 52");
  EXPECT_EQ(power_up(), "");
  clock_.advance(milliseconds(249));
  EXPECT_EQ(status(), "1.0/1 0.0/0") << "not there yet";
  EXPECT_EQ(eid(), "error 52");
  clock_.advance(milliseconds(1));
  EXPECT_EQ(status(), "1.0/1 1.0/1");
  EXPECT_EQ(eid(), kDefaultEid);
  for (const uint32_t slot : {0u, 3u, 255u}) {
    for (const std::string& answer :
         {power_down(slot), power_up(slot), eid(slot), apdu(kReset, 0, slot)}) {
      EXPECT_EQ(answer, "error 48") << slot;
    }
  }
  EXPECT_EQ(status(0), "none") << "an extended status comes when it is wanted";
}

TEST_F(Cards, AnEmptySlotIsPoweredOnlyWhenItsSwitchIsIgnored) {
  start_changed("[cards.sim2]\nstate = \"present\"", "[cards.sim2]\nstate = \"absent\"");
  EXPECT_EQ(status(), "1.0/1 0.0/0");
  EXPECT_EQ(open(kUsim), "error 102");
  directory_.write(kEsimEnable, kEsimOn);
  EXPECT_EQ(power_down(), "");
  EXPECT_EQ(power_up(), "error 102");
  EXPECT_EQ(power_up(2, 1), "");
  clock_.advance(milliseconds(250));
  EXPECT_EQ(eid(), kDefaultEid);
}

struct Change {
  const char *from, *to, *status, *opened, *eid;
  friend void PrintTo(const Change& row, std::ostream* out) { *out << row.to; }
};
const Change kChanges[] = {
    {"extended_status = true", "extended_status = false", "none", "1 90 00", kDefaultEid},
    {"[cards.sim1]\nstate = \"present\"", "[cards.sim1]\nstate = \"error\"\nerror = \"no-atr\"",
     "2.3/0 1.0/1", "error 52", kDefaultEid},
    {kWrittenEid, "eid = \"8904 40\"", "1.0/1 1.0/1", "1 90 00", "89 04 40"},
    {kWrittenEid, "eid = \"\"", "1.0/1 1.0/1", "1 90 00", "none"},
};
struct Changed : Cards, testing::WithParamInterface<Change> {};
TEST_P(Changed, TheCardsAreAsPhoneTomlSays) {
  const Change& row = GetParam();
  directory_.write(kEsimEnable, kEsimOn);
  start_changed(row.from, row.to);
  EXPECT_EQ(status(), row.status);
  EXPECT_EQ(open(kUsim, 1), row.opened);
  EXPECT_EQ(eid(), row.eid);
  ASSERT_EQ(open(), "1 90 00");
  EXPECT_EQ(apdu("80 E2 91 00 06 BF 3E 03 5C 01 5A") == "6A 88", eid() == "none");
}
INSTANTIATE_TEST_SUITE_P(Rows, Changed, testing::ValuesIn(kChanges));

TEST_F(Cards, ACardHasThreeChannelsBesideTheBasicOne) {
  sim::Modem& modem = start_esim();
  EXPECT_EQ(open(), "1 90 00");
  EXPECT_EQ(open(), "2 90 00");
  EXPECT_EQ(open(), "3 90 00");
  EXPECT_EQ(open(), "error 68 6A 81");
  EXPECT_EQ(open(kUsim, 1), "1 90 00") << "the other slot's are its own";
  EXPECT_EQ(close(2), "");
  EXPECT_EQ(close(2), "error 48");
  EXPECT_EQ(close(0), "error 48") << "the basic one stays";
  EXPECT_EQ(close(4), "error 48");
  EXPECT_EQ(apdu(kReset, 2), "error 48");
  EXPECT_EQ(open(), "2 90 00") << "the first that is free";

  qmi_client_release(client_);
  client_ = nullptr;
  EXPECT_EQ(open(), "error 68 6A 81") << "whoever opened them";
  power_cycle();
  EXPECT_EQ(open(), "1 90 00") << "power closes them";
  EXPECT_EQ(open(kUsim, 1), "2 90 00") << "but not the other slot's";
  desk::bounce(modem, kUim);
  client_ = make_client();
  EXPECT_EQ(open(), "1 90 00") << "and so does a restart";
  EXPECT_EQ(open(kUsim, 1), "1 90 00");
}

TEST_F(Cards, ApplicationsAreSelectedByTheBeginningOfTheirName) {
  start_esim();
  const std::string isdr = std::string(" ") + kIsdR;
  static const struct {
    const char* rule;
    const char* aid;
    uint32_t slot, file_control;
    std::string opened;
  } kRows[] = {
      {"whole", kIsdR, 2, 0, "1 90 00"},
      {"without an application", "", 2, 0, "1 90 00"},
      {"its provider's", "A0 00 00 05 59", 2, 0, "1 90 00"},
      {"less than that", "A0 00 00 05", 2, 0, "error 80 6A 82"},
      {"another's", "A0 00 00 05 58", 2, 0, "error 80 6A 82"},
      {"longer", "A0 00 00 05 59 10 10 FF FF FF FF 89 00 00 01 00 00", 2, 0, "error 80 6A 82"},
      {"no SIM has a root security domain", kIsdR, 1, 0, "error 80 6A 82"},
      {"an enabled profile has a USIM", kUsim, 2, 0, "1 90 00"},
      {"with its control parameters", kIsdR, 2, 1, "1 90 00 62 12 84 10" + isdr},
      {"control information", kIsdR, 2, 2, "1 90 00 6F 12 84 10" + isdr},
      {"management data", kIsdR, 2, 4, "1 90 00 64 12 84 10" + isdr},
      {"something else", kIsdR, 2, 9, "1 90 00"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(open(row.aid, row.slot, row.file_control), row.opened) << row.rule;
    close(1, row.slot);
  }
  // The other message opens too; it wants to know which of the two is meant.
  uim_logical_channel_resp response;
  uim_logical_channel_req request{2, 1, 5, {0xA0, 0, 0, 5, 0x59}, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(ask(UIM_LOGICAL_CHANNEL, request, &response), "");
  EXPECT_EQ(response.channel, 1);
  request.channel_valid = request.channel = 1;
  EXPECT_EQ(ask(UIM_LOGICAL_CHANNEL, request, &response), "error 48");
  request.channel_valid = request.aid_valid = 0;
  EXPECT_EQ(ask(UIM_LOGICAL_CHANNEL, request, &response), "error 17");
}

TEST_F(Cards, CommandsAreAnsweredWithStatusWords) {
  start_esim();
  ASSERT_EQ(open(), "1 90 00");
  ASSERT_EQ(open(kUsim), "2 90 00");
  const std::string get_eid = "80 E2 91 00 06 BF 3E 03 5C 01 5A";
  static const struct {
    const char* rule;
    std::string apdu;
    uint8_t channel;
    std::string response;
  } kRows[] = {
      {"the EID", get_eid + " 00", 1, std::string("BF 3E 12 5A 10 ") + kDefaultEid + " 90 00"},
      {"without a length of the response", get_eid, 1,
       std::string("BF 3E 12 5A 10 ") + kDefaultEid + " 90 00"},
      {"with the channel in the class", "81" + get_eid.substr(2), 1,
       std::string("BF 3E 12 5A 10 ") + kDefaultEid + " 90 00"},
      {"another application has no such command", get_eid, 2, "6D 00"},
      {"nor has the basic channel", get_eid, 0, "6D 00"},
      {"another tag", "80 E2 91 00 06 BF 3E 03 5C 01 5B", 1, "6A 80"},
      {"another function", "80 E2 91 00 03 BF 2E 00", 1, "6A 88"},
      {"no function", "80 E2 91 00", 1, "6A 88"},
      {"an object that ends early", "80 E2 91 00 05 BF 3E 04 5C 01", 1, "6A 80"},
      {"an object that goes on", "80 E2 91 00 07 BF 3E 03 5C 01 5A 00", 1, "6A 80"},
      {"a tag alone", "80 E2 91 00 02 BF 34", 1, "6A 80"},
      {"a reset of nothing", "80 E2 91 00 03 BF 34 00", 1, "6A 80"},
      {"a reset without its bits", "80 E2 91 00 06 BF 34 03 82 01 05", 1, "6A 80"},
      {"a reset of bits that there are not", "80 E2 91 00 07 BF 34 04 82 02 08 E0", 1, "6A 80"},
      {"a second block", "80 E2 91 01 06 BF 3E 03 5C 01 5A", 1, "6A 86"},
      {"a length of nothing", "80 E2 91 00 00 00", 1, "67 00"},
      {"a block that is not the last", "80 E2 11 00 06 BF 3E 03 5C 01 5A", 1, "6A 86"},
      {"a length that is not the command's", "80 E2 91 00 07 BF 3E", 1, "67 00"},
      {"half a header", "80 E2 91", 1, "67 00"},
      {"nothing", "", 1, "67 00"},
      {"a class that there is not", "E0 E2 91 00", 1, "6E 00"},
      {"an instruction that there is not", "00 B0 00 00 01", 1, "6D 00"},
      {"the choice of an application", "00 A4 04 00 05 A0 00 00 05 59", 2,
       std::string("6F 12 84 10 ") + kIsdR + " 90 00"},
      {"which is then on that channel", get_eid, 2,
       std::string("BF 3E 12 5A 10 ") + kDefaultEid + " 90 00"},
      {"of one that there is not", "00 A4 04 00 05 A0 00 00 05 58", 2, "6A 82"},
      {"by something else than a name", "00 A4 00 00 02 3F 00", 2, "6A 86"},
  };
  for (const auto& row : kRows) EXPECT_EQ(apdu(row.apdu, row.channel), row.response) << row.rule;
}

TEST_F(Cards, AMemoryResetDeletesProfilesForGoodAndThenFindsNone) {
  sim::Modem& modem = start_esim();
  open();
  EXPECT_EQ(status(), "1.0/1 1.0/1");
  EXPECT_EQ(apdu(kReset), kDone);
  EXPECT_EQ(directory_.file("cards/deleted_profiles"),
            "8988001000000000015\n8988001000000000023\n");
  EXPECT_EQ(status(), "1.0/1 1.0/0") << "the USIM was a profile's";
  EXPECT_EQ(open(kUsim), "error 80 6A 82");
  EXPECT_EQ(apdu(kReset), kNothing);
  desk::bounce(modem, kUim);
  client_ = make_client();
  open();
  EXPECT_EQ(apdu(kReset), kNothing) << "whatever restarts";
}

TEST_F(Cards, AMemoryResetDeletesTheClassesThatItNames) {
  start_changed("class = \"operational\"", "class = \"test\"");
  directory_.write(kEsimEnable, kEsimOn);
  std::string toml = directory_.file("phone.toml");
  toml += "[[cards.euicc.profile]]\niccid = \"8988001000000000031\"\nclass = \"provisioning\"\n";
  directory_.write("phone.toml", toml);
  start_written_modem();
  open();
  static const struct {
    const char* bits;
    const char* response;
    const char* deleted;
  } kRows[] = {
      {"20", kNothing, ""},
      {"40", kDone, "8988001000000000015\n"},
      {"40", kNothing, "8988001000000000015\n"},
      {"80", kDone, "8988001000000000015\n8988001000000000023\n"},
      {"E0", kNothing, "8988001000000000015\n8988001000000000023\n"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(apdu(std::string("80 E2 91 00 07 BF 34 04 82 02 05 ") + row.bits), row.response);
    EXPECT_EQ(directory_.file("cards/deleted_profiles"), row.deleted) << row.bits;
  }
}

TEST_F(Cards, AResetThatCannotBeKeptIsNone) {
  start_esim();
  directory_.write("cards", "not a folder");
  open();
  EXPECT_EQ(apdu(kReset), "BF 34 03 80 01 7F 90 00");
  EXPECT_EQ(status(), "1.0/1 1.0/1") << "the profiles are there";
}

}  // namespace

// The diag library, against the simulated modem and against one that says anything.

#include "platform/diag.h"

#include "qcci/services/assumed.h"
#include "support/desk.h"
#include "support/process_link.h"
#include "support/scripted_link.h"

namespace {

using desk::hex;
using desk::unhex;
using Octets = std::vector<uint8_t>;

struct Answer {
  int32_t result;
  Octets octets;  // what is in the room
};

using WithResult = decltype(&kelvor_diag_cmd_send_with_result_by_callback_mode);
using WithoutResult = decltype(&kelvor_diag_cmd_send_without_result_by_callback_mode);
constexpr WithResult kByCallback = kelvor_diag_cmd_send_with_result_by_callback_mode;
constexpr WithResult kByDci = kelvor_diag_cmd_send_with_result_by_dci_mode;

constexpr uint8_t kUntouched = 0xEE;

// Sends a command with so much room; what a failure leaves in the room and its length is checked.
Answer ask(WithResult send, const Octets& command, uint32_t room = KELVOR_DIAG_RSP_MAX,
           int32_t time_out = 1000) {
  Octets rsp(room + 1, kUntouched);
  uint32_t length = room;
  const int32_t result =
      send(command.data(), static_cast<uint32_t>(command.size()), time_out, rsp.data(), &length);
  EXPECT_LE(length, room);
  EXPECT_EQ(rsp[result == 0 ? length : 0], kUntouched);
  if (result != 0) {
    EXPECT_EQ(length, room);
  }
  rsp.resize(result == 0 ? length : 0);
  return {result, rsp};
}

struct Diag : desk::Desk {
  void set_item(int id, const char* octets) const {
    const Octets item = unhex(octets);
    directory_.write("nv/0/" + std::to_string(id),
                     {reinterpret_cast<const char*>(item.data()), item.size()});
  }
};

std::string repeated(const char* octet, size_t n) {
  std::string text;
  for (size_t i = 0; i < n; ++i) text += (i > 0 ? " " : "") + std::string(octet);
  return text;
}

TEST_F(Diag, TheStatusOfAnItemSaysWhatIsWrongWithIt) {
  start_modem();
  const auto status = [](const char* command) {
    const Octets octets = ask(kByCallback, unhex(command)).octets;
    EXPECT_EQ(octets.size(), 133u);
    return octets[131] | octets[132] << 8;
  };
  EXPECT_EQ(status("26 26 02"), 0) << "550";
  EXPECT_EQ(status("26 59 02"), 5) << "never written";
  EXPECT_EQ(status("26 41 1C"), 6) << "7233 is no item";
  EXPECT_EQ(status("27 41 1C 01"), 6);
  EXPECT_EQ(status("27 40 1C 01"), 0) << "7232 is the last one";
  EXPECT_FALSE(directory_.has("nv/0/7233"));
  set_item(600, repeated("0A", 129).c_str());
  EXPECT_EQ(status("26 58 02"), 0) << "longer than the field: cut";
  ASSERT_EQ(directory_.phone().nv().write("0/601/x", ""), 0);
  EXPECT_EQ(status("27 59 02 01"), 4) << "a folder stands there";
}

TEST_F(Diag, TheLongestCommandIsSentWhole) {
  start_modem();
  const Octets longest(KELVOR_DIAG_CMD_MAX, 0x7B);
  EXPECT_EQ(ask(kByCallback, longest, 4097).octets.size(), 4097u);
  EXPECT_EQ(ask(kByCallback, longest, 4096).result, KELVOR_DIAG_BAD_ANSWER);
  EXPECT_EQ(ask(kByCallback, longest, 0).result, KELVOR_DIAG_BAD_ANSWER);
  const Octets sent = passed(sim::FaultKind::kRequest).at(0).octets;
  EXPECT_EQ(hex(std::span(sent).subspan(7, 6)), "01 02 10 00 10 7B");
}

TEST_F(Diag, AnswersEndAtTheirLongest) {
  auto link = std::make_unique<desk::ScriptedLink>();
  desk::ScriptedLink* bus = link.get();
  bus->services[qcci::assumed::diag::kServiceId] = {1, 7};
  size_t packet = 0;
  bus->on_request = [&](const desk::ScriptedLink::Sent& request) {
    Octets answer = unhex("02 00 00 01 00 00 00 02 04 00 00 00 00 00 11 00 00 00 00");
    const auto put = [&](size_t at, size_t value) {
      answer[at] = static_cast<uint8_t>(value);
      answer[at + 1] = static_cast<uint8_t>(value >> 8);
    };
    std::copy_n(request.octets.begin() + 1, 2, answer.begin() + 1);
    put(5, 12 + packet);
    put(15, 2 + packet);
    put(17, packet);
    answer.resize(answer.size() + packet, 0x5A);
    bus->say(request.endpoint, {1, 7}, answer);
  };
  desk::use_link(std::move(link));
  clock_.run_by_itself();
  packet = KELVOR_DIAG_RSP_MAX;
  const auto [result, octets] = ask(kByCallback, {0x00});
  EXPECT_EQ(result, 0);
  EXPECT_EQ(octets, Octets(KELVOR_DIAG_RSP_MAX, 0x5A));
  for (const size_t bad : {KELVOR_DIAG_RSP_MAX + 1, 0}) {
    packet = bad;
    EXPECT_EQ(ask(kByCallback, {0x00}).result, KELVOR_DIAG_BAD_ANSWER) << bad;
  }
  EXPECT_EQ(ask(kByDci, {0x00}).result, KELVOR_DIAG_TIMED_OUT) << "another mode's answer";
}

}  // namespace

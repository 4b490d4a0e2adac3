#include "vex/kelvor_vex_esim_test.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string_view>

#include "common/result.h"
#include "common/trace.h"
#include "platform/clock.h"
#include "platform/kelvor_utils.h"
#include "qmi/efs_path.h"
#include "qmi/kelvor_extend_api.h"
#include "qmi/kelvor_extend_api_uim.h"
#include "vex/codes/result_codes.h"
#include "vex/record.h"
#include "vex/text.h"

namespace {

// Words of the argument vector.
constexpr int kWordEsimOn = 3;
constexpr int kWordDebugOn = 4;

constexpr uint8_t kSlot = 2;  // the one that has a card and an eUICC
constexpr uint32_t kPollMs = 100;
constexpr int kSwitchAttempts = 30;  // three seconds, for an eUICC that has just been powered up
constexpr int kReadAttempts = 2;     // of an eUICC that is up already
constexpr uint8_t kFcp = 1;          // UIM_FILE_CONTROL_FCP

constexpr uint32_t kEidFileSub = 1;  // as that of the file esim_enable beside it
constexpr qmi::EfsPath kEidFile{"/nv/item_files/modem/uim/uimdrv/esim_eid"};

constexpr kelvor_uim_power_in kCardOff{0, kSlot, 0, 0};
constexpr kelvor_uim_power_in kEsimOn{1, kSlot, 1, 1};
constexpr kelvor_uim_power_in kEsimOff{0, kSlot, 0, 1};
constexpr kelvor_uim_power_in kCardOn{1, kSlot, 0, 0};

// eUICC memory reset (SGP.22 ES10c) in a STORE DATA.
constexpr kelvor_uim_send_apdu_in kMemoryReset{
    kSlot, 0, 13, {0x80, 0xE2, 0x91, 0x00, 0x07, 0xBF, 0x34, 0x04, 0x82, 0x02, 0x05, 0xE0, 0x00}};
constexpr size_t kShownOfApdu = 1 + 8;  // its length and the first octets of the response

// One call a line, so that no trace line of another thread comes between.
__attribute__((format(printf, 1, 2))) void print_result(const char* format, ...) {
  char line[128];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  std::printf("%s\n", line);
}

template <size_t N>
struct Hex {
  explicit Hex(const uint8_t* octets) { kelvor_byte_to_hex(octets, int32_t{N}, text); }
  char text[2 * N + 1] = {};
};
using EidText = Hex<KELVOR_UIM_EID_SIZE>;

// An EID is received when its first octet is not 0, whatever the request's result.
bool poll_eid(int attempts, kelvor_uim_eid_out* out) {
  const kelvor_uim_eid_in in{kSlot};
  int result = 0;
  for (int loop = 0; loop < attempts; ++loop) {
    platform_sleep_ms(kPollMs);
    TRACE_INFO("try get eid loop = %d", loop);
    result = kelvor_uim_request_eid(&in, out);
    if (out->eid[0] != 0) return true;
  }
  vex::note_uim(result);
  // A card that answers without an EID has refused nothing.
  result::fail(result::Layer::kQmi, result::kIncomplete);
  return false;
}

int power_down(const kelvor_uim_power_in& in) {
  const int res = vex::note_uim(kelvor_esim_request_uicc_power_ex(&in));
  TRACE_INFO("POWER_DOWN_UIM2 res = %d", res);
  return res;
}

int switch_to_esim() {
  TRACE_INFO("switch to eSIM");
  int res = power_down(kCardOff);
  if (res != 0) return res;
  res = vex::note_uim(kelvor_esim_request_uicc_power_ex(&kEsimOn));
  TRACE_INFO("POWER_UP_UIM2 res = %d", res);
  if (res != 0) {
    print_result("value=FAILED");
    return res;
  }
  kelvor_uim_eid_out out{};
  if (!poll_eid(kSwitchAttempts, &out)) {
    TRACE_INFO("get eid timeout");
    print_result("value=FAILED");
    return 0;
  }
  const EidText eid(out.eid);
  if (!is_eid_valid(eid.text)) {
    print_result("value=FAILED - %s", eid.text);
    result::fail(result::Layer::kTool, vex::TOOL_EID_INVALID);
    return 0;
  }
  save_eid_to_efs(out.eid);
  print_result("eID=%s", eid.text);
  result::text("eid", eid.text);
  return 0;
}

int switch_to_card() {
  TRACE_INFO("switch to SIM2");
  int res = power_down(kEsimOff);
  if (res != 0) return res;
  res = vex::note_uim(kelvor_esim_request_uicc_power_ex(&kCardOn));
  if (res != 0) {
    print_result("value=FAILED");
    return res;
  }
  TRACE_INFO("SIM2 Power Up successfully");
  print_result("value=SUCCEED");
  return 0;
}

int read_eid() {
  TRACE_INFO("kelvor get eid");
  kelvor_uim_eid_out out{};
  if (poll_eid(kReadAttempts, &out)) {
    print_result("eID=%s", EidText(out.eid).text);
    result::text("eid", EidText(out.eid).text);
  } else {
    print_result("value=FAILED");
  }
  return 0;
}

void map_sim_state(const kelvor_uim_card_status_out& status) {
  const Operation operation(__func__);
  static constexpr const char* kNames[] = {"ABSENT", "PRESENT", "ERROR"};
  const auto name = [](uint8_t state) {
    return state < std::size(kNames) ? kNames[state] : "UNKNOWN";
  };
  TRACE_INFO("map_sim_state ...");
  print_result("%s,%s", name(status.state[0]), name(status.state[1]));
  result::text("card_1", name(status.state[0]));
  result::text("card_2", name(status.state[1]));
}

int card_status() {
  TRACE_INFO("try get simcard status");
  kelvor_uim_card_status_out out{};
  const int res = vex::note_uim(kelvor_uim_get_card_status(&out));
  if (res == 0) print_result("card_status, [%d, %d]", out.state[0], out.state[1]);
  map_sim_state(out);
  return res;
}

bool check_reset(const char* shown) {
  static constexpr struct {
    std::string_view shown;
    const char* message;
  } kAnswers[] = {
      {"08bf34038001009000", "kelvor_uim_send_apdu, delete profile successfully."},
      {"08bf34038001019000", "kelvor_uim_send_apdu, nothing to delete."},
  };
  for (const auto& answer : kAnswers) {
    if (answer.shown != shown) continue;
    TRACE_INFO("%s", answer.message);
    return true;
  }
  TRACE_ERROR("kelvor_uim_send_apdu, apdu rsp check failed.");
  return false;
}

int reset_euicc() {
  TRACE_INFO("Start eUICC Reset");
  const kelvor_uim_open_channel_in opening{kSlot, kFcp};
  kelvor_uim_open_channel_out opened{};
  int res = vex::note_uim(kelvor_uim_open_channel(&opening, &opened));
  TRACE_INFO("kelvor_uim_open_channel res = %d, channel_id = %d", res, opened.channel);
  if (res != 0) return res;
  kelvor_uim_send_apdu_in reset = kMemoryReset;
  reset.channel = opened.channel;
  kelvor_uim_send_apdu_out response{};
  res = vex::note_uim(kelvor_uim_send_apdu(&reset, &response));
  TRACE_INFO("kelvor_uim_send_apdu res = %d", res);
  if (res != 0) {
    print_result("value=FAILED");
    return res;
  }
  uint8_t shown_octets[kShownOfApdu] = {response.length};
  std::copy_n(response.apdu, kShownOfApdu - 1, shown_octets + 1);
  const Hex<kShownOfApdu> shown(shown_octets);
  print_result("apdu=%s", shown.text);
  result::octets("apdu", shown_octets, sizeof shown_octets);
  if (!check_reset(shown.text)) {
    result::fail(result::Layer::kTool, vex::TOOL_RESET_NOT_CONFIRMED);
    return 0;
  }
  const kelvor_uim_close_channel_in closing{kSlot, opened.channel};
  res = vex::note_uim(kelvor_uim_close_channel(&closing));
  TRACE_INFO("kelvor_uim_close_channel res = %d", res);
  print_result("value=SUCCEED");
  return res;
}

constexpr int (*kActions[])() = {switch_to_esim, switch_to_card, read_eid, card_status,
                                 reset_euicc};

}  // namespace

extern "C" int kelvor_cmn_esim_test(int argc, char** argv) {
  const Operation operation(__func__);
  if (argc <= kWordDebugOn) {
    result::usage();
    return TRACED_ERROR(0, "invalid input");
  }
  if (std::atoi(argv[kWordDebugOn]) == 0) {
    kelvor_hal_close_print();
    kelvor_extend_set_trace(0);
  }
  const int esim_on = std::atoi(argv[kWordEsimOn]);
  if (esim_on < 1 || esim_on > static_cast<int>(std::size(kActions))) {
    result::usage();
    return TRACED_ERROR(0, "invalid input skip");
  }
  return kActions[esim_on - 1]();
}

extern "C" bool is_eid_valid(const char* eid) {
  const Operation operation(__func__);
  TRACE_INFO("check whether eid valid");
  int result = 0;
  for (; *eid != '\0'; ++eid) result = (result * 10 + (*eid - '0')) % 97;
  if (result != 1) return TRACED_ERROR(false, "eid validate failed, result = %d", result);
  TRACE_INFO("eid validate pass");
  return true;
}

extern "C" void save_eid_to_efs(const uint8_t* eid) {
  const Operation operation(__func__);
  static bool is_eid_save = false;
  if (is_eid_save) {
    TRACE_INFO("EID already saved, skip");
    return;
  }
  uint8_t saved[KELVOR_UIM_EID_SIZE];
  uint32_t length = sizeof saved;
  int res = kelvor_efs_read(kEidFileSub, kEidFile, saved, &length);
  // A file that is longer than an EID, or that came in part, is there too.
  if (res == KELVOR_NVEFS_OK || res == KELVOR_NVEFS_BAD_LENGTH) {
    TRACE_INFO("EID already exists, set IS_EID_SAVE TRUE");
    is_eid_save = true;
    return;
  }
  TRACE_INFO("efs read failed and try save it. error_code : %d", res);
  res = kelvor_efs_write(kEidFileSub, kEidFile, eid, KELVOR_UIM_EID_SIZE);
  TRACE_INFO("save eid efs result = %d", res);
  vex::note_nvefs(res);
  if (res != 0) return;
  TRACE_INFO("save eid successfully, set IS_EID_SAVE TRUE");
  is_eid_save = true;
}

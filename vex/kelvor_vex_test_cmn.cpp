// Command 5: common commands. Command 6: raw vendor requests.

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

#include "common/result.h"
#include "common/trace.h"
#include "platform/diag.h"
#include "platform/idl/vendor.h"
#include "platform/idl/vendor_payload.h"
#include "qmi/kelvor_extend_api.h"
#include "qmi/kelvor_extend_cmn.h"
#include "vex/codes/result_codes.h"
#include "vex/command.h"
#include "vex/commands.h"
#include "vex/kelvor_vex_esim_test.h"
#include "vex/record.h"
#include "vex/text.h"

namespace {

using vex::Call;
using vex::kWordOwn;

// ---- diag

constexpr int kWordMode = kWordOwn;
constexpr int kWordType = kWordMode + 1;
constexpr int kWordTimeOut = kWordMode + 2;
constexpr int kWordCommand = kWordMode + 3;

std::vector<uint8_t> diag_command(const Call& call) {
  std::vector<uint8_t> command;
  const int end = std::min(call.argc, kWordCommand + KELVOR_DIAG_CMD_MAX);
  for (int i = kWordCommand; i < end; ++i) {
    command.push_back(static_cast<uint8_t>(kelvor_string_to_int(call.argv[i])));
    TRACE_INFO("0x%02X ", command.back());
  }
  return command;
}

int send_with_result(bool dci, const std::vector<uint8_t>& command, int time_out) {
  std::vector<uint8_t> rsp(KELVOR_DIAG_RSP_MAX);
  auto rsp_len = static_cast<uint32_t>(rsp.size());
  TRACE_INFO(dci ? "dci mode with result" : "callback mode with result");
  const auto send = dci ? kelvor_diag_cmd_send_with_result_by_dci_mode
                        : kelvor_diag_cmd_send_with_result_by_callback_mode;
  const int result =
      send(command.data(), static_cast<uint32_t>(command.size()), time_out, rsp.data(), &rsp_len);
  if (result != 0) return result;
  rsp_len = std::min(rsp_len, static_cast<uint32_t>(rsp.size()));
  TRACE_INFO("rsp data len(%d)\nrsp data:", rsp_len);
  for (uint32_t i = 0; i < rsp_len; ++i) TRACE_INFO(" 0x%02X", rsp[i]);
  result::octets("response", rsp.data(), rsp_len);
  return 0;
}

int send_without_result(bool dci, const std::vector<uint8_t>& command) {
  TRACE_INFO(dci ? "dci mode without result" : "callback mode without result");
  const auto send = dci ? kelvor_diag_cmd_send_without_result_by_dci_mode
                        : kelvor_diag_cmd_send_without_result_by_callback_mode;
  const int result = send(command.data(), static_cast<uint32_t>(command.size()));
  if (result == 0) TRACE_INFO("done without rsp data");
  return result;
}

int kelvor_cmn_diag_cmd_send(const Call& call) {
  return traced(__func__, [&call] {
    if (call.argc <= kWordCommand) {
      TRACE_ERROR("note: Too few inputs, Pls refer to the following cmd:");
      return call.refuse();
    }
    const bool dci = call.number(kWordMode) != 0;
    const bool without_result = call.number(kWordType) != 0;
    const int time_out = call.number(kWordTimeOut);
    const std::vector<uint8_t> command = diag_command(call);
    const int result = without_result ? send_without_result(dci, command)
                                      : send_with_result(dci, command, time_out);
    if (result != 0) TRACE_ERROR("kelvor_diag_cmd_send fail");
    return result::fail(result::Layer::kDiag, result);
  });
}

// ---- items of the vendor service

void dump(std::span<const uint8_t> data) {
  TRACE_INFO("data len(%d)\ndata:", static_cast<int>(data.size()));
  for (const uint8_t octet : data) TRACE_INFO(" %02X", octet);
  result::octets("data", data.data(), data.size());
}

// Sends item t with a value of l octets, at most KELVOR_COMMON_VALUE_ROOM, and has `show` print the
// data of the answer. 0, or the error of the sending, or the modem's own.
int kelvor_cmn_cmd_send(uint32_t t, uint32_t l, const void* v,
                        void (*show)(std::span<const uint8_t> data) = dump) {
  const Operation operation(__func__);
  kelvor_common_item_req request{};
  request.command = KELVOR_COMMON_ITEM;
  request.t = t;
  request.l = l;
  if (l != 0) std::memcpy(request.v, v, l);
  TRACE_INFO("kelvor_cmn_cmd_send, t: %d, l: %d", t, l);
  kelvor_common_rsp rsp{};
  uint32_t rsp_len = sizeof rsp;
  const int result =
      kelvor_extend_qmi_send_sync(REQUEST_ID_COMMON, &request, sizeof request, &rsp, &rsp_len);
  TRACE_INFO("result = %d, rsp.result = %d", result, rsp.result);
  vex::note_common(result, &rsp);
  if (result != 0) return TRACED_ERROR(result, "kelvor_extend_qmi_send_sync fail");
  if (rsp.result != 0) return TRACED_ERROR(rsp.result, "rsp.result fail");
  constexpr uint32_t kHead = offsetof(kelvor_common_rsp, payload);
  show(std::span(rsp.payload, rsp_len > kHead ? rsp_len - kHead : 0));
  return 0;
}

uint32_t as_flag(int word) { return word != 0; }
uint32_t as_number(int word) { return static_cast<uint32_t>(word); }

// What a row runs whose item's values are its words: n of them, each as `value_of` makes it. The
// sender's name is the trace's.
template <uint32_t kItem, int n>
int send_words(TraceSite sender, const Call& call, uint32_t (*value_of)(int),
               void (*show)(std::span<const uint8_t> data) = dump) {
  const Operation operation(sender);
  if (!call.has_exactly(kWordOwn + n)) return call.refuse();
  constexpr int kValuesMax = 4;
  static_assert(n <= kValuesMax);
  uint32_t values[kValuesMax];
  TRACE_INFO("param(cnt: %d):", n);
  for (int i = 0; i < n; ++i) {
    values[i] = value_of(call.number(kWordOwn + i));
    TRACE_INFO(" %d", values[i]);
  }
  return kelvor_cmn_cmd_send(kItem, n * sizeof values[0], values, show);
}

// The card items, which the trace names after the command that they have in common.
template <uint32_t kItem, int n>
int card_item(const Call& call) {
  return send_words<kItem, n>("kelvor_cmn_card_status_cmd", call, as_flag);
}

int kelvor_cmn_card_hotswap_test(const Call& call) {
  const Operation operation(__func__);
  constexpr int kWordsToStop = kWordOwn + 1;
  if (call.argc < kWordsToStop) {
    TRACE_ERROR("note: need %d inputs at least, Pls refer to the following cmd:", kWordsToStop);
    return call.refuse();
  }
  const int opt = call.number(kWordOwn);
  TRACE_INFO("opt: %d", opt);
  constexpr uint32_t kItem = KELVOR_COMMON_ITEM_HOT_SWAP;
  if (opt != 0) return send_words<kItem, 4>("kelvor_cmn_card_status_cmd_ex", call, as_number);
  const uint32_t stop = 0;
  return kelvor_cmn_cmd_send(kItem, sizeof stop, &stop);
}

// ---- the rest

int kelvor_cmn_test_get_sar_dsi(const Call& /*call*/) {
  const Operation operation(__func__);
  const int32_t dsi = kelvor_get_sar_dsi();
  TRACE_USAGE("SAR DSI: %d", dsi);
  if (dsi == vex::SAR_NO_STATE) return result::fail_by_cause(result::Layer::kSar, dsi), 0;
  result::fail_if_refused();
  result::number("sar_dsi", dsi);
  return 0;
}

constexpr vex::UsageRow kDiagRows[] = {
    {"                                 /* diag cmd */"},
    {"                                    mode: 0 - callback, 1 - dci; "},
    {"                                    type: 0 - with result, 1 - without result; "},
    {"                                    time_out: set time - with result, set 0 - without "
     "result. unit:ms */"},
    {"                                    cmd_cnt: diag cmd bytes */"},
};
constexpr vex::UsageRow kHotSwapRows[] = {
    {"                                    opt: 0 - stop hotswap test, 1 - start hotswap test "},
    {"                                    option_list(when opt is 1 for blew inputs): "},
    {"                                      seconds_after_push : the seconds of waiting after push "
     "the card slot "},
    {"                                      seconds_after_pull : the seconds of waiting after pull "
     "the card slot "},
    {"                                      count_push_and_pull: the count of push and pull the "
     "card slot "},
};
constexpr vex::UsageRow kEsimRows[] = {
    {"                                    esim_on  : 1 - switch to eSIM,2 - switch to PSIM2 "},
    {"                                    debug_on : 0 - disable log print,1 - enable log print "},
};
constexpr vex::Row kRows[] = {
    {{"   vex %d %d mode type time_out cmd_cnt", 0}, kelvor_cmn_diag_cmd_send, kDiagRows},
    {{"   vex %d %d                       /* card status query: 0 - absent, 1 - present", 1},
     card_item<KELVOR_COMMON_ITEM_CARD_QUERY, 0>},
    {{"   vex %d %d sub                   /* card status get, sub: 0 or 1; ret: 0 - absent, 1 - "
      "present */",
      2},
     card_item<KELVOR_COMMON_ITEM_CARD_GET, 1>},
    {{"   vex %d %d sub mode set_val      /* card status set, sub: 0 or 1; mode: 0 - general, 1 - "
      "sim; set_val: 0 - low, 1 - high */",
      3},
     card_item<KELVOR_COMMON_ITEM_CARD_SET, 3>},
    {{"   vex %d %d                       /* card type query: 0 - err, 1 - single sim, 2 - mult "
      "sim */",
      4},
     card_item<KELVOR_COMMON_ITEM_CARD_TYPE, 0>},
    {{"   vex %d %d                       /* get sar dsi */", 5}, kelvor_cmn_test_get_sar_dsi},
    {{"   vex %d %d opt option_list       /* card slot hotswap test */", 6},
     kelvor_cmn_card_hotswap_test,
     kHotSwapRows},
    {{"   vex %d %d esim_on debug_on     /* set esim state */", 10},
     [](const Call& call) { return kelvor_cmn_esim_test(call.argc, call.argv); },
     kEsimRows},
};
constexpr vex::Command kCommon{.number = vex::kCommandCommon,
                               .title = "%d: cmn option cmd: ",
                               .rows = kRows,
                               .show_help = kelvor_test_cmn_show_help,
                               .reports_errors = true};

// ---- raw vendor requests

constexpr int kWordRequestId = 2;
constexpr int kWordOctets = 3;
constexpr uint32_t kRequestIds = 6;  // 0 to 5
constexpr int kSendMax = 500;        // octets of a request, and of its response

int send_octets(const Call& call) {
  const int qmi_id = call.number(kWordRequestId);
  const auto request_id = static_cast<uint32_t>(qmi_id);
  if (request_id >= kRequestIds) {
    TRACE_ERROR("note: the second parameters(qmi_id) should be >= %d && < %d", 0, kRequestIds);
    return call.refuse();
  }
  uint8_t request[kSendMax];
  const int count = std::min(call.argc - kWordOctets, kSendMax);
  TRACE_INFO("mi_qmi req data(qmi_id: %d, len: %d[max: %d]):", qmi_id, count, kSendMax);
  for (int i = 0; i < count; ++i) {
    request[i] = static_cast<uint8_t>(kelvor_string_to_int(call.argv[kWordOctets + i]));
    TRACE_INFO("0x%02X ", request[i]);
  }
  uint8_t response[kSendMax] = {};
  uint32_t length = sizeof response;
  const int result = kelvor_extend_qmi_send_sync(request_id, request, static_cast<uint32_t>(count),
                                                 response, &length);
  TRACE_INFO("qmi_id = %d, result = %d", qmi_id, result);
  result::fail(result::Layer::kVendor, result);
  if (result != 0) return TRACED_ERROR(result, "kelvor_extend_qmi_send_sync fail");
  TRACE_INFO("mi_qmi rsp data(qmi_id: %d, len: %d[max: %d]):", qmi_id, length, kSendMax);
  for (uint32_t i = 0; i < length; ++i) TRACE_INFO(" %02X", response[i]);
  TRACE_INFO("%s", "");
  result::octets("response", response, length);
  return 0;
}

constexpr vex::Row kSendRows[] = {
    {"   vex %d qmi_id qmi_data         /* qmi_id: Any binary data you will send */\n"},
};
constexpr vex::Command kQmiSend{.number = vex::kCommandQmiSend,
                                .title = "%d: kelvor qmi send_data\n",
                                .rows = kSendRows,
                                .show_help = kelvor_test_qmi_send_data_show_help,
                                .least_words = kWordOctets + 1,
                                .run = send_octets,
                                .refused = vex::kCommandQmiSend};

}  // namespace

VEX_COMMAND(kelvor_test_cmn_do, kelvor_test_cmn_show_help, kCommon)
VEX_COMMAND(kelvor_test_qmi_send_data_do, kelvor_test_qmi_send_data_show_help, kQmiSend)

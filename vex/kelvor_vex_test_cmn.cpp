// Command 5: common commands. Command 6: raw vendor requests.

#include <algorithm>
#include <cstdlib>

#include "common/trace.h"
#include "qmi/kelvor_extend_api.h"
#include "vex/commands.h"
#include "vex/text.h"
#include "vex/usage.h"

namespace {

constexpr vex::UsageRow kCommonRows[] = {
    {"%d: cmn option cmd: "},
    {"   vex %d %d mode type time_out cmd_cnt", 0},
    {"                                 /* diag cmd */"},
    {"                                    mode: 0 - callback, 1 - dci; "},
    {"                                    type: 0 - with result, 1 - without result; "},
    {"                                    time_out: set time - with result, set 0 - without "
     "result. unit:ms */"},
    {"                                    cmd_cnt: diag cmd bytes */"},
    {"   vex %d %d                       /* card status query: 0 - absent, 1 - present", 1},
    {"   vex %d %d sub                   /* card status get, sub: 0 or 1; ret: 0 - absent, 1 - "
     "present */",
     2},
    {"   vex %d %d sub mode set_val      /* card status set, sub: 0 or 1; mode: 0 - general, 1 - "
     "sim; set_val: 0 - low, 1 - high */",
     3},
    {"   vex %d %d                       /* card type query: 0 - err, 1 - single sim, 2 - mult sim "
     "*/",
     4},
    {"   vex %d %d                       /* get sar dsi */", 5},
    {"   vex %d %d opt option_list       /* card slot hotswap test */", 6},
    {"                                    opt: 0 - stop hotswap test, 1 - start hotswap test "},
    {"                                    option_list(when opt is 1 for blew inputs): "},
    {"                                      seconds_after_push : the seconds of waiting after push "
     "the card slot "},
    {"                                      seconds_after_pull : the seconds of waiting after pull "
     "the card slot "},
    {"                                      count_push_and_pull: the count of push and pull the "
     "card slot "},
    {"   vex %d %d esim_on debug_on     /* set esim state */", 10},
    {"                                    esim_on  : 1 - switch to eSIM,2 - switch to PSIM2 "},
    {"                                    debug_on : 0 - disable log print,1 - enable log print "},
};

// ---- raw vendor requests

constexpr int kWordRequestId = 2;
constexpr int kWordOctets = 3;
constexpr uint32_t kRequestIds = 6;  // 0 to 5
constexpr int kSendMax = 500;        // octets of a request, and of its response

// An argument error of command 6: its note is followed by its section.
int refuse_send() { return kelvor_test_qmi_send_data_show_help(vex::kCommandQmiSend); }

constexpr vex::UsageRow kSendRows[] = {
    {"%d: kelvor qmi send_data\n"},
    {"   vex %d qmi_id qmi_data         /* qmi_id: Any binary data you will send */\n"},
};

}  // namespace

extern "C" int kelvor_test_cmn_do(int /*argc*/, char** /*argv*/) {
  TRACE_INFO("Not support");
  return 0;
}

extern "C" int kelvor_test_cmn_show_help(int selector) {
  return PRINT_SECTION(selector, vex::kCommandCommon, kCommonRows);
}

extern "C" int kelvor_test_qmi_send_data_do(int argc, char** argv) {
  if (argc <= kWordOctets) {
    TRACE_ERROR("note: Too few parameters, Pls refer to the following cmd:");
    return refuse_send();
  }
  if (std::atoi(argv[1]) != vex::kCommandQmiSend) {
    TRACE_ERROR("note: the first parameters should be %d, Pls refer to the following cmd:",
                vex::kCommandQmiSend);
    return refuse_send();
  }
  const int qmi_id = std::atoi(argv[kWordRequestId]);
  const auto request_id = static_cast<uint32_t>(qmi_id);
  if (request_id >= kRequestIds) {
    TRACE_ERROR("note: the second parameters(qmi_id) should be >= %d && < %d", 0,
                static_cast<int>(kRequestIds));
    return refuse_send();
  }
  uint8_t request[kSendMax];
  const int count = std::min(argc - kWordOctets, kSendMax);
  TRACE_INFO("mi_qmi req data(qmi_id: %d, len: %d[max: %d]):", qmi_id, count, kSendMax);
  for (int i = 0; i < count; ++i) {
    request[i] = static_cast<uint8_t>(kelvor_string_to_int(argv[kWordOctets + i]));
    TRACE_INFO("0x%02X ", request[i]);
  }
  uint8_t response[kSendMax] = {};
  uint32_t length = sizeof response;
  const int result = kelvor_extend_qmi_send_sync(request_id, request, static_cast<uint32_t>(count),
                                                 response, &length);
  TRACE_INFO("qmi_id = %d, result = %d", qmi_id, result);
  if (result != 0) {
    TRACE_ERROR("kelvor_extend_qmi_send_sync fail");
    return result;
  }
  TRACE_INFO("mi_qmi rsp data(qmi_id: %d, len: %d[max: %d]):", qmi_id, static_cast<int>(length),
             kSendMax);
  for (uint32_t i = 0; i < length; ++i) TRACE_INFO(" %02X", response[i]);
  TRACE_INFO("%s", "");
  return 0;
}

extern "C" int kelvor_test_qmi_send_data_show_help(int selector) {
  return PRINT_SECTION(selector, vex::kCommandQmiSend, kSendRows);
}

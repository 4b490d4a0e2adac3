// Command 5: common commands. Command 6: raw vendor requests.

#include "common/trace.h"
#include "vex/commands.h"
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

extern "C" int kelvor_test_qmi_send_data_do(int /*argc*/, char** /*argv*/) {
  TRACE_INFO("Not support");
  return 0;
}

extern "C" int kelvor_test_qmi_send_data_show_help(int selector) {
  return PRINT_SECTION(selector, vex::kCommandQmiSend, kSendRows);
}

// Command 3: RF and GPIO test configurations.

#include "common/trace.h"
#include "vex/commands.h"
#include "vex/usage.h"

namespace {

constexpr vex::UsageRow kRows[] = {
    {"%d: rf option cmd"},
    {"   vex %d %d ...   /* gpio value setting(pls input enough gpio value by notice)*/", 0},
    {"                    (need to reboot duing first setting) "},
    {"   vex %d %d       /* get gpio test state */", 1},
    {"   vex %d %d       /* Close gpio test(need to reboot) */", 2},
    {"   vex %d %d v_ant v_sys v_band_list", 3},
    {"                 /* fix tx to upper(lower) antenna for given band list */"},
    {"                    (need to reboot) "},
    {"                    v_ant: 0 - lower antenna, 1 - upper antenna "},
    {"                    v_sys: 0 - gsm, 1 - wcdma, 2 - cdma, 3 - tds, 4 - lte "},
    {"                    v_band_list: bit0~bi43 - (gsm: 850,900,1800,1900; wcdma: "
     "b1,b2,b4,b5,b8; "},
    {"                                            cdma: bc0, tds: b34,b39; lte: b1...b44 "},
    {"                    v_band_list: bit44~bi63 - (only for lte: b28b,b40b,b41b,b41c,b39b,b252,"},
    {"                                            "
     "b255,b253,b254,b66,b46,b250,b47,b48,b71,b71b,b38k ...  "},
    {"   vex %d %d       /* get tx test state */", 4},
    {"   vex %d %d       /* Close tx test(need to reboot) */", 5},
};

}  // namespace

extern "C" int kelvor_test_rf_do(int /*argc*/, char** /*argv*/) {
  TRACE_INFO("Not support");
  return 0;
}

extern "C" int kelvor_test_rf_show_help(int selector) {
  return PRINT_SECTION(selector, vex::kCommandRf, kRows);
}

// Command 9: live measurements.

#include "common/trace.h"
#include "vex/commands.h"
#include "vex/usage.h"

namespace {

constexpr vex::UsageRow kRows[] = {
    {"%d: kelvor modem stats qmi test"},
    {"   vex %d %d sub                   /* 4G PCC rssi, sub: 0 - sub0; 1 - sub1 */", 0},
    {"   vex %d %d sub                   /* 4G SCC1 rssi, sub: 0 - sub0; 1 - sub1 */", 1},
    {"   vex %d %d sub                   /* 4G SCC2 rssi, sub: 0 - sub0; 1 - sub1 */", 2},
    {"   vex %d %d sub                   /* 4G SCC3 rssi, sub: 0 - sub0; 1 - sub1 */", 3},
    {"   vex %d %d sub                   /* 4G SCC4 rssi, sub: 0 - sub0; 1 - sub1 */", 4},
    {"   vex %d %d sub                   /* 4G SCC5 rssi, sub: 0 - sub0; 1 - sub1 */", 5},
    {"   vex %d %d sub                   /* 4G SCC6 rssi, sub: 0 - sub0; 1 - sub1 */", 6},
    {"   vex %d %d sub                   /* 5G PCC rssi, sub: 0 - sub0; 1 - sub1 */", 7},
    {"   vex %d %d sub                   /* 5G PCC snr, sub: 0 - sub0; 1 - sub1 */", 8},
    {"   vex %d %d sub                   /* 5G ANT diversity, sub: 0 - sub0; 1 - sub1 */", 9},
    {"   vex %d %d sub                  /* 5G PCC rsrp, sub: 0 - sub0; 1 - sub1 */", 10},
    {"   vex %d %d sub                  /* 5G SCC1 rsrp, sub: 0 - sub0; 1 - sub1 */", 11},
    {"   vex %d %d sub                  /* 5G SCC2 rsrp, sub: 0 - sub0; 1 - sub1 */", 12},
    {"   vex %d %d sub                  /* WCDMA rssi, sub: 0 - sub0; 1 - sub1 */", 20},
    {"   vex %d %d sub                  /* GSM rssi, sub: 0 - sub0; 1 - sub1 */", 21},
    {"   vex %d %d 0                    /* Ant info */", 30},
    {"   vex %d %d sub                  /* Tx info, sub: 0 - sub0 tx; sub: 1 - sub1 tx; sub: 2 - "
     "dds tx; sub: other - max tx of dual subs; */",
     31},
};

}  // namespace

extern "C" int kelvor_test_qmi_modem_stats_do(int /*argc*/, char** /*argv*/) {
  TRACE_INFO("Not support");
  return 0;
}

extern "C" int kelvor_test_modem_stats_show_help(int selector) {
  return PRINT_SECTION(selector, vex::kCommandQmiStats, kRows);
}

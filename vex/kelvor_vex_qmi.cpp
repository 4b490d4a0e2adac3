// Command 12: network scans.

#include "common/trace.h"
#include "vex/commands.h"
#include "vex/usage.h"

namespace {

constexpr vex::UsageRow kRows[] = {
    {"%d: qmi option cmd"},
    {"   vex %d %d arlist               /* nas_perform_network_scan_req_msg_v01 */", 0},
    {"   vex %d %d arlist               /* nas_perform_incremental_network_scan_req_msg_v01 */", 1},
};

}  // namespace

extern "C" int kelvor_test_qmi_do(int /*argc*/, char** /*argv*/) {
  TRACE_INFO("Not support");
  return 0;
}

extern "C" int kelvor_test_qmi_show_help(int selector) {
  return PRINT_SECTION(selector, vex::kCommandScan, kRows);
}

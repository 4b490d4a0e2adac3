// Command 7: diag modem statistics.

#include "common/trace.h"
#include "vex/commands.h"
#include "vex/usage.h"

namespace {

constexpr vex::UsageRow kRows[] = {
    {"%d: kelvor modem stats test\n"},
    {"   vex %d 0 print                 /* modem stats diag-parsed test */\n"},
    {"   vex %d 1 type                  /* get the debug info of modem stats */\n"},
};

}  // namespace

extern "C" int kelvor_test_modem_stats_do(int /*argc*/, char** /*argv*/) {
  TRACE_INFO("Not support");
  return 0;
}

extern "C" int kelvor_test_qmi_modem_stats_show_help(int selector) {
  return PRINT_SECTION(selector, vex::kCommandDiagStats, kRows);
}

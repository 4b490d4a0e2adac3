// Command 11: smart tests.

#include "common/trace.h"
#include "vex/commands.h"
#include "vex/usage.h"

namespace {

constexpr vex::UsageRow kRows[] = {
    {"%d: smart test\n"},
    {"   vex %d %d                      /* trigger SSR of modem */\n", 0},
    {"   vex %d %d                      /* trigger Full Dump */\n", 1},
    {"   vex %d %d                      /* trigger NV SYNC */\n", 2},
    {"   vex %d %d opt                  /* ap vireo print(need reboot), opt: 0 - off; 1 - on */\n",
     3},
    {"   vex %d %d opt                  /* bp vireo print, opt: 0 - off; 1 - on */\n", 4},
    {"   vex %d %d opt                  /* bp qmi print, opt: 0 - off; 1 - on */\n", 5},
    {"   vex %d %d opt                  /* bp rf print, opt: 0 - off; 1 - on */\n", 6},
    {"   vex %d %d                      /* share memory test */\n", 7},
    {"   vex %d %d timeout_s            /* kelvor timer test, timeout_s - the expired time(s) */\n",
     8},
};

}  // namespace

extern "C" int kelvor_smart_test_do(int /*argc*/, char** /*argv*/) {
  TRACE_INFO("Not support");
  return 0;
}

extern "C" int kelvor_smart_test_show_help(int selector) {
  return PRINT_SECTION(selector, vex::kCommandSmart, kRows);
}

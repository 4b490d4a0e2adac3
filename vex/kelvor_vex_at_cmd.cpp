// Command 8: the AT channel.

#include "common/trace.h"
#include "vex/commands.h"
#include "vex/usage.h"

namespace {

constexpr int kAtLengthMax = 100;

constexpr vex::UsageRow kRows[] = {
    {"%d: kelvor at command test"},
    {"   vex %d atcmd_cxt               /* atcmd_cxt: at command context */"},
    vex::UsageRow::of_number("                                    the len of atcmd can not > %d",
                             kAtLengthMax),
};

}  // namespace

extern "C" int kelvor_test_at_cmd_do(int /*argc*/, char** /*argv*/) {
  TRACE_INFO("Not support");
  return 0;
}

extern "C" int kelvor_test_at_cmd_show_help(int selector) {
  return PRINT_SECTION(selector, vex::kCommandAt, kRows);
}

// Command 10: carrier configurations.

#include "common/trace.h"
#include "vex/commands.h"
#include "vex/usage.h"

namespace {

constexpr vex::UsageRow kRows[] = {
    {"%d: kelvor mbn test\n"},
    {"   vex %d %d sub_mask             /* mbn refresh, sub_mask: 1 - sub0; 2 - sub1; 3 - "
     "sub0&sub1 */\n",
     0},
    {"   vex %d %d sub_mask             /* mbn reactive, sub_mask: 1 - sub0; 2 - sub1; 3 - "
     "sub0&sub1 */\n",
     1},
};

}  // namespace

extern "C" int kelvor_test_mbn_do(int /*argc*/, char** /*argv*/) {
  TRACE_INFO("Not support");
  return 0;
}

extern "C" int kelvor_test_mbn_show_help(int selector) {
  return PRINT_SECTION(selector, vex::kCommandMbn, kRows);
}

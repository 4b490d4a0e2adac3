// Command 10: carrier configurations.

#include <cstdlib>

#include "common/trace.h"
#include "mbn/kelvor_mbn_utils.h"
#include "vex/commands.h"
#include "vex/usage.h"

namespace {

using vex::kCommandMbn;

// Words of the argument vector.
constexpr int kWordOperation = 2;
constexpr int kWordSubMask = 3;
constexpr int kWords = 4;

struct MbnOperation {
  int mbn_i;
  int (*run)(unsigned int sub_mask);
};
constexpr MbnOperation kOperations[] = {{0, kelvor_refresh_sw_mbn}, {1, kelvor_reactivate_sw_mbn}};

// What was wrong has been traced; the section tells what is right.
int refuse() {
  kelvor_test_mbn_show_help(kCommandMbn);
  return 0;
}

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

extern "C" int kelvor_test_mbn_do(int argc, char** argv) {
  if (argc < kWords) {
    TRACE_ERROR("note: Too few parameters, Pls refer to the following cmd:");
    return refuse();
  }
  if (std::atoi(argv[1]) != kCommandMbn) {
    TRACE_ERROR("note: the first parameters should be %d, Pls refer to the following cmd:",
                kCommandMbn);
    return refuse();
  }
  const int mbn_i = std::atoi(argv[kWordOperation]);
  const int sub_mask = std::atoi(argv[kWordSubMask]);
  if (sub_mask < 1 || sub_mask > 3) {
    TRACE_ERROR("note: sub_mask(%d) is invalid:", sub_mask);
    return refuse();
  }
  if (kelvor_mbn_init(0) != 0) {
    TRACE_ERROR("pdc init failed, do nothing");
    return refuse();
  }
  for (const MbnOperation& operation : kOperations) {
    if (operation.mbn_i == mbn_i) return operation.run(static_cast<unsigned int>(sub_mask));
  }
  TRACE_ERROR("invalid mbn_i = %d", mbn_i);
  return refuse();
}

extern "C" int kelvor_test_mbn_show_help(int selector) {
  return PRINT_SECTION(selector, vex::kCommandMbn, kRows);
}

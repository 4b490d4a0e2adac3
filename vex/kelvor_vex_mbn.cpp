// Command 10: carrier configurations.

#include "common/result.h"
#include "common/trace.h"
#include "mbn/kelvor_mbn_utils.h"
#include "vex/command.h"
#include "vex/commands.h"

namespace {

using vex::Call;

constexpr int kWordSubMask = vex::kWordOwn;

unsigned int sub_mask_of(const Call& call) {
  return static_cast<unsigned int>(call.number(kWordSubMask));
}

bool admit(const Call& call) {
  const unsigned int sub_mask = sub_mask_of(call);
  if (sub_mask < 1 || sub_mask > 3) {
    return TRACED_ERROR(false, "note: sub_mask(%d) is invalid:", sub_mask);
  }
  if (result::fail(result::Layer::kPdc, kelvor_mbn_init(0)) == 0) return true;
  return TRACED_ERROR(false, "pdc init failed, do nothing");
}

constexpr vex::Row kRows[] = {
    {{"   vex %d %d sub_mask             /* mbn refresh, sub_mask: 1 - sub0; 2 - sub1; 3 - "
      "sub0&sub1 */\n",
      0},
     [](const Call& call) { return kelvor_refresh_sw_mbn(sub_mask_of(call)); }},
    {{"   vex %d %d sub_mask             /* mbn reactive, sub_mask: 1 - sub0; 2 - sub1; 3 - "
      "sub0&sub1 */\n",
      1},
     [](const Call& call) { return kelvor_reactivate_sw_mbn(sub_mask_of(call)); }},
};
constexpr vex::Command kMbn{.number = vex::kCommandMbn,
                            .title = "%d: kelvor mbn test\n",
                            .rows = kRows,
                            .show_help = kelvor_test_mbn_show_help,
                            .least_words = kWordSubMask + 1,
                            .admit = admit,
                            .row_word = "mbn_i"};

}  // namespace

VEX_COMMAND(kelvor_test_mbn_do, kelvor_test_mbn_show_help, kMbn)

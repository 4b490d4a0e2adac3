// Command 4: NV items and EFS files.

#include "common/result.h"
#include "common/trace.h"
#include "platform/idl/vendor_payload.h"
#include "qmi/efs_path.h"
#include "vex/command.h"
#include "vex/commands.h"
#include "vex/record.h"

namespace {

using vex::Call;

// Words of the argument vector.
constexpr int kWordSub = 3;
constexpr int kWordTarget = 4;  // NV id or EFS path
constexpr int kWordData = 5;
constexpr int kTargetWords = 5;  // of a read or a delete

constexpr uint32_t kDataMax = 365;  // octets of one command: less than one exchange carries

uint32_t sub_of(const Call& call) { return static_cast<uint32_t>(call.number(kWordSub)); }
uint32_t nv_id_of(const Call& call) { return static_cast<uint32_t>(call.number(kWordTarget)); }

qmi::EfsPath path_of(const Call& call) { return qmi::EfsPath::of_word(call.argv[kWordTarget]); }

int report(int result) {
  if (result != 0) TRACE_ERROR("kelvor_extend_qmi_send_sync fail, REQUEST_ID_EFS");
  return vex::note_nvefs(result);
}

// The handlers of what the two kinds of targets share: `target_of` makes the call's target, an NV
// id or a path, for the operation.

template <class Target>
int read_and_dump(TraceSite handler, const Call& call, Target (*target_of)(const Call& call),
                  int32_t (*read)(uint32_t sub, Target target, uint8_t* data, uint32_t* length)) {
  const Operation operation(handler);
  if (!call.has_exactly(kTargetWords)) return call.refuse();
  uint8_t data[kDataMax] = {};
  uint32_t length = sizeof data;
  const int result = read(sub_of(call), target_of(call), data, &length);
  if (result != 0) return report(result);
  TRACE_INFO("data len(%d)\ndata: \n", length);
  for (uint32_t i = 0; i < length; ++i) TRACE_INFO(" %02X", data[i]);
  TRACE_INFO("%s", "");
  result::octets("data", data, length);
  return 0;
}

template <class Target>
int write_words(TraceSite handler, const Call& call, Target (*target_of)(const Call& call),
                int32_t (*write)(uint32_t sub, Target target, const uint8_t* data,
                                 uint32_t length)) {
  const Operation operation(handler);
  if (call.argc <= kWordData) {
    TRACE_ERROR("note: Too few inputs, Pls refer to the following cmd:");
    return call.refuse();
  }
  // Cut data would be written as if it were whole.
  const auto count = static_cast<uint32_t>(call.argc - kWordData);
  if (count > kDataMax) {
    TRACE_ERROR("note: Too many inputs, at most %d data, Pls refer to the following cmd:",
                kDataMax);
    return call.refuse();
  }
  uint8_t data[kDataMax] = {};
  for (uint32_t i = 0; i < count; ++i) {
    data[i] = static_cast<uint8_t>(call.number(kWordData + static_cast<int>(i)));
  }
  return report(write(sub_of(call), target_of(call), data, count));
}

template <class Target>
int delete_target(TraceSite handler, const Call& call, Target (*target_of)(const Call& call),
                  int32_t (*remove)(uint32_t sub, Target target)) {
  const Operation operation(handler);
  if (!call.has_exactly(kTargetWords)) return call.refuse();
  return report(remove(sub_of(call), target_of(call)));
}

int kelvor_nvefs_test_nv_read(const Call& call) {
  return read_and_dump(__func__, call, nv_id_of, kelvor_nv_read);
}

int kelvor_nvefs_test_nv_write(const Call& call) {
  return write_words(__func__, call, nv_id_of, kelvor_nv_write_ex);
}

int kelvor_nvefs_test_nv_delete(const Call& call) {
  return delete_target(__func__, call, nv_id_of, kelvor_nv_delete);
}

int kelvor_nvefs_test_efs_read(const Call& call) {
  return read_and_dump(__func__, call, path_of, kelvor_efs_read);
}

int kelvor_nvefs_test_efs_write(const Call& call) {
  return write_words(__func__, call, path_of, kelvor_efs_write);
}

int kelvor_nvefs_test_efs_delete(const Call& call) {
  return delete_target(__func__, call, path_of, kelvor_efs_delete);
}

// In the order of their numbers, which are also the modem's.
constexpr vex::Row kRows[] = {
    {{"   vex %d %d sub nv_id             /* nv read */\n", KELVOR_NVEFS_NV_READ},
     kelvor_nvefs_test_nv_read},
    {{"   vex %d %d sub nv_id nv_data     /* nv write */\n", KELVOR_NVEFS_NV_WRITE},
     kelvor_nvefs_test_nv_write},
    {{"   vex %d %d sub nv_id             /* nv delete */\n", KELVOR_NVEFS_NV_DELETE},
     kelvor_nvefs_test_nv_delete},
    {{"   vex %d %d sub efs_path          /* efs read */\n", KELVOR_NVEFS_EFS_READ},
     kelvor_nvefs_test_efs_read},
    {{"   vex %d %d sub efs_path efs_data /* efs write */\n", KELVOR_NVEFS_EFS_WRITE},
     kelvor_nvefs_test_efs_write},
    {{"   vex %d %d sub efs_path          /* efs delete */\n", KELVOR_NVEFS_EFS_DELETE},
     kelvor_nvefs_test_efs_delete},
};
constexpr vex::Command kNvEfs{.number = vex::kCommandNvEfs,
                              .title = "%d: nvefs option cmd: \n",
                              .rows = kRows,
                              .show_help = kelvor_test_nvefs_show_help,
                              .number_first = true,
                              .reports_errors = true};

}  // namespace

VEX_COMMAND(kelvor_test_nvefs_do, kelvor_test_nvefs_show_help, kNvEfs)

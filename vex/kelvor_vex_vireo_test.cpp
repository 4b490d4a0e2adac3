// Command 7: diag modem statistics.

#include <cstdio>
#include <cstring>

#include "common/result.h"
#include "common/trace.h"
#include "platform/idl/vendor_payload.h"
#include "qmi/kelvor_extend_cmn.h"
#include "vex/codes/result_codes.h"
#include "vex/command.h"
#include "vex/commands.h"
#include "vex/kelvor_vex_vireo_unpack.h"
#include "vex/record.h"

namespace {

using vex::Call;

constexpr int kWordOption = vex::kWordOwn;

// A serving-cell record as a modem reported it.
constexpr unsigned char kSample[] = {
    0x01, 0x00, 0x03, 0x00, 0x01, 0x49, 0x27, 0x03, 0xc7, 0xb4, 0xfc, 0x60, 0x17, 0x01, 0x4f, 0x06,
    0x6e, 0x8b, 0x06, 0x00, 0xe8, 0xeb, 0x05, 0x00, 0x14, 0x00, 0x14, 0x00, 0xc7, 0xb4, 0xfc, 0x60,
    0x07, 0x00, 0x00, 0x00, 0xcc, 0x01, 0x02, 0x0b, 0x00, 0x02, 0x0a, 0x8a, 0x76, 0x00, 0x01, 0x00,
};
static_assert(sizeof kSample == 48);
constexpr size_t kSpanRoom = 16;  // the unpacker reads so far from a field's first octet

bool kelvor_test_modem_stats_parsing_process(const Call& call) {
  const Operation operation(__func__);
  if (!call.has(kWordOption + 1)) return false;
  const int print_flag = call.number(kWordOption);
  unsigned char record[sizeof kSample + kSpanRoom] = {};
  std::memcpy(record, kSample, sizeof kSample);
  TRACE_INFO("length = %d, print_flag = %d", static_cast<int>(sizeof kSample), print_flag);
  g_unpk.print = print_flag != 0;
  kelvor_test_modem_stats_parsing_process_do(record);
  if (g_modem_stats_record.data == nullptr) {
    result::fail(result::Layer::kTool, vex::TOOL_RECORD_UNKNOWN);
  }
  return true;
}

// The four counter blocks, one behind another in the payload.
void print_blocks(const unsigned char* payload) {
  struct Block {
    const char* name;
    int (*unpack)(const unsigned char* data, int version);
  };
  static constexpr Block kBlocks[] = {
      {"main", kelvor_modem_stats_main_info_unpk},
      {"diag", kelvor_modem_stats_diag_info_unpk},
      {"cm", kelvor_modem_stats_cm_info_unpk},
      {"uim", kelvor_modem_stats_uim_info_unpk},
  };
  const int version = payload[0];
  std::printf("UNPK[size:%d], %s = %lu\n", 1, "version", static_cast<unsigned long>(version));
  result::number("version", version);
  uint8_t cnt = 1;
  for (const Block& block : kBlocks) {
    std::printf("-------- stats %s info start --------\n", block.name);
    cnt = static_cast<uint8_t>(cnt + block.unpack(payload + cnt, version));
    std::printf("-------- stats %s info end, cnt(%d) --------\n", block.name, cnt);
  }
}

int kelvor_test_modem_stats_get_debug_info_do(unsigned int mask) {
  const Operation operation(__func__);
  TRACE_INFO("Get the debug info of modem_stats, mask = 0x%x", mask);
  kelvor_common_rsp rsp{};
  const auto result = static_cast<int>(kelvor_common_qmi_req(
      KELVOR_COMMON_STATS_DEBUG_INFO, 0, nullptr, reinterpret_cast<uint8_t*>(&rsp)));
  vex::note_common(result, &rsp);
  if (result != 0) {
    TRACE_ERROR("kelvor_common_qmi_req fail, REQUEST_ID_COMMON, result = %d, rsp.result = %d",
                result, rsp.result);
    return result;
  }
  if (rsp.result != 0) {
    TRACE_ERROR("qmi response fail, result = %d, rsp.result = %d", result, rsp.result);
    return rsp.result;
  }
  if (mask == 0) {
    kelvor_modem_stats_support_status_check(rsp.payload);
  } else {
    print_blocks(rsp.payload);
  }
  return 0;
}

bool kelvor_test_modem_stats_get_debug_info(const Call& call) {
  const Operation operation(__func__);
  if (!call.has(kWordOption + 1)) return false;
  kelvor_test_modem_stats_get_debug_info_do(static_cast<unsigned int>(call.number(kWordOption)));
  return true;
}

int done(const Call& call, bool (*process)(const Call& call), const char* failure) {
  if (process(call)) return 1;
  TRACE_ERROR("%s", failure);
  return call.refuse();
}
#define PROCESS(name) [](const Call& call) { return done(call, name, #name " FAIL"); }

constexpr vex::Row kRows[] = {
    {{"   vex %d 0 print                 /* modem stats diag-parsed test */\n", 0},
     PROCESS(kelvor_test_modem_stats_parsing_process)},
    {{"   vex %d 1 type                  /* get the debug info of modem stats */\n", 1},
     PROCESS(kelvor_test_modem_stats_get_debug_info)},
};
constexpr vex::Command kDiagStats{.number = vex::kCommandDiagStats,
                                  .title = "%d: kelvor modem stats test\n",
                                  .rows = kRows,
                                  .show_help = kelvor_test_qmi_modem_stats_show_help,
                                  .row_word = "type",
                                  .refused = vex::kCommandDiagStats};

}  // namespace

VEX_COMMAND(kelvor_test_modem_stats_do, kelvor_test_qmi_modem_stats_show_help, kDiagStats)

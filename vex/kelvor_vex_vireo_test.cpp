// Command 7: diag modem statistics.

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/trace.h"
#include "platform/idl/vendor_payload.h"
#include "qmi/kelvor_extend_cmn.h"
#include "vex/commands.h"
#include "vex/kelvor_vex_vireo_unpack.h"
#include "vex/usage.h"

namespace {

using vex::kCommandDiagStats;

constexpr vex::UsageRow kRows[] = {
    {"%d: kelvor modem stats test\n"},
    {"   vex %d 0 print                 /* modem stats diag-parsed test */\n"},
    {"   vex %d 1 type                  /* get the debug info of modem stats */\n"},
};

constexpr int kTypeParse = 0;
constexpr int kTypeDebugInfo = 1;

// A serving-cell record as a modem reported it.
constexpr unsigned char kSample[] = {
    0x01, 0x00, 0x03, 0x00, 0x01, 0x49, 0x27, 0x03, 0xc7, 0xb4, 0xfc, 0x60, 0x17, 0x01, 0x4f, 0x06,
    0x6e, 0x8b, 0x06, 0x00, 0xe8, 0xeb, 0x05, 0x00, 0x14, 0x00, 0x14, 0x00, 0xc7, 0xb4, 0xfc, 0x60,
    0x07, 0x00, 0x00, 0x00, 0xcc, 0x01, 0x02, 0x0b, 0x00, 0x02, 0x0a, 0x8a, 0x76, 0x00, 0x01, 0x00,
};
static_assert(sizeof kSample == 48);
constexpr size_t kSpanRoom = 16;  // the unpacker reads so far from a field's first octet

bool has_option(int argc, TraceSite site) {
  if (argc > 3) return true;
  TRACE_FROM(site, kTraceError, "note: Too few parameters, Pls refer to the following cmd:");
  return false;
}

bool kelvor_test_modem_stats_parsing_process(int argc, char** argv) {
  if (!has_option(argc, TRACE_SITE())) return false;
  const int print_flag = std::atoi(argv[3]);
  unsigned char record[sizeof kSample + kSpanRoom] = {};
  std::memcpy(record, kSample, sizeof kSample);
  TRACE_INFO("length = %d, print_flag = %d", static_cast<int>(sizeof kSample), print_flag);
  g_unpk.print = print_flag != 0;
  kelvor_test_modem_stats_parsing_process_do(record);
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
  uint8_t cnt = 1;
  for (const Block& block : kBlocks) {
    std::printf("-------- stats %s info start --------\n", block.name);
    cnt = static_cast<uint8_t>(cnt + block.unpack(payload + cnt, version));
    std::printf("-------- stats %s info end, cnt(%d) --------\n", block.name, cnt);
  }
}

int kelvor_test_modem_stats_get_debug_info_do(unsigned int mask) {
  TRACE_INFO("Get the debug info of modem_stats, mask = 0x%x", mask);
  kelvor_common_rsp rsp{};
  const auto result = static_cast<int>(kelvor_common_qmi_req(
      KELVOR_COMMON_STATS_DEBUG_INFO, 0, nullptr, reinterpret_cast<uint8_t*>(&rsp)));
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

bool kelvor_test_modem_stats_get_debug_info(int argc, char** argv) {
  if (!has_option(argc, TRACE_SITE())) return false;
  kelvor_test_modem_stats_get_debug_info_do(static_cast<unsigned int>(std::atoi(argv[3])));
  return true;
}

int show_section() { return kelvor_test_qmi_modem_stats_show_help(kCommandDiagStats); }

}  // namespace

extern "C" int kelvor_test_modem_stats_do(int argc, char** argv) {
  if (argc <= 2) {
    TRACE_ERROR("note: Too few parameters, Pls refer to the following cmd:");
    return show_section();
  }
  if (std::atoi(argv[1]) != kCommandDiagStats) {
    TRACE_ERROR("note: the first parameters should be %d, Pls refer to the following cmd:",
                kCommandDiagStats);
    return show_section();
  }
  const int type = std::atoi(argv[2]);
  if (type == kTypeParse) {
    if (kelvor_test_modem_stats_parsing_process(argc, argv)) return 1;
    TRACE_ERROR("kelvor_test_modem_stats_parsing_process FAIL");
    return show_section();
  }
  if (type == kTypeDebugInfo) {
    if (kelvor_test_modem_stats_get_debug_info(argc, argv)) return 1;
    TRACE_ERROR("kelvor_test_modem_stats_get_debug_info FAIL");
    return show_section();
  }
  TRACE_ERROR("invalid type = %d", type);
  return show_section();
}

extern "C" int kelvor_test_qmi_modem_stats_show_help(int selector) {
  return PRINT_SECTION(selector, kCommandDiagStats, kRows);
}

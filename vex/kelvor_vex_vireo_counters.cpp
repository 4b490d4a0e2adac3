// The statistics feature's own counters.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <span>

#include "common/result.h"
#include "common/trace.h"
#include "platform/idl/vendor_payload.h"
#include "qmi/kelvor_extend_cmn.h"
#include "vex/kelvor_vex_vireo_unpack.h"
#include "vex/record.h"

namespace {

constexpr int kAlways = -1;  // versions are octets

struct Counter {
  const char* name;
  int width;  // octets
  int from_version;
};

constexpr Counter kMainInfo[] = {
    {"g_modem_stats_feature_enable_status", 1, kAlways},
    {"g_unpk_version_not_support_num", 8, kAlways},
    {"g_modem_stats_cmd_ok_count", 8, kAlways},
    {"g_modem_stats_cmd_fail_count", 8, kAlways},
    {"vireo_system_heapi_mem_max_num", 8, 2},
    {"vireo_system_heapi_mem_cur_num", 8, 2},
    {"modem_statsi_cmd_q_count", 4, 2},
    {"modem_statsi_cmd_free_q_count", 4, 2},
    {"g_vireo_log_mask", 4, 4},
    {"g_vireo_log_stats_mask", 4, 4},
};

constexpr Counter kDiagInfo[] = {
    {"init_state", 1, kAlways},
    {"listener_event_num", 4, kAlways},
    {"listener_event_state", 1, kAlways},
    {"listener_event_call_num", 4, kAlways},
    {"listener_event_parse_num", 4, kAlways},
    {"listener_log_num", 4, kAlways},
    {"listener_log_state", 1, kAlways},
    {"listener_log_call_num", 8, kAlways},
    {"listener_log_parse_num", 8, kAlways},
    {"poll_update_call_num", 4, kAlways},
    {"poll_update_parse_num", 4, kAlways},
    {"listener_event_callback_num", 8, 1},
    {"listener_log_callback_num", 8, 1},
    {"lte_cell_id_invalid_num", 4, 1},
    {"nr5g_cell_id_invalid_num", 4, 1},
    {"event_duration_ms_max", 4, 2},
    {"log_duration_ms_max", 4, 2},
    {"do_duration_ms_max", 4, 2},
    {"debug_call_num", 4, 2},
    {"debug_parse_num", 4, 2},
    {"cust_event_call_num", 4, 3},
    {"cust_event_parse_num", 4, 3},
};

constexpr Counter kCmInfo[] = {
    {"init_state", 1, kAlways},
    {"listener_state", 1, kAlways},
    {"listener_call_event_call_num", 4, kAlways},
    {"listener_call_event_parse_num", 4, kAlways},
    {"listener_subs_event_call_num", 4, kAlways},
    {"listener_subs_event_parse_num", 4, kAlways},
    {"listener_ss_event_call_num", 4, kAlways},
    {"listener_ss_event_parse_num", 4, kAlways},
    {"listener_stats_event_call_num", 4, kAlways},
    {"listener_stats_event_parse_num", 4, kAlways},
    {"poll_update_rf_call_num", 4, kAlways},
    {"poll_update_rf_parse_num", 4, kAlways},
    {"poll_update_lte_call_num", 4, kAlways},
    {"poll_update_lte_parse_num", 4, kAlways},
    {"poll_update_nr5g_call_num", 4, kAlways},
    {"poll_update_nr5g_parse_num", 4, kAlways},
};

constexpr Counter kUimInfo[] = {
    {"init_state", 1, kAlways},
    {"listener_state", 1, kAlways},
    {"listener_event_call_num", 4, kAlways},
    {"listener_event_parse_num", 4, kAlways},
};

constexpr Counter kSupportStatus[] = {
    {"version", 1, kAlways},
    {"modem_stats_feature_enable_status", 1, kAlways},
    {"version_not_support_num", 8, kAlways},
    {"modem_stats_cmd_ok_count", 8, kAlways},
    {"modem_stats_cmd_fail_count", 8, kAlways},
};

constexpr int octets_of(std::span<const Counter> block, int version) {
  int octets = 0;
  for (const Counter& counter : block)
    octets += version >= counter.from_version ? counter.width : 0;
  return octets;
}
static_assert(octets_of(kMainInfo, 0) == 25 && octets_of(kMainInfo, 2) == 49 &&
              octets_of(kMainInfo, 4) == 57);
static_assert(octets_of(kDiagInfo, 0) == 43 && octets_of(kDiagInfo, 1) == 67 &&
              octets_of(kDiagInfo, 2) == 87 && octets_of(kDiagInfo, 3) == 95);
static_assert(octets_of(kCmInfo, 0) == 58 && octets_of(kUimInfo, 0) == 10);

void print_counter(const char* name, int width, uint64_t value) {
  std::printf("UNPK[size:%d], %s = %lu\n", width, name, value);
  result::number(name, static_cast<int64_t>(value));
}

// Prints the block; every value is also stored to `values`, when that is given.
int unpack_block(const unsigned char* data, int version, std::span<const Counter> block,
                 uint64_t* values = nullptr) {
  if (data == nullptr) {
    std::printf("ptr is null\n");
    return 0;
  }
  int at = 0;
  for (const Counter& counter : block) {
    if (version < counter.from_version) continue;
    uint64_t value = 0;
    std::memcpy(&value, data + at, static_cast<size_t>(counter.width));
    at += counter.width;
    print_counter(counter.name, counter.width, value);
    if (values != nullptr) *values++ = value;
  }
  return at;
}

void print_verdict(const char* verdict) {
  static constexpr const char kLine[] = "===========================================";
  std::printf("%s\n%s\n%s\n", kLine, verdict, kLine);
}

// The answer that names the diag logs: a count and their ids.
struct LogList {
  uint16_t count;
  uint16_t ids[(sizeof(kelvor_common_rsp::payload) - sizeof(uint16_t)) / sizeof(uint16_t)];
};
static_assert(sizeof(LogList) == sizeof(kelvor_common_rsp::payload));

void print_logs_to_upgrade() {
  kelvor_common_rsp rsp{};
  const auto result = static_cast<int>(kelvor_common_qmi_req(
      KELVOR_COMMON_STATS_LOG_LIST, 0, nullptr, reinterpret_cast<uint8_t*>(&rsp)));
  vex::note_common(result, &rsp);
  if (result != 0) {
    TRACE_ERROR("kelvor_common_qmi_req fail, result = %d, rsp_not_support.result = %d", result,
                rsp.result);
    return;
  }
  if (rsp.result != 0) {
    TRACE_ERROR("qmi response fail, result = %d, rsp_not_support.result = %d", result, rsp.result);
    return;
  }
  LogList list;
  std::memcpy(&list, rsp.payload, sizeof list);
  print_counter("log_num", sizeof list.count, list.count);
  print_verdict("================= FAIL ====================");
  std::printf("Diag logs to be upgraded[num:%d]:\n", list.count);
  // A modem may name more than its answer has room for.
  const size_t named = std::min<size_t>(list.count, std::size(list.ids));
  for (size_t i = 0; i < named; ++i) {
    std::printf("log_id[%d]: 0x%04X\n", static_cast<int>(i), list.ids[i]);
    result::number("log_id", list.ids[i]);
  }
}

}  // namespace

extern "C" {

int kelvor_modem_stats_main_info_unpk(const unsigned char* data, int version) {
  return unpack_block(data, version, kMainInfo);
}

int kelvor_modem_stats_diag_info_unpk(const unsigned char* data, int version) {
  return unpack_block(data, version, kDiagInfo);
}

int kelvor_modem_stats_cm_info_unpk(const unsigned char* data, int version) {
  return unpack_block(data, version, kCmInfo);
}

int kelvor_modem_stats_uim_info_unpk(const unsigned char* data, int version) {
  return unpack_block(data, version, kUimInfo);
}

void kelvor_modem_stats_support_status_check(const unsigned char* data) {
  const Operation operation(__func__);
  if (data == nullptr) {
    std::printf("kelvor_modem_stats_support_status_check, ptr is null\n");
    return;
  }
  uint64_t values[std::size(kSupportStatus)];
  unpack_block(data, 0, kSupportStatus, values);
  const bool enabled = values[1] != 0;
  const uint64_t not_supported = values[2];
  if (!enabled) {
    print_verdict("================ CLOSED ===================");
  } else if (not_supported == 0) {
    print_verdict("================ SUCCES ===================");
  } else {
    print_logs_to_upgrade();
  }
}

}  // extern "C"

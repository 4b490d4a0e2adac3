#include "vireo/modem_api/modem_vireo_mgr.h"

#include <cstdio>
#include <cstring>

#include "common/result.h"
#include "common/trace.h"
#include "platform/kelvor_utils.h"

modem_vireo_data_store g_vireo_data;

namespace {

constexpr int32_t kNoClient = -1;
constexpr uint32_t kFetched = 0;
constexpr uint32_t kNotFetched = 1;
constexpr uint32_t kStatisticsFeature = 2;  // the feature's number in VS_FEATURE_STATUS

int32_t g_vireo_client_id = kNoClient;
uint32_t g_requests = 0;

void note(uint32_t result) { result::cause(result::Layer::kVireo, static_cast<int32_t>(result)); }

bool inited() {
  if (g_vireo_client_id >= 0) return true;
  TRACE_ERROR("The vireo is not inited, do nothing");
  return false;
}

// Whether the answer is the one record that was asked for.
bool check_answer(const modem_vireo_entry_block& block, uint32_t sub, uint32_t record_id) {
  const vs_parameter& entry = block.entries[0];
  char wrong[64] = "";
  if (block.count == 0) {
    std::snprintf(wrong, sizeof wrong, "empty");
  } else if (block.count != 1) {
    std::snprintf(wrong, sizeof wrong, "id num error");
  } else if (entry.id != record_id) {
    std::snprintf(wrong, sizeof wrong, "ret_id(%d) is invalid", entry.id);
  } else if (entry.sub != sub) {
    std::snprintf(wrong, sizeof wrong, "ret_sub(%d) is invalid", entry.sub);
  } else if (entry.data_len == 0 || entry.data_len > VS_DATA_MAX) {
    std::snprintf(wrong, sizeof wrong, "data_len(%d) is invalid, should be in (0, %d]",
                  entry.data_len, VS_DATA_MAX);
  }
  if (wrong[0] == '\0') return true;
  TRACE_ERROR("Fail to get data, %s, number = %d, sub = %d, ret id_num = %d, id = %d", wrong,
              g_requests, sub, block.count, record_id);
  return false;
}

}  // namespace

extern "C" {

int32_t modem_vireo_api_init(void) {
  return traced(__func__, [] {
    return modem_vireo_api_init_ex(modem_vireo_callback_event_cb,
                                   modem_vireo_operational_status_cb);
  });
}

int32_t modem_vireo_api_init_ex(modem_api_indication_cb on_event, modem_api_status_cb on_status) {
  return traced(__func__, [&] {
    TRACE_DEBUG("old g_vireo_client_id = %d", g_vireo_client_id);
    if (g_vireo_client_id != kNoClient) {
      modem_api_free_client(g_vireo_client_id);
      g_vireo_client_id = kNoClient;
    }
    modem_api_release();
    // A failure of either leaves no client id, which is looked at below.
    note(modem_api_init());
    note(modem_api_init_client(kModemApiVs, on_event, on_status, &g_vireo_client_id));
    TRACE_DEBUG("new g_vireo_client_id = %d", g_vireo_client_id);
    if (g_vireo_client_id >= 0) return 1;
    TRACE_ERROR("modem_api_init_client failed");
    return 0;
  });
}

bool modem_vireo_api_is_inited(void) {
  return traced(__func__, [] {
    TRACE_DEBUG("g_vireo_client_id = %d", g_vireo_client_id);
    return g_vireo_client_id >= 0;
  });
}

int32_t modem_vireo_api_deinit(void) {
  return traced(__func__, [] {
    if (g_vireo_client_id != kNoClient) modem_api_free_client(g_vireo_client_id);
    g_vireo_client_id = kNoClient;
    return static_cast<int32_t>(modem_api_release());
  });
}

int32_t modem_vireo_stats_start(void) {
  return traced(__func__,
                [] { return inited() && modem_vireo_set_feature_status(1, 1, 1) ? 1 : 0; });
}

bool modem_vireo_set_feature_status(uint8_t a, uint8_t b, uint8_t c) {
  return traced(__func__, [&] {
    if (!inited()) return false;
    const uint32_t ret =
        modem_api_set_vireo_feature_status(g_vireo_client_id, kStatisticsFeature, a, b, c);
    TRACE_DEBUG("ret = %d", ret);
    return ret == MODEM_API_SUCCESS;
  });
}

uint32_t modem_vireo_get_stats_parameter(uint16_t sub, uint16_t sequence,
                                         modem_vireo_entry_block* block) {
  return traced(__func__, [&]() -> uint32_t {
    if (!inited()) return 0;
    uint32_t* count = block != nullptr ? &block->count : nullptr;
    vs_parameter* entries = block != nullptr ? block->entries : nullptr;
    return modem_api_get_stats_parameter(g_vireo_client_id, sub, sequence, count, entries);
  });
}

void modem_vireo_callback_event_cb(uint32_t event_id, const void* /*data*/, uint32_t length) {
  const Operation operation(__func__);
  TRACE_DEBUG("do nothing, event_id = %d, data_len = %d", event_id, length);
}

void modem_vireo_operational_status_cb(uint32_t event, uint32_t client_type) {
  const Operation operation(__func__);
  TRACE_DEBUG("do nothing, event_id = %d, client_type = %d", event, client_type);
}

uint32_t modem_vireo_data_get(uint32_t sub, uint32_t record_id) {
  return traced(__func__, [&] {
    g_vireo_data.length = 0;
    std::memset(g_vireo_data.data, 0, sizeof g_vireo_data.data);
    if (!modem_vireo_api_is_inited()) {
      TRACE_DEBUG("The vireo is not inited, will init it");
      if (modem_vireo_api_init() == 0) {
        return TRACED_ERROR(kNotFetched, "The vireo init failed, will do nothing");
      }
    }
    if (sub >= KELVOR_SUBSCRIPTIONS) {
      return TRACED_ERROR(kNotFetched, "modem_api_get_stats_parameter, sub(%d) is invalid", sub);
    }
    modem_vireo_entry_block block{};
    block.count = 1;
    block.entries[0].sub = sub;
    block.entries[0].id = record_id;
    ++g_requests;
    const uint32_t ret = modem_vireo_get_stats_parameter(static_cast<uint16_t>(sub),
                                                         static_cast<uint16_t>(g_requests), &block);
    note(ret);
    if (ret != 0) {
      TRACE_ERROR("Fail to get data fail, number = %d, ret = %d, sub = %d, id = %d", g_requests,
                  ret, sub, record_id);
      return kNotFetched;
    }
    if (!check_answer(block, sub, record_id)) return kNotFetched;
    const vs_parameter& entry = block.entries[0];
    std::memcpy(g_vireo_data.data, entry.data, entry.data_len);
    g_vireo_data.length = static_cast<int32_t>(entry.data_len);
    g_vireo_data.record_id = record_id;
    g_vireo_data.read_offset = 0;
    TRACE_DEBUG(
        "Success to get data, number = %d, sub = %d, ret id_num = %d, id = %d, data_len = %d",
        g_requests, sub, block.count, record_id, g_vireo_data.length);
    return kFetched;
  });
}

}  // extern "C"

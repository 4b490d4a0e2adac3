#include "vireo/modem_api/modem_vireo_getters.h"

#include <cstring>
#include <span>
#include <string>

#include "base/mutex.h"
#include "common/result.h"
#include "common/trace.h"
#include "platform/idl/vs.h"
#include "platform/kelvor_utils.h"
#include "vireo/modem_api/modem_vireo_mgr.h"
#include "vireo/records/layouts.h"

namespace {

using namespace vireo;

// Held from the fetch of a record to the end of its decoding: there is one store, g_vireo_data.
base::Mutex g_getter_mutex;

// Reads the field from the next octets of the store.
bool read_field(const Field& field, void* to) REQUIRES(g_getter_mutex) {
  modem_vireo_data_store& store = g_vireo_data;
  const auto octets = static_cast<int32_t>(field.width);
  if (store.length < octets) {
    TRACE_ERROR("g_vireo_data_left(%d) is not enough for %s, id(0x%x)", store.length, field.name,
                store.record_id);
    return false;
  }
  if (store.read_offset < 0) {
    TRACE_ERROR("g_pK_DATA_CNT(%d) is can not < 0 for %s, id(0x%x)", store.read_offset, field.name,
                store.record_id);
    return false;
  }
  std::memcpy(to, store.data + store.read_offset, field.width);
  store.read_offset += octets;
  store.length -= octets;
  return true;
}

void keep_value(const Field& field, const void* value) REQUIRES(g_getter_mutex) {
  const std::string of = "record " + std::to_string(g_vireo_data.record_id);
  int64_t number = 0;
  float decimal = 0;
  if (field.type == FieldType::kDecimal) {
    std::memcpy(&decimal, value, sizeof decimal);
    return result::decimal(field.name, decimal, unit_of(field), of);
  }
  std::memcpy(&number, value, field.width);
  const auto unused = static_cast<int>(8 * (sizeof number - field.width));
  if (field.type == FieldType::kSigned) number = number << unused >> unused;
  result::number(field.name, number, unit_of(field), of);
}

bool decode(std::span<const Field> fields, void* out) REQUIRES(g_getter_mutex) {
  for (const Field& field : fields) {
    uint64_t dropped = 0;
    void* to = &dropped;
    if (field.offset != kDropped) to = static_cast<unsigned char*>(out) + field.offset;
    if (!read_field(field, to)) return false;
    if (result::wanted()) keep_value(field, to);
  }
  return true;
}

bool fetch_and_decode(uint32_t sub, uint32_t record_id, std::span<const Field> fields, void* out,
                      size_t size) {
  TRACE_DEBUG("sub = %d, ptr_vireo_data = 0x%x", sub,
              static_cast<unsigned>(reinterpret_cast<uintptr_t>(out)));
  if (out == nullptr) return TRACED_ERROR(false, "ptr_vireo_data is NULL");
  const base::Lock lock(g_getter_mutex);
  if (modem_vireo_data_get(sub, record_id) != 0) {
    return TRACED_ERROR(false, "modem_vireo_data_get failed");
  }
  std::memset(out, 0, size);
  return decode(fields, out);
}

template <class S>
bool get(TraceSite site, uint32_t sub, uint32_t record_id, std::span<const Field> fields, S* out) {
  return traced(site, [&] { return fetch_and_decode(sub, record_id, fields, out, sizeof *out); });
}

// The first stack's technology, for the subscription; -1 when the record has none.
int32_t sys_mode(uint32_t sub) {
  const base::Lock lock(g_getter_mutex);
  uint8_t stack_max = 0;
  int32_t rat = -1;
  if (modem_vireo_data_get(sub, kSysModeRecord) != 0) {
    return TRACED_ERROR(-1, "modem_vireo_data_get failed");
  }
  if (!read_field(kStackMax, &stack_max) || stack_max == 0) return -1;
  return read_field(kRat, &rat) ? rat : -1;
}

}  // namespace

extern "C" {

bool modem_vireo_lte_srv_meas_info_get(uint32_t sub, modem_vireo_lte_srv_meas_info* out,
                                       uint32_t record_id) {
  return get(__func__, sub, record_id, lte_srv_meas_info::kFields, out);
}

bool modem_vireo_nr5g_srv_meas_info_get(uint32_t sub, modem_vireo_nr5g_srv_meas_info* out,
                                        uint32_t record_id) {
  return get(__func__, sub, record_id, nr5g_srv_meas_info::kFields, out);
}

#define CARRIER(name, carrier, record_id)                                                   \
  bool modem_vireo_##name##_get_for_##carrier(uint32_t sub, modem_vireo_##name* out) {      \
    return traced(__func__, [&] { return modem_vireo_##name##_get(sub, out, record_id); }); \
  }
MODEM_VIREO_CARRIERS(CARRIER)
#undef CARRIER

#define MEASUREMENT(name, record_id)                                     \
  bool modem_vireo_##name##_get(uint32_t sub, modem_vireo_##name* out) { \
    return get(__func__, sub, record_id, name::kFields, out);            \
  }
MODEM_VIREO_MEASUREMENTS(MEASUREMENT)
#undef MEASUREMENT

int32_t modem_sys_mode_get(uint32_t sub) {
  const Operation operation(__func__);
  TRACE_DEBUG("function entry ------------->");
  const int32_t rat = sys_mode(sub);
  TRACE_DEBUG("function exit, rat = %d <-------------", rat);
  return rat;
}

int32_t modem_tx_power_get_by_sub(uint32_t sub) {
  const Operation operation(__func__);
  TRACE_DEBUG("function entry ------------->");
  const int32_t rat = modem_sys_mode_get(sub);
  TRACE_DEBUG("sub = %d, rat = %d", sub, rat);
  int32_t tx_power = MODEM_TX_POWER_NONE;
  if (rat == VS_RAT_NR) {
    modem_vireo_nr5g_mac_ul_phy_ch_power_info info;
    if (!modem_vireo_nr5g_mac_ul_phy_ch_power_info_get(sub, &info)) {
      TRACE_ERROR("modem_vireo_nr5g_mac_ul_phy_ch_power_info_get faile");
    } else if (info.tx_power >= -0x1p31F && info.tx_power < 0x1p31F) {  // what an int32_t holds
      tx_power = static_cast<int32_t>(info.tx_power);
    }
  } else if (rat == VS_RAT_LTE) {
    modem_vireo_lte_pusch_power_info info;
    if (!modem_vireo_lte_pusch_power_info_get(sub, &info)) {
      TRACE_ERROR("modem_vireo_lte_pusch_power_info_get faile");
    } else {
      tx_power = info.pusch_tx_power;
    }
  } else {
    TRACE_ERROR("rat(%d) is invalid", rat);
  }
  TRACE_DEBUG("function exit, tx_power = %d <-------------", tx_power);
  return tx_power;
}

int32_t modem_tx_power_get_for_dds_sub(void) {
  const Operation operation(__func__);
  TRACE_DEBUG("function entry ------------->");
  const int32_t dds_sub = kelvor_get_default_data_sub();
  const int32_t tx_power = modem_tx_power_get_by_sub(static_cast<uint32_t>(dds_sub));
  TRACE_DEBUG("function exit, dds_sub = %d, tx_power = %d <-------------", dds_sub, tx_power);
  return tx_power;
}

int32_t modem_tx_power_get_for_max_sub(void) {
  const Operation operation(__func__);
  TRACE_DEBUG("function entry ------------->");
  const int32_t p0 = modem_tx_power_get_by_sub(0);
  const int32_t p1 = modem_tx_power_get_by_sub(1);
  const bool first = p0 != MODEM_TX_POWER_NONE && (p1 == MODEM_TX_POWER_NONE || p1 <= p0);
  const int32_t tx_power = first ? p0 : p1;
  TRACE_DEBUG("function exit, tx_power0 = %d, tx_power1 = %d, tx_power = %d <-------------", p0, p1,
              tx_power);
  return tx_power;
}

}  // extern "C"

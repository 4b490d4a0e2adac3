// The getters and the indications of the statistics framework with any responses. This file is the
// client library below them: it makes every response and every decoded indication of the input.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "platform/idl/nas.h"
#include "platform/idl/sar.h"
#include "platform/idl/vs.h"
#include "platform/kelvor_utils.h"
#include "platform/properties.h"
#include "platform/qmi_client.h"
#include "vireo/modem_api/modem_vireo_getters.h"
#include "vireo/modem_api/modem_vireo_mgr.h"
#include "vireo/modem_api/vs/vs_client.h"

namespace {

const uint8_t* g_data = nullptr;
size_t g_size = 0;
uint64_t g_sum = 0;

void take(void* to, size_t n) {
  const size_t have = std::min(n, g_size);
  std::memset(to, 0, n);
  if (have > 0) std::memcpy(to, g_data, have);
  g_data += have;
  g_size -= have;
}

uint8_t octet() {
  uint8_t value = 0;
  take(&value, 1);
  return value;
}

// Mostly the expected value, else any.
uint32_t about(uint32_t expected) {
  uint32_t value = expected;
  if (octet() >= 0xF0) take(&value, sizeof value);
  return value;
}

// Reads every octet of an event, so that the sanitizer sees one that is missing.
void on_event(uint32_t event, const void* data, uint32_t length) {
  static constexpr uint32_t kLengths[] = {0, 0, 8, 10696, 412, 1};
  if (event < 2 || event > 5 || length != kLengths[event]) std::abort();
  const auto* octets = static_cast<const uint8_t*>(data);
  for (uint32_t i = 0; i < length; ++i) g_sum += octets[i];
}

void on_status(uint32_t, uint32_t) {}

template <class S, bool (*get)(uint32_t, S*)>
void measure(uint32_t sub) {
  S record;
  get(sub, &record);
  if (g_vireo_data.length < 0 || g_vireo_data.length > VS_DATA_MAX) std::abort();
}
#define MEASURE(name) measure<modem_vireo_##name, modem_vireo_##name##_get>
#define CARRIER(name, carrier) measure<modem_vireo_##name, modem_vireo_##name##_get_for_##carrier>

void power(uint32_t sub) {
  const int32_t value = sub == 0   ? modem_tx_power_get_for_max_sub()
                        : sub == 1 ? modem_tx_power_get_by_sub(1)
                                   : modem_tx_power_get_for_dds_sub();
  if (value != MODEM_TX_POWER_NONE && (value < -32768 || value > 32767)) std::abort();
}

constexpr void (*kGetters[])(uint32_t) = {
    CARRIER(lte_srv_meas_info, pcc),
    CARRIER(nr5g_srv_meas_info, scc2),
    MEASURE(nr5g_mac_ul_phy_ch_power_info),
    MEASURE(nr5g_ll1_fw_rx_control_agc),
    MEASURE(lte_pusch_power_info),
    MEASURE(mcs_trm_asdiv),
    MEASURE(wcdma_pn_search_edition2),
    MEASURE(gsm_l1_rx_diversity_metrics),
    MEASURE(nr5g_ll1_fw_serving_ftl),
    MEASURE(nr5g_ml1_antenna_switch_diversity),
    power,
};

constexpr uint32_t kIndications[] = {VS_IND_FLAGS, VS_IND_RECORDS, VS_IND_VALUES, VS_IND_BYTE,
                                     0x99};

uint32_t size_of(uint32_t message) {
  switch (message) {
    case VS_IND_FLAGS:
      return sizeof(vs_flags_ind);
    case VS_IND_RECORDS:
      return sizeof(vs_records_ind);
    case VS_IND_VALUES:
      return sizeof(vs_values_ind);
    case VS_IND_BYTE:
      return sizeof(vs_byte_ind);
    default:
      return 0;
  }
}

}  // namespace

extern "C" {

int qmi_client_init_instance(qmi_idl_service_object_type, uint32_t, qmi_client_ind_cb, void*,
                             qmi_client_os_params*, uint32_t, qmi_client_type* client) {
  *client = reinterpret_cast<qmi_client_type>(1);
  return 0;
}
int qmi_client_notifier_init(qmi_idl_service_object_type, qmi_client_os_params*, qmi_client_type*) {
  return -1;
}
int qmi_client_register_error_cb(qmi_client_type, qmi_client_error_cb, void*) { return 0; }
int qmi_client_register_notify_cb(qmi_client_type, qmi_client_notify_cb, void*) { return 0; }
int qmi_client_release(qmi_client_type) { return 0; }
int qmi_idl_get_message_c_struct_len(qmi_idl_service_object_type, qmi_idl_message_type,
                                     uint32_t message, uint32_t* length) {
  *length = size_of(message);
  return 0;
}
// Counts are in range, as after a decoder; the rest is any octets.
int qmi_client_message_decode(qmi_client_type, qmi_idl_message_type, uint32_t message, const void*,
                              uint32_t, void* decoded, uint32_t length) {
  if (length < size_of(message)) std::abort();
  take(decoded, length);
  if (message == VS_IND_VALUES) {
    auto* values = static_cast<vs_values_ind*>(decoded);
    values->values_len %= VS_IND_VALUES_MAX + 1;
  } else if (message == VS_IND_RECORDS) {
    auto* records = static_cast<vs_records_ind*>(decoded);
    records->records_len %= VS_IND_RECORDS_MAX + 1;
    records->blobs_len %= VS_IND_BLOBS_MAX + 1;
    for (vs_ind_record& record : records->records) record.data_len %= VS_IND_DATA_MAX + 1;
    for (vs_ind_record& record : records->blobs) record.data_len %= VS_IND_DATA_MAX + 1;
  }
  return 0;
}
int qmi_client_send_msg_sync(qmi_client_type, uint32_t message, const void* request, uint32_t,
                             void* response, uint32_t length, uint32_t) {
  if (message != VS_GET_PARAMETERS) return 0;
  const auto* asked = static_cast<const vs_get_parameters_req*>(request);
  auto* answer = static_cast<vs_get_parameters_resp*>(response);
  if (length != sizeof *answer) std::abort();
  const uint8_t head = octet();
  if (head >= 0xF8) return -static_cast<int>(head & 7);
  answer->resp.error = head == 0xF7 ? octet() : 0;
  answer->resp.result = answer->resp.error != 0;
  answer->parameters_valid = head != 0xF6;
  answer->parameters_len = about(1);
  vs_parameter& entry = answer->parameters[0];
  entry.sub = about(asked->parameters[0].sub);
  entry.id = about(asked->parameters[0].id);
  entry.data_len = about(octet());
  take(entry.data, std::min<uint32_t>(entry.data_len, VS_DATA_MAX));
  return 0;
}
qmi_idl_service_object_type vs_get_service_object_internal_v01(int32_t, int32_t, int32_t) {
  return nullptr;
}
qmi_idl_service_object_type nas_get_service_object_internal_v01(int32_t, int32_t, int32_t) {
  return nullptr;
}
qmi_idl_service_object_type sar_get_service_object_internal_v01(int32_t, int32_t, int32_t) {
  return nullptr;
}
int32_t kelvor_get_default_data_sub(void) { return octet() & 1; }
void kelvor_get_hex_str(char* buffer, size_t, uint64_t) { *buffer = '\0'; }
int __system_property_get(const char*, char* value) {
  *value = '\0';
  return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool ready = modem_vireo_api_init_ex(on_event, on_status) == 1;
  if (!ready) std::abort();
  g_data = data;
  g_size = size;
  while (g_size > 0) {
    const uint8_t what = octet();
    if (what % 4 == 3) {
      vs_client_unsol_ind_cb(nullptr, kIndications[what / 4 % std::size(kIndications)], data, 1,
                             nullptr);
    } else {
      kGetters[what / 4 % std::size(kGetters)](what % 4);
    }
  }
  return 0;
}

}  // extern "C"

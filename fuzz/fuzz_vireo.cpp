// The getters and the indications of the statistics framework with any responses and any decoded
// indications.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <tuple>

#include "fed.h"
#include "platform/idl/vs.h"
#include "platform/kelvor_utils.h"
#include "platform/properties.h"
#include "vireo/modem_api/modem_vireo_getters.h"
#include "vireo/modem_api/modem_vireo_mgr.h"
#include "vireo/modem_api/vs/vs_client.h"

namespace {

using fed::octet;
using fed::take;

uint64_t g_sum = 0;

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
  std::ignore = get(sub, &record);
  if (g_vireo_data.length < 0 || g_vireo_data.length > VS_DATA_MAX) std::abort();
}
void power(uint32_t sub) {
  const int32_t value = sub == 0   ? modem_tx_power_get_for_max_sub()
                        : sub == 1 ? modem_tx_power_get_by_sub(1)
                                   : modem_tx_power_get_for_dds_sub();
  if (value != MODEM_TX_POWER_NONE && (value < -32768 || value > 32767)) std::abort();
}

#define MEASURE(name, record_id) measure<modem_vireo_##name, modem_vireo_##name##_get>,
#define MEASURE_CARRIER(name, carrier, record_id) \
  measure<modem_vireo_##name, modem_vireo_##name##_get_for_##carrier>,
constexpr void (*kGetters[])(uint32_t) = {MODEM_VIREO_MEASUREMENTS(MEASURE)
                                              MODEM_VIREO_CARRIERS(MEASURE_CARRIER) power};

constexpr uint32_t kIndications[] = {VS_IND_FLAGS, VS_IND_RECORDS, VS_IND_VALUES, VS_IND_BYTE,
                                     0x99};

}  // namespace

int fed::answer(qmi_client_type, uint32_t message, const void* request, uint32_t, void* response,
                uint32_t length) {
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
// Counts are in range, as after a decoder; the rest is any octets.
int fed::indication(uint32_t message, std::span<const uint8_t>, void* decoded, uint32_t room) {
  take(decoded, room);
  if (message == VS_IND_VALUES) {
    static_cast<vs_values_ind*>(decoded)->values_len %= VS_IND_VALUES_MAX + 1;
  } else if (message == VS_IND_RECORDS) {
    auto* records = static_cast<vs_records_ind*>(decoded);
    records->records_len %= VS_IND_RECORDS_MAX + 1;
    records->blobs_len %= VS_IND_BLOBS_MAX + 1;
    for (vs_ind_record& record : records->records) record.data_len %= VS_IND_DATA_MAX + 1;
    for (vs_ind_record& record : records->blobs) record.data_len %= VS_IND_DATA_MAX + 1;
  }
  return 0;
}

extern "C" {

int32_t kelvor_get_default_data_sub(void) { return octet() & 1; }
void kelvor_get_hex_str(char* buffer, size_t, uint64_t) { *buffer = '\0'; }
int __system_property_get(const char*, char* value) {
  *value = '\0';
  return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool ready = modem_vireo_api_init_ex(on_event, on_status) == 1;
  if (!ready) std::abort();
  fed::g_input = {data, size};
  while (!fed::g_input.empty()) {
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

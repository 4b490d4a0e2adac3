// The statistics framework and its service clients: odd arguments, any responses, any decoded
// indications.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <tuple>

#include "fed.h"
#include "platform/idl/vs.h"
#include "platform/kelvor_utils.h"
#include "platform/properties.h"
#include "vireo/modem_api/modem_vireo_getters.h"
#include "vireo/modem_api/modem_vireo_mgr.h"
#include "vireo/modem_api/nas/nas_0_client.h"
#include "vireo/modem_api/nas/nas_1_client.h"
#include "vireo/modem_api/sar/sar_client.h"
#include "vireo/modem_api/vs/vs_client.h"
#include "vireo/vireo_common/vireo_mem.h"

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

#define MEASURE(name, record_id) measure<modem_vireo_##name, modem_vireo_##name##_get>,
#define MEASURE_CARRIER(name, carrier, record_id) \
  measure<modem_vireo_##name, modem_vireo_##name##_get_for_##carrier>,
constexpr void (*kGetters[])(uint32_t) = {MODEM_VIREO_MEASUREMENTS(MEASURE)
                                              MODEM_VIREO_CARRIERS(MEASURE_CARRIER)};

// ---- what the getters are made of, with odd arguments

void fetch() {
  const auto block = std::make_unique<modem_vireo_entry_block>();
  block->count = fed::number({1, VS_PARAMETERS_MAX, 0, VS_PARAMETERS_MAX + 1});
  std::ignore = modem_vireo_get_stats_parameter(octet(), octet(), block.get());
  std::ignore = modem_vireo_get_stats_parameter(0, 0, nullptr);
}

void on_response(void* data, uint32_t length, void*, uint32_t) {
  for (uint32_t i = 0; i < length; ++i) g_sum += static_cast<const uint8_t*>(data)[i];
  vireo_free_adv(data, __func__, __LINE__);
}
void process_response() {
  const auto allocate = [](size_t size) { return vireo_malloc_adv(size, "", 0); };
  const uint8_t length = octet();
  void* response = allocate(std::max<uint32_t>(length, 1));
  take(response, length);
  auto* record =
      static_cast<modem_api_callback_record*>(allocate(sizeof(modem_api_callback_record)));
  *record = {octet() == 0xFF ? nullptr : on_response, nullptr};
  modem_api_process_response(octet() & 1, response, length, record, octet() % 8 == 7 ? -3 : 0);
}

// A client comes, has an indication, and goes.
void client() {
  int32_t id = -1;
  std::ignore = modem_api_init_client(octet() % 5, on_event, on_status, &id);
  nas_1_client_unsol_ind_cb(nullptr, octet(), nullptr, 0, nullptr);
  sar_client_unsol_ind_cb(nullptr, octet(), nullptr, 0, nullptr);
  modem_api_free_client(id);
}

void indicate() { fed::deliver(qcci::idl::kVsService, octet() % 8, vs_client_unsol_ind_cb); }

void init() { std::ignore = modem_vireo_api_init_ex(on_event, on_status); }

constexpr void (*kCalls[])() = {
    fetch,
    process_response,
    client,
    indicate,
    init,
    fed::with_numbers<modem_vireo_api_deinit>,
    fed::with_numbers<modem_vireo_stats_start>,
    fed::with_numbers<modem_sys_mode_get>,
    fed::with_numbers<modem_vireo_data_get>,
    fed::with_numbers<modem_tx_power_get_for_max_sub>,
    fed::with_numbers<modem_tx_power_get_for_dds_sub>,
    fed::with_numbers<modem_api_free_client>,
    fed::with_numbers<modem_api_util_enable_networking_indications>,
    fed::with_numbers<modem_api_set_vireo_feature_status>,
    fed::with_numbers<nas_0_client_set_networking_indications>,
};

}  // namespace

int fed::answer(qmi_client_type client, uint32_t message, const void* request, uint32_t length,
                void* response, uint32_t room) {
  if (message != VS_GET_PARAMETERS || client == nullptr || octet() >= 0xF0) {
    return respond(client, message, request, length, response, room);
  }
  const auto* asked = static_cast<const vs_get_parameters_req*>(request);
  auto* answer = static_cast<vs_get_parameters_resp*>(response);
  if (room != sizeof *answer) std::abort();
  answer->parameters_valid = 1;
  answer->parameters_len = about(1);
  vs_parameter& entry = answer->parameters[0];
  entry.sub = about(asked->parameters[0].sub);
  entry.id = about(asked->parameters[0].id);
  entry.data_len = about(octet());
  take(entry.data, std::min<uint32_t>(entry.data_len, VS_DATA_MAX));
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
  fed::g_input = {data, size};
  init();
  while (!fed::g_input.empty()) {
    const uint8_t what = octet();
    if (what >= 0xC0) {
      kCalls[what % std::size(kCalls)]();
    } else {
      kGetters[what / 4 % std::size(kGetters)](what % 4);
    }
  }
  return 0;
}

}  // extern "C"

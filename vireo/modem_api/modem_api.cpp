#include "vireo/modem_api/modem_api.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <tuple>

#include "base/mutex.h"
#include "common/trace.h"
#include "platform/idl/nas.h"
#include "platform/kelvor_utils.h"
#include "vireo/modem_api/nas/nas_0_client.h"
#include "vireo/modem_api/nas/nas_1_client.h"
#include "vireo/modem_api/sar/sar_client.h"
#include "vireo/modem_api/vs/vs_client.h"
#include "vireo/vireo_common/vireo_mem.h"

namespace {

// A client type: its operations, and the words for it when it is there already.
struct TypeRow {
  qmi_idl_service_object_type (*init)(void);
  int (*client_init)(modem_api_indication_cb callback);
  void (*set_status_callback)(modem_api_operational_cb callback);
  int (*client_release)(void);
  const char* connected_name;
  const char* other_name;
};
constexpr TypeRow kTypes[] = {
    {vs_init, vs_client_init, vs_client_set_operational_status_callback, vs_client_release, "vs",
     "vs"},
    {sar_init, sar_client_init, sar_client_set_operational_status_callback, sar_client_release,
     "sar", "sar"},
    {nas_0_init, nas_0_client_init, nas_0_client_set_operational_status_callback,
     nas_0_client_release, "nas", "nas 0"},
    // The second one's text names the first.
    {nas_1_init, nas_1_client_init, nas_1_client_set_operational_status_callback,
     nas_1_client_release, "nas", "nas 0"},
};
static_assert(std::size(kTypes) == kModemApiClientTypes);

struct ClientRecord {
  uint32_t client_type;
  int32_t client_id;
  uint64_t operational_status;
  modem_api_indication_cb on_indication;
  modem_api_status_cb on_status;
  bool freeing;  // its service client is being released
};

// Recursive: a status callback, which runs under it, may free its client. It is not held while a
// service client connects or is released, since both wait for callbacks.
base::RecursiveMutex g_table_mutex;
ClientRecord* g_clients[MODEM_API_CLIENTS_MAX] GUARDED_BY(g_table_mutex);

base::Mutex g_static_mutex ACQUIRED_BEFORE(g_table_mutex);
int32_t g_references GUARDED_BY(g_static_mutex) = 0;  // 0 or 1

void empty_slots() {
  const base::RecursiveLock lock(g_table_mutex);
  std::fill(std::begin(g_clients), std::end(g_clients), nullptr);
}

void free_record(ClientRecord* record) { vireo_free_adv(record, __func__, __LINE__); }

// Whether the record was still in the table, which it then leaves.
[[nodiscard]] bool remove_from_table(int32_t id, const ClientRecord* record) {
  const base::RecursiveLock lock(g_table_mutex);
  if (g_clients[id] != record) return false;
  g_clients[id] = nullptr;
  return true;
}

// Whether a client of that id has that type and is connected.
bool is_connected(int32_t client_id, uint32_t type) {
  if (client_id < 0 || client_id >= MODEM_API_CLIENTS_MAX) return false;
  const base::RecursiveLock lock(g_table_mutex);
  const ClientRecord* record = g_clients[client_id];
  return record != nullptr && record->client_type == type &&
         record->operational_status == OP_STATUS_CONNECTED;
}

uint32_t unexpected() {
  TRACE_ERROR("Unexpected condition, return error %d!", MODEM_API_INVALID_CLIENT);
  return MODEM_API_INVALID_CLIENT;
}

// Stores the record in the lowest free slot, unless its type is there already.
uint32_t insert(ClientRecord* record) {
  const base::RecursiveLock lock(g_table_mutex);
  const TypeRow& type = kTypes[record->client_type];
  for (const ClientRecord* other : g_clients) {
    if (other == nullptr || other->client_type != record->client_type) continue;
    if (other->operational_status == OP_STATUS_CONNECTED) {
      TRACE_ERROR("Already another client init %s client successfully", type.connected_name);
      return MODEM_API_CLIENT_CONNECTED;
    }
    TRACE_ERROR("Another client init %s client with operational status %d", type.other_name,
                static_cast<int>(other->operational_status));
    return MODEM_API_CLIENT_EXISTS;
  }
  const auto slot = std::find(std::begin(g_clients), std::end(g_clients), nullptr);
  if (slot == std::end(g_clients)) {
    return TRACED_ERROR(MODEM_API_NO_FREE_SLOT, "no more client can be added");
  }
  record->client_id = static_cast<int32_t>(slot - std::begin(g_clients));
  *slot = record;
  return MODEM_API_SUCCESS;
}

uint32_t init_client(uint32_t client_type, modem_api_indication_cb on_indication,
                     modem_api_status_cb on_status, int32_t* client_id) {
  if (!modem_api_check_white_list()) {
    return TRACED_ERROR(MODEM_API_NOT_PERMITTED, "check fail, do nothing");
  }
  auto* record = static_cast<ClientRecord*>(
      vireo_malloc_adv(sizeof(ClientRecord), Operation::name(__func__), __LINE__));
  if (record == nullptr) return TRACED_ERROR(MODEM_API_NO_MEMORY, "could not allocate memory");
  if (client_type >= kModemApiClientTypes) {
    TRACE_ERROR("modem api client type %d not supported", client_type);
    free_record(record);
    return MODEM_API_NOT_SUPPORTED;
  }
  *record = {client_type, -1, OP_STATUS_RELEASED, on_indication, on_status, false};
  if (const uint32_t result = insert(record); result != MODEM_API_SUCCESS) {
    free_record(record);
    return result;
  }
  const int32_t id = record->client_id;
  const TypeRow& type = kTypes[client_type];
  type.set_status_callback(modem_api_operational_status_cb);
  if (type.client_init(on_indication) == 0) {
    // Whoever freed it meanwhile has freed the record too.
    if (remove_from_table(id, record)) free_record(record);
    return MODEM_API_FAILURE;
  }
  // `vs` does not report its status itself.
  if (client_type == kModemApiVs) modem_api_operational_status_cb(kModemApiVs, OP_STATUS_CONNECTED);
  if (client_id != nullptr) *client_id = id;
  TRACE_DEBUG("new client: type %d, id %d", client_type, id);
  if (client_type == kModemApiNas0 || client_type == kModemApiNas1) {
    // A client without the reports of NAS is of use all the same; the failure is in the trace.
    std::ignore = modem_api_util_enable_networking_indications(id, client_type - kModemApiNas0);
  }
  return MODEM_API_SUCCESS;
}

// A response whose payload is a length and as many octets.
struct CountedResponse {
  qmi_standard_result resp;
  uint32_t length;
};

void deliver_response(uint32_t message_id, const void* response, uint32_t response_len,
                      const modem_api_callback_record& record, int transport_error) {
  CountedResponse head{};
  if (response == nullptr || response_len == 0) {
    record.callback(nullptr, 0, record.user_data, MODEM_API_NO_MEMORY);
    return;
  }
  std::memcpy(&head, response, std::min<size_t>(response_len, sizeof head));
  const bool whole = response_len >= sizeof head.resp;
  const uint32_t result =
      modem_api_map_qmi_error_to_modem_api(transport_error, whole ? &head.resp : nullptr);
  if (result != MODEM_API_SUCCESS) {
    record.callback(nullptr, 0, record.user_data, result);
    return;
  }
  if (message_id == 0) {
    const auto room =
        static_cast<uint32_t>(response_len > sizeof head ? response_len - sizeof head : 0);
    const uint32_t length = std::min(head.length, room);
    void* copy =
        vireo_malloc_adv(std::max(length, 1u), "modem_api_common_command_cb_handler", __LINE__);
    if (copy == nullptr) {
      record.callback(nullptr, 0, record.user_data, MODEM_API_NO_MEMORY);
    } else {
      std::memcpy(copy, static_cast<const uint8_t*>(response) + sizeof head, length);
      record.callback(copy, length, record.user_data, MODEM_API_SUCCESS);
    }
  }
  record.callback(nullptr, 0, record.user_data, MODEM_API_RESPONSE_DONE);
}

}  // namespace

extern "C" {

uint32_t modem_api_init(void) {
  return traced(__func__, []() -> uint32_t {
    if (!modem_api_check_white_list()) {
      return TRACED_ERROR(MODEM_API_NOT_PERMITTED, "check fail, do nothing");
    }
    {
      const base::Lock lock(g_static_mutex);
      if (g_references == 0) {
        g_references = 1;
        empty_slots();
      }
    }
    for (const TypeRow& type : kTypes) type.init();
    return MODEM_API_SUCCESS;
  });
}

uint32_t modem_api_release(void) {
  return traced(__func__, []() -> uint32_t {
    const base::Lock lock(g_static_mutex);
    if (g_references >= 1) {
      empty_slots();
      --g_references;
    }
    return MODEM_API_SUCCESS;
  });
}

uint32_t modem_api_init_client(uint32_t client_type, modem_api_indication_cb on_indication,
                               modem_api_status_cb on_status, int32_t* client_id) {
  const Operation operation(__func__);
  TRACE_DEBUG("function entry ------------->");
  const uint32_t result = init_client(client_type, on_indication, on_status, client_id);
  TRACE_DEBUG("function exit, ret(%d) <-------------", result);
  return result;
}

uint32_t modem_api_free_client(int32_t client_id) {
  return traced(__func__, [&]() -> uint32_t {
    TRACE_DEBUG("client_id %d", client_id);
    if (client_id < 0 || client_id >= MODEM_API_CLIENTS_MAX) {
      return TRACED_ERROR(MODEM_API_INVALID_CLIENT, "invalid client_id %d", client_id);
    }
    ClientRecord* record = nullptr;
    {
      const base::RecursiveLock lock(g_table_mutex);
      record = g_clients[client_id];
      if (record == nullptr || record->freeing) {
        return TRACED_DEBUG(MODEM_API_SUCCESS, "client already freed");
      }
      record->freeing = true;
    }
    kTypes[record->client_type].client_release();
    std::ignore = remove_from_table(client_id, record);  // modem_api_release may have been first
    free_record(record);
    return MODEM_API_SUCCESS;
  });
}

void modem_api_operational_status_cb(uint32_t client_type, uint64_t operational_status) {
  const Operation operation(__func__);
  const base::RecursiveLock lock(g_table_mutex);
  for (ClientRecord* const record : g_clients) {
    if (record == nullptr || record->client_type != client_type) continue;
    record->operational_status = operational_status;
    TRACE_DEBUG("client type %d, client id %d, operational_status %d", client_type,
                record->client_id, static_cast<int>(operational_status));
    if (record->on_status == nullptr) continue;
    if (operational_status == OP_STATUS_CONNECTED) {
      record->on_status(MODEM_API_EVENT_CONNECTED, client_type);
    } else if (operational_status == OP_STATUS_SUSPENDING) {
      record->on_status(MODEM_API_EVENT_SUSPENDING, client_type);
    }
  }
}

void modem_api_process_response(uint32_t message_id, void* response, uint32_t response_len,
                                struct modem_api_callback_record* record, int transport_error) {
  if (record != nullptr && record->callback != nullptr) {
    deliver_response(message_id, response, response_len, *record, transport_error);
  }
  vireo_free_adv(response, __func__, __LINE__);
  vireo_free_adv(record, __func__, __LINE__);
}

uint32_t modem_api_util_enable_networking_indications(int32_t client_id, uint32_t nas) {
  return traced(__func__, [&]() -> uint32_t {
    if (!is_connected(client_id, nas == 0 ? kModemApiNas0 : kModemApiNas1)) {
      return unexpected();
    }
    nas_indication_register_req request{};
    request.serving_system_valid = 1;  // with the value 0
    nas_plain_resp response{};
    const auto send = nas == 0 ? nas_0_client_send_msg_sync : nas_1_client_send_msg_sync;
    const int error =
        send(NAS_INDICATION_REGISTER, &request, sizeof request, &response, sizeof response);
    const uint32_t result = modem_api_map_qmi_error_to_modem_api(error, &response.resp);
    TRACE_DEBUG("enable_indication result: %d", result);
    return result;
  });
}

uint32_t modem_api_set_vireo_feature_status(int32_t client_id, uint32_t value, uint8_t a, uint8_t b,
                                            uint8_t c) {
  return traced(__func__, [&]() -> uint32_t {
    if (!is_connected(client_id, kModemApiVs)) return unexpected();
    const vs_feature_status_req request{value, a, b, c};
    vs_plain_resp response{};
    const int error = vs_client_send_msg_sync(VS_FEATURE_STATUS, &request, sizeof request,
                                              &response, sizeof response);
    const uint32_t result = modem_api_map_qmi_error_to_modem_api(error, &response.resp);
    TRACE_DEBUG("result %d", result);
    return result;
  });
}

uint32_t modem_api_get_stats_parameter(int32_t client_id, uint16_t sub, uint16_t slot,
                                       uint32_t* count, vs_parameter* parameters) {
  return traced(__func__, [&]() -> uint32_t {
    TRACE_DEBUG("client_id = %d, sub = %d, slot = %d", client_id, sub, slot);
    if (!is_connected(client_id, kModemApiVs)) return unexpected();
    if (parameters == nullptr || count == nullptr) {
      return TRACED_ERROR(MODEM_API_INVALID_ARG, "stats_para_data is null");
    }
    if (*count < 1 || *count > VS_PARAMETERS_MAX) {
      return TRACED_ERROR(MODEM_API_INVALID_ARG, "para_num(%d) is invalid", *count);
    }
    static constexpr size_t kHexRoom = 30;  // the longest text of 8 octets fits
    vs_get_parameters_req request{};
    request.sub = sub;
    request.slot = slot;
    request.parameters_len = *count;
    for (uint32_t i = 0; i < *count; ++i) {
      const vs_parameter& parameter = parameters[i];
      request.parameters[i] = parameter;
      uint64_t first = 0;
      std::memcpy(&first, parameter.data, sizeof first);
      char hex[kHexRoom];
      kelvor_get_hex_str(hex, sizeof hex, first);
      TRACE_DEBUG("ids[%d] = %d, value_len = %d, type = %d, value: %s", i, parameter.id,
                  parameter.data_len, parameter.sub, hex);
    }
    vs_get_parameters_resp response{};
    const int error = vs_client_send_msg_sync(VS_GET_PARAMETERS, &request, sizeof request,
                                              &response, sizeof response);
    const uint32_t result = modem_api_map_qmi_error_to_modem_api(error, &response.resp);
    if (result != MODEM_API_SUCCESS) return result;
    if (response.parameters_valid != 1) return MODEM_API_FAILURE;
    *count = response.parameters_len;
    std::copy_n(response.parameters, std::min<uint32_t>(response.parameters_len, VS_PARAMETERS_MAX),
                parameters);
    return MODEM_API_SUCCESS;
  });
}

bool modem_api_check_white_list(void) {
  const Operation operation(__func__);
  static constexpr const char* kPermitted[] = {"qcrilNrd", "vex", "modem_api_test"};
  const char* name = kelvor_utils_get_pid_name();
  for (const char* permitted : kPermitted) {
    if (std::strcmp(name, permitted) != 0) continue;
    TRACE_DEBUG("check pass, p_id: %d, p_name: %s", ::getpid(), name);
    return true;
  }
  TRACE_ERROR("check fail, p_id: %d, p_name: %s", ::getpid(), name);
  return false;
}

}  // extern "C"

#include "qmi/kelvor_extend_api.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <tuple>

#include "base/mutex.h"
#include "common/trace.h"
#include "platform/idl/vendor.h"

namespace {

constexpr uint32_t kSendTimeoutMs = 3000;
constexpr int kServiceTries = 50;  // a second in all, for a service that is not up yet
constexpr uint32_t kServiceWaitMs = 20;
constexpr uint32_t kServiceListMax = 8;  // the first instance is opened, the others only counted

struct Client {
  qmi_idl_service_object_type service = nullptr;
  qmi_client_os_params os_params{};
  qmi_client_type notifier = nullptr;
  qmi_client_type handle = nullptr;
  kelvor_vendor_msg request{};
  kelvor_vendor_msg response{};
};

base::Mutex g_mutex;
Client g_client GUARDED_BY(g_mutex);
std::atomic<bool> g_initialised{false};
std::atomic<int32_t> g_trace{1};
std::atomic<kelvor_extend_sub_id_handler> g_sub_id_handlers[KELVOR_EXTEND_SUB_IDS];
std::atomic<kelvor_extend_shared_handler> g_shared_handler{nullptr};

// This unit's own trace lines, which can be switched off.
#define EXTEND_TRACE(level, ...)                           \
  do {                                                     \
    if (g_trace.load() != 0) TRACE_AT(level, __VA_ARGS__); \
  } while (false)

int as_int(qmi_client_type handle) { return static_cast<int>(reinterpret_cast<intptr_t>(handle)); }

void reset_client() REQUIRES(g_mutex) {
  const Operation operation("kelvor_extend_qmi_client_init");
  g_client = Client{};
  g_client.service = kelvor_extend_get_service_object_internal_v01(
      KELVOR_VENDOR_IDL_MAJOR, KELVOR_VENDOR_IDL_MINOR, KELVOR_VENDOR_IDL_TOOL);
  if (g_client.service == nullptr) TRACE_ERROR("QMI get service obj failed. Check .c and .h");
  g_initialised = true;
}

void init_once() EXCLUDES(g_mutex) {
  if (g_initialised) return;
  const base::Lock lock(g_mutex);
  if (!g_initialised) reset_client();
}

qmi_client_type open_client() REQUIRES(g_mutex) {
  const Operation operation("kelvor_extend_qmi_client_open");
  Client& client = g_client;
  if (client.handle != nullptr) return client.handle;
  // One notifier for the process, however often the service has to be looked for.
  if (client.notifier == nullptr) {
    std::ignore = qmi_client_notifier_init(client.service, &client.os_params, &client.notifier);
  }

  int error = 0;
  uint32_t services = 0;
  for (int i = 0; i < kServiceTries; ++i) {
    error = qmi_client_get_service_list(client.service, nullptr, nullptr, &services);
    EXTEND_TRACE(kTraceDebug,
                 "KELVOR_QMI_NV: qmi_client_get_service_list() returned %d num_services = %d",
                 error, services);
    if (error == 0) break;
    qmi_cci_os_signal_wait(&client.os_params, kServiceWaitMs);
  }

  qmi_service_info list[kServiceListMax]{};
  uint32_t entries = std::min(services, kServiceListMax);
  error = qmi_client_get_service_list(client.service, list, &entries, &services);
  EXTEND_TRACE(kTraceDebug,
               "qmi_client_get_service_list, err = %d, num_entries = %d, num_services = %d", error,
               entries, services);

  qmi_client_type handle = nullptr;
  error = qmi_client_init(&list[0], client.service, kelvor_extend_qmi_ind_cb, nullptr,
                          &client.os_params, &handle);
  client.handle = error == 0 ? handle : nullptr;
  EXTEND_TRACE(kTraceDebug, "qmi_client_init, err = %d, handle = %d, client_handle = %d", error,
               as_int(handle), as_int(client.handle));
  if (error != 0) {
    EXTEND_TRACE(kTraceError, "%d QMI client init failed", error);
  } else {
    EXTEND_TRACE(kTraceDebug, "QMI client inited");
  }
  return client.handle;
}

// One exchange, with the client open; the octets copied to the caller are written to *response_len.
int32_t exchange(uint32_t request_id, const void* request, uint32_t request_len, void* response,
                 uint32_t* response_len) REQUIRES(g_mutex) {
  Client& client = g_client;
  client.request = {};
  client.response = {};
  client.request.id = request_id;
  client.request.data_len = request_len;
  client.request.data_valid = 1;
  std::memcpy(client.request.data, request, request_len);
  const int error = qmi_client_send_msg_sync(client.handle, KELVOR_VENDOR_GENERIC, &client.request,
                                             sizeof client.request, &client.response,
                                             sizeof client.response, kSendTimeoutMs);
  if (error != 0) {
    EXTEND_TRACE(kTraceError, "send msg sync failed:%d", error);
    return KELVOR_EXTEND_FAILED;
  }
  if (client.response.id != 0) {
    EXTEND_TRACE(kTraceError, "%d QMI service framework error. Check client", client.response.id);
    return KELVOR_EXTEND_FAILED;
  }
  *response_len = std::min(*response_len, client.response.data_len);
  if (client.response.data_valid != 0) {
    std::memcpy(response, client.response.data, *response_len);
  } else {
    *response_len = 0;
  }
  EXTEND_TRACE(kTraceDebug, "kelvor_extend_qmi_send_sync resp_len:%d", *response_len);
  return KELVOR_EXTEND_OK;
}

void on_sub_id(qmi_client_type client, const void* encoded, uint32_t length) {
  TRACE_DEBUG("KELVOR__EXTEND_QMI: Indication msg_id=0x%x buf_len=%d ", KELVOR_VENDOR_SUB_ID,
              length);
  kelvor_vendor_msg ind;
  if (qmi_client_message_decode(client, QMI_IDL_INDICATION, KELVOR_VENDOR_SUB_ID, encoded, length,
                                &ind, sizeof ind) != 0) {
    return;
  }
  if (ind.id >= KELVOR_EXTEND_SUB_IDS) {
    TRACE_DEBUG("Indicaion: %d greater than maximum known indication.", ind.id);
    return;
  }
  const kelvor_extend_sub_id_handler handler = g_sub_id_handlers[ind.id];
  if (handler == nullptr) {
    TRACE_DEBUG("No function defined to handle indication: %d", ind.id);
    return;
  }
  const uint32_t data_len = std::min<uint32_t>(ind.data_len, sizeof ind.data);
  handler(ind.id, ind.data, ind.data_valid != 0 ? data_len : 0);
}

void on_shared(qmi_client_type client, uint32_t message_id, const void* encoded, uint32_t length) {
  union {
    kelvor_vendor_ind_5 ind_5;
    kelvor_vendor_ind_6 ind_6;
    kelvor_vendor_pair ind_7;
    kelvor_vendor_ind_8 ind_8;
    kelvor_vendor_ind_9 ind_9;
  } ind;
  static constexpr struct {
    uint32_t message_id;
    uint32_t size;
  } kSizes[] = {
      {KELVOR_VENDOR_IND_5, sizeof ind.ind_5}, {KELVOR_VENDOR_IND_6, sizeof ind.ind_6},
      {KELVOR_VENDOR_IND_7, sizeof ind.ind_7}, {KELVOR_VENDOR_IND_8, sizeof ind.ind_8},
      {KELVOR_VENDOR_IND_9, sizeof ind.ind_9},
  };
  for (const auto& row : kSizes) {
    if (row.message_id != message_id) continue;
    const int error = qmi_client_message_decode(client, QMI_IDL_INDICATION, message_id, encoded,
                                                length, &ind, row.size);
    const kelvor_extend_shared_handler handler = g_shared_handler;
    if (error == 0 && handler != nullptr) handler(message_id, &ind, row.size);
  }
}

}  // namespace

extern "C" {

void kelvor_extend_qmi_client_init(void) {
  const base::Lock lock(g_mutex);
  reset_client();
}

qmi_client_type kelvor_extend_qmi_client_open(void) {
  init_once();
  const base::Lock lock(g_mutex);
  return open_client();
}

int32_t kelvor_extend_qmi_send_sync(uint32_t request_id, const void* request, uint32_t request_len,
                                    void* response, uint32_t* response_len) {
  const Operation operation(__func__);
  init_once();
  if (request == nullptr || response == nullptr || response_len == nullptr) {
    EXTEND_TRACE(kTraceError, "%x,  put Invalid param",
                 static_cast<unsigned>(reinterpret_cast<uintptr_t>(request)));
    return KELVOR_EXTEND_BAD_ARGUMENT;
  }
  if (request_len > KELVOR_VENDOR_DATA_MAX || *response_len > KELVOR_VENDOR_DATA_MAX) {
    EXTEND_TRACE(kTraceError, "put data_len %d > max %d", request_len, KELVOR_VENDOR_DATA_MAX);
    return KELVOR_EXTEND_BAD_ARGUMENT;
  }
  const base::Lock lock(g_mutex);
  int32_t result = KELVOR_EXTEND_NOT_OPENED;
  if (open_client() != nullptr) {
    result = exchange(request_id, request, request_len, response, response_len);
  }
  EXTEND_TRACE(kTraceDebug, "kelvor_extend_qmi_handle_req_cb result:%d", result);
  return result;
}

void kelvor_extend_qmi_ind_cb(qmi_client_type client, uint32_t message_id, const void* encoded,
                              uint32_t length, void* /*data*/) {
  const Operation operation(__func__);
  if (message_id == KELVOR_VENDOR_SUB_ID) {
    on_sub_id(client, encoded, length);
  } else {
    on_shared(client, message_id, encoded, length);
  }
}

void kelvor_extend_set_sub_id_handler(uint32_t sub_id, kelvor_extend_sub_id_handler handler) {
  if (sub_id < KELVOR_EXTEND_SUB_IDS) g_sub_id_handlers[sub_id] = handler;
}

void kelvor_extend_set_shared_handler(kelvor_extend_shared_handler handler) {
  g_shared_handler = handler;
}

void kelvor_extend_set_trace(int32_t on) { g_trace = on; }

}  // extern "C"

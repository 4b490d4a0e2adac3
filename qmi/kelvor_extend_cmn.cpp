#include "qmi/kelvor_extend_cmn.h"

#include <cstring>

#include "common/result.h"
#include "common/trace.h"
#include "platform/idl/nas.h"
#include "platform/idl/sar.h"
#include "platform/idl/vendor.h"
#include "platform/idl/vendor_payload.h"
#include "qmi/kelvor_extend_api.h"

namespace {

constexpr uint32_t kSarInitTimeoutMs = 4;  // a SAR service that is not up yet is not waited for
constexpr uint32_t kSarSendTimeoutMs = 30000;
constexpr uint32_t kNasInitTimeoutMs = 5000;  // NAS is waited for

static_assert(sizeof(kelvor_common_rsp) == KELVOR_COMMON_RSP_SIZE);

// What the two common requests share: the caller's octets go to `value`, which lies in `request`.
template <class Request>
uint32_t send_common(Request& request, uint8_t* value, uint32_t most, uint32_t l, const uint8_t* v,
                     uint8_t* rsp) {
  if (l > most) return TRACED_DEBUG(KELVOR_COMMON_BAD_ARGUMENT, "l is out of range");
  if (l != 0 && v == nullptr) return TRACED_DEBUG(KELVOR_COMMON_BAD_ARGUMENT, "v is null");
  if (l != 0) std::memcpy(value, v, l);
  uint32_t rsp_len = KELVOR_COMMON_RSP_SIZE;
  return static_cast<uint32_t>(
      kelvor_extend_qmi_send_sync(REQUEST_ID_COMMON, &request, sizeof request, rsp, &rsp_len));
}

// Zeroes the caller's room; false when there is none.
bool clear_response(uint8_t* rsp) {
  if (rsp == nullptr) return TRACED_DEBUG(false, "rsp is NULL");
  std::memset(rsp, 0, KELVOR_COMMON_RSP_SIZE);
  return true;
}

qmi_client_type g_nas_client = nullptr;

void kelvor_qmi_client_init() {
  const Operation operation(__func__);
  TRACE_DEBUG("init qmi_client");
  const auto service =
      nas_get_service_object_internal_v01(NAS_IDL_MAJOR, NAS_IDL_MINOR, NAS_IDL_TOOL);
  static qmi_client_os_params os_params;  // lasts as long as the client
  qmi_client_type client = nullptr;
  int error =
      qmi_client_init_instance(service, QMI_CLIENT_INSTANCE_ANY, kelvor_qmi_client_unsol_ind_cb,
                               nullptr, &os_params, kNasInitTimeoutMs, &client);
  if (error != 0) {
    TRACE_DEBUG("kelvor_qmi_client_init instance failed, qmi_client_error = %d", error);
    return;
  }
  TRACE_DEBUG("qmi_svc_client %p", static_cast<void*>(client));
  error = qmi_client_register_error_cb(client, kelvor_qmi_client_error_cb, nullptr);
  if (error != 0) {
    TRACE_DEBUG("qmi_client_register_error_cb failed");
    return;
  }
  g_nas_client = client;
}

void kelvor_qmi_client_recovery() {
  const Operation operation(__func__);
  TRACE_DEBUG("kelvor_qmi_client_recovery, qmi_client_ptr %p", static_cast<void*>(g_nas_client));
  if (g_nas_client == nullptr) {
    TRACE_DEBUG("qmi_client_ptr is NULL");
  } else if (qmi_client_release(g_nas_client) != 0) {
    TRACE_DEBUG("qmi_client_release failed");
  }
  // The handle stays: a command makes one request.
}

int32_t send_nas(uint32_t msg_id, const void* req, uint32_t req_len, void* rsp, uint32_t rsp_len,
                 uint32_t time_out_ms) {
  if (req == nullptr) return TRACED_DEBUG(-1, "qmi_request is NULL");
  if (rsp == nullptr) return TRACED_DEBUG(-1, "qmi_response is NULL");
  if (g_nas_client == nullptr) kelvor_qmi_client_init();
  if (g_nas_client == nullptr) return TRACED_DEBUG(-1, "qmi_client_ptr is NULL");
  const int error =
      qmi_client_send_msg_sync(g_nas_client, msg_id, req, req_len, rsp, rsp_len, time_out_ms);
  if (error != 0) TRACE_DEBUG("qmi_client_send_msg_sync fail, qmi_client_error = %d", error);
  return error;
}

}  // namespace

extern "C" {

uint32_t kelvor_send_common_qmi_msg(uint32_t t, uint32_t l, const uint8_t* v, uint8_t* rsp) {
  const TraceScope scope(__func__);
  if (!clear_response(rsp)) return KELVOR_COMMON_BAD_ARGUMENT;
  TRACE_DEBUG("t %d", t);
  TRACE_DEBUG("l %d", l);
  kelvor_common_item_req request{};
  request.command = KELVOR_COMMON_ITEM;
  request.t = t;
  request.l = l;
  return send_common(request, request.v, KELVOR_COMMON_VALUE_MAX, l, v, rsp);
}

uint32_t kelvor_common_qmi_req(uint32_t cmd, uint32_t l, const uint8_t* v, uint8_t* rsp) {
  const TraceScope scope(__func__);
  if (!clear_response(rsp)) return KELVOR_COMMON_BAD_ARGUMENT;
  kelvor_common_raw_req request{};
  request.command = cmd;
  return send_common(request, request.payload, KELVOR_COMMON_PAYLOAD_MAX, l, v, rsp);
}

int32_t kelvor_get_sar_dsi(void) {
  const TraceScope scope(__func__);
  const auto service =
      sar_get_service_object_internal_v01(SAR_IDL_MAJOR, SAR_IDL_MINOR, SAR_IDL_TOOL);
  static qmi_client_os_params os_params;  // lasts as long as the clients, which nobody releases
  qmi_client_type client = nullptr;
  int error = qmi_client_init_instance(service, QMI_CLIENT_INSTANCE_ANY,
                                       kelvor_qmi_client_common_empty_unsol_ind_cb, nullptr,
                                       &os_params, kSarInitTimeoutMs, &client);
  if (error != 0) {
    return TRACED_DEBUG(-1, "qmi_client_init_instance failed, qmi_client_error = %d", error);
  }
  sar_rf_get_state_resp rsp{};
  error = qmi_client_send_msg_sync(client, SAR_RF_GET_STATE, nullptr, 0, &rsp, sizeof rsp,
                                   kSarSendTimeoutMs);
  if (error != 0) {
    result::cause(result::Layer::kClient, error);
    return TRACED_DEBUG(-1, "qmi_client_send_msg_sync failed, qmi_client_error = %d", error);
  }
  result::answered(rsp.resp, rsp.state_valid != 0);
  TRACE_DEBUG("dsi vailid = %d , dsi value = %d", rsp.state_valid, rsp.state);
  return static_cast<int32_t>(rsp.state);
}

int32_t kelvor_send_nas_qmi_req_msg(uint32_t msg_id, const void* req, uint32_t req_len, void* rsp,
                                    uint32_t rsp_len, uint32_t time_out_ms) {
  const TraceScope scope(__func__);
  TRACE_DEBUG("kelvor_send_nas_qmi_req_msg, msg_id = %d, time_out_ms = %d, qmi_client_ptr = 0x%08x",
              msg_id, time_out_ms,
              static_cast<unsigned>(reinterpret_cast<uintptr_t>(g_nas_client)));
  const int32_t result = send_nas(msg_id, req, req_len, rsp, rsp_len, time_out_ms);
  kelvor_qmi_client_recovery();
  return result;
}

void kelvor_qmi_client_unsol_ind_cb(qmi_client_type /*client*/, uint32_t msg_id,
                                    const void* /*buf*/, uint32_t /*len*/, void* /*cb_data*/) {
  TRACE_DEBUG("msg_id %d", msg_id);
}

void kelvor_qmi_client_error_cb(qmi_client_type /*client*/, int error, void* /*cb_data*/) {
  TRACE_DEBUG("QMI error callback %d", error);
}

void kelvor_qmi_client_common_empty_unsol_ind_cb(qmi_client_type /*client*/, uint32_t msg_id,
                                                 const void* /*buf*/, uint32_t /*len*/,
                                                 void* /*cb_data*/) {
  TRACE_DEBUG("msg_id %d", msg_id);
}

}  // extern "C"

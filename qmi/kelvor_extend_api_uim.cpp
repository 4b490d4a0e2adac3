#include "qmi/kelvor_extend_api_uim.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "common/qcril_mem.h"
#include "common/result.h"
#include "common/trace.h"
#include "platform/idl/uim.h"
#include "platform/qmi_client.h"
#include "qmi/efs_path.h"
#include "qmi/kelvor_extend_cmn.h"

namespace {

constexpr uint32_t kInitTimeoutMs = 4000;
constexpr uint32_t kSendTimeoutMs = 3000;
constexpr uint32_t kFailuresMax = 3;  // from here on every failure drops the client

// The file that says which card the eSIM slot is connected to when it is powered up.
constexpr qmi::EfsPath kEsimEnableFile{"/nv/item_files/modem/uim/uimdrv/esim_enable"};
constexpr uint32_t kEsimEnableSub = 1;  // the modem reads this subscription's file

// The issuer's root security domain of an eUICC.
constexpr uint8_t kIsdR[] = {0xA0, 0x00, 0x00, 0x05, 0x59, 0x10, 0x10, 0xFF,
                             0xFF, 0xFF, 0xFF, 0x89, 0x00, 0x00, 0x01, 0x00};

// SSR_Detected and failed_cnt have the names under which the trace shows them.
qmi_client_type g_client = nullptr;
qmi_client_os_params g_os_params;      // of every client, one after another
std::atomic<uint8_t> SSR_Detected{0};  // set on the client library's thread
uint32_t failed_cnt = 0;

void error_cb(qmi_client_type /*client*/, int error, void* /*data*/) {
  TRACE_DEBUG("QMI error callback %d", error);
  if (error != QMI_CLIENT_SERVICE_GONE) return;
  TRACE_DEBUG("SSR Detected, set SSR_Detected 1");
  SSR_Detected = 1;
}

bool init_uim_qmi_client() {
  const Operation operation(__func__);
  const auto service =
      uim_get_service_object_internal_v01(UIM_IDL_MAJOR, UIM_IDL_MINOR, UIM_IDL_TOOL);
  qmi_client_type client = nullptr;
  const int error = qmi_client_init_instance(service, QMI_CLIENT_INSTANCE_ANY,
                                             kelvor_qmi_client_common_empty_unsol_ind_cb, nullptr,
                                             &g_os_params, kInitTimeoutMs, &client);
  result::cause(result::Layer::kClient, error);
  if (error != 0) {
    return TRACED_DEBUG(false, "qmi_client_init UIM instance failed, qmi_client_error = %d", error);
  }
  g_client = client;
  TRACE_DEBUG("init_uim_qmi_client %p", static_cast<void*>(g_client));
  if (qmi_client_register_error_cb(g_client, error_cb, nullptr) != 0) {
    TRACE_DEBUG("qmi_client_register_error_cb failed");
  }
  SSR_Detected = 0;
  failed_cnt = 0;
  return true;
}

// The flag and the count stay: the next client that is made clears them.
void uim_qmi_client_recovery() {
  const Operation operation(__func__);
  TRACE_DEBUG("uim_qmi_client_recovery qmi_client_release %p", static_cast<void*>(g_client));
  if (g_client != nullptr && qmi_client_release(g_client) != 0) {
    TRACE_DEBUG("qmi_client_release failed");
  }
  g_client = nullptr;
}

// One row per operation: what differs from the request flow that all of them share.
template <class Request, class Response>
struct RequestRow {
  uint32_t message;
  const char* client_name;        // in texts about the client
  const char* success = nullptr;  // traced when the card did what it was asked
  const char* failure = nullptr;  // traced when it refused, which then is a failure
  bool recover_first = true;      // a client that is known to be dead is dropped before the request
  bool trace_count = false;       // of requests that have failed
};

constexpr RequestRow<uim_power_up_req, uim_plain_resp> kPowerUp{
    .message = UIM_POWER_UP,
    .client_name = "kelvor_uim_request_uicc_power_ex",
    .trace_count = true};
constexpr RequestRow<uim_slot_req, uim_plain_resp> kPowerDown{
    .message = UIM_POWER_DOWN,
    .client_name = "kelvor_uim_request_uicc_power_ex",
    .trace_count = true};
constexpr RequestRow<uim_slot_req, uim_get_eid_resp> kRequestEid{
    .message = UIM_GET_EID, .client_name = "kelvor_uim_request_eid"};
// Asks even a client that is known to be dead.
constexpr RequestRow<uim_card_status_req, uim_card_status_resp> kCardStatus{
    .message = UIM_CARD_STATUS,
    .client_name = "kelvor_uim_get_card_status",
    .recover_first = false};
constexpr RequestRow<uim_open_logical_channel_req, uim_logical_channel_resp> kOpenChannel{
    .message = UIM_OPEN_LOGICAL_CHANNEL,
    .client_name = "kelvor_uim_open_channel",
    .success = "kelvor_uim_open_channel successfully",
    .failure = "kelvor_uim_open_channel failed"};
constexpr RequestRow<uim_logical_channel_req, uim_logical_channel_resp> kCloseChannel{
    .message = UIM_LOGICAL_CHANNEL,
    .client_name = "kelvor_uim_close_channel",
    .success = "kelvor_uim_close_channel successfully"};
// Speaks of the client as the closing of a channel does.
constexpr RequestRow<uim_send_apdu_req, uim_send_apdu_resp> kSendApdu{
    .message = UIM_SEND_APDU,
    .client_name = "kelvor_uim_close_channel",
    .success = "kelvor_uim_send_apdu successfully",
    .failure = "kelvor_uim_send_apdu failed"};

// A zeroed message, or null.
template <class T>
QcrilPtr<T> allocate() {
  return QcrilPtr<T>(
      static_cast<T*>(qcril_malloc_adv(sizeof(T), Operation::name(__func__), __LINE__)));
}

bool have_client(const char* name) {
  if (g_client == nullptr) {
    if (!init_uim_qmi_client()) return TRACED_DEBUG(false, "init_uim_qmi_client failed");
    TRACE_DEBUG("%s try init_uim_qmi_client %p", name, static_cast<void*>(g_client));
  }
  TRACE_DEBUG("%s uim_qmi_client %p", name, static_cast<void*>(g_client));
  return true;
}

// The request's sending, and what its result is.
template <class Request, class Response, class Take>
int32_t exchange(const RequestRow<Request, Response>& row, const Request& request,
                 Response& response, Take take) {
  const int error = qmi_client_send_msg_sync(g_client, row.message, &request, sizeof request,
                                             &response, sizeof response, kSendTimeoutMs);
  if (error != 0) {
    ++failed_cnt;
    if (row.trace_count) {
      TRACE_DEBUG("send msg sync client error = %d, failed_cnt = %d", error, failed_cnt);
    } else {
      TRACE_DEBUG("send msg sync client error = %d", error);
    }
    return error;
  }
  result::answered(response.resp);
  if (response.resp.result == 0) {
    take(response);
    if (row.success != nullptr) TRACE_DEBUG("%s", row.success);
  } else if (row.failure != nullptr) {
    TRACE_DEBUG("%s", row.failure);
    return KELVOR_UIM_FAILED;
  }
  return KELVOR_UIM_OK;
}

// The flow of every operation. `build` fills the request, and says whether it is to be sent; `take`
// gets the response of a card that did not refuse.
template <class Request, class Response, class Build, class Take>
int32_t operate(const RequestRow<Request, Response>& row, Build build, Take take) {
  if (row.recover_first && SSR_Detected != 0) {
    TRACE_DEBUG("SSR_Detected, try recovery");
    uim_qmi_client_recovery();
  }
  int32_t result = KELVOR_UIM_FAILED;
  if (have_client(row.client_name)) {
    const auto request = allocate<Request>();
    const auto response = allocate<Response>();
    if (request == nullptr || response == nullptr) return KELVOR_UIM_FAILED;
    if (build(*request)) result = exchange(row, *request, *response, take);
  }
  if (row.trace_count) {
    TRACE_DEBUG("uicc_power_ex res = %d, failed_cnt = %d", result, failed_cnt);
  }
  if (result == QMI_CLIENT_SERVICE_GONE || failed_cnt >= kFailuresMax) {
    TRACE_DEBUG("QMI error, try recovery");
    uim_qmi_client_recovery();
  }
  return result;
}

template <class... Blocks>
bool all_non_null(const Blocks*... blocks) {
  if (((blocks != nullptr) && ...)) return true;
  TRACE_DEBUG("a block is null");
  return false;
}

bool write_esim_enable(uint32_t value, const char* direction) {
  uint8_t octets[sizeof value];
  std::memcpy(octets, &value, sizeof value);
  if (kelvor_efs_write(kEsimEnableSub, kEsimEnableFile, octets, sizeof octets) == 0) {
    return true;
  }
  TRACE_DEBUG("Kelvor, power %s write esim efs file failed", direction);
  return false;
}

constexpr auto kTakeNothing = [](const auto& /*response*/) {};

}  // namespace

extern "C" {

int32_t kelvor_esim_request_uicc_power_ex(const kelvor_uim_power_in* in) {
  const TraceScope scope(__func__);
  if (!all_non_null(in)) return KELVOR_UIM_FAILED;
  if (in->power == 0) {
    const auto build = [&](uim_slot_req& request) {
      TRACE_DEBUG("kelvor_uim_request_uicc_power_ex power down sim");
      request.slot = in->slot;
      return write_esim_enable(in->esim_enable, "down");
    };
    return operate(kPowerDown, build, kTakeNothing);
  }
  const auto build = [&](uim_power_up_req& request) {
    TRACE_DEBUG("kelvor_uim_request_uicc_power_ex power up sim, ignore hotswap = %d ",
                in->ignore_hot_swap);
    request.slot = in->slot;
    request.ignore_hot_swap_valid = 1;
    request.ignore_hot_swap = in->ignore_hot_swap != 0;
    request.mode_valid = 1;
    return write_esim_enable(in->esim_enable, "up");
  };
  return operate(kPowerUp, build, kTakeNothing);
}

int32_t kelvor_uim_request_eid(const kelvor_uim_eid_in* in, kelvor_uim_eid_out* out) {
  const TraceScope scope(__func__);
  if (!all_non_null(in, out)) return KELVOR_UIM_FAILED;
  const auto build = [&](uim_slot_req& request) {
    request.slot = in->slot;
    return true;
  };
  return operate(kRequestEid, build, [&](const uim_get_eid_resp& response) {
    static_assert(sizeof response.eid == sizeof out->eid);
    if (response.eid_valid != 0) std::memcpy(out->eid, response.eid, sizeof out->eid);
  });
}

int32_t kelvor_uim_get_card_status(kelvor_uim_card_status_out* out) {
  const TraceScope scope(__func__);
  if (!all_non_null(out)) return KELVOR_UIM_FAILED;
  std::fill(std::begin(out->state), std::end(out->state), KELVOR_UIM_CARD_UNKNOWN);
  const auto build = [](uim_card_status_req& request) {
    request.extended_valid = 1;
    request.extended = 1;
    return true;
  };
  return operate(kCardStatus, build, [&](const uim_card_status_resp& response) {
    TRACE_DEBUG("kelvor_uim_get_card_status check response");
    if (response.extended_valid != 1) return;
    const uint32_t cards = std::min<uint32_t>(response.extended.cards_len, KELVOR_UIM_STATUS_SLOTS);
    for (uint32_t i = 0; i < cards; ++i) {
      out->state[i] = static_cast<uint8_t>(response.extended.cards[i].state);
      TRACE_DEBUG("SIM[%d] State = %d", i, out->state[i]);
    }
  });
}

int32_t kelvor_uim_open_channel(const kelvor_uim_open_channel_in* in,
                                kelvor_uim_open_channel_out* out) {
  const TraceScope scope(__func__);
  if (!all_non_null(in, out)) return KELVOR_UIM_FAILED;
  const auto build = [&](uim_open_logical_channel_req& request) {
    request.slot = in->slot;
    request.aid_valid = 1;
    request.aid_len = sizeof kIsdR;
    std::memcpy(request.aid, kIsdR, sizeof kIsdR);
    request.file_control_valid = 1;
    request.file_control = in->file_control;
    return true;
  };
  return operate(kOpenChannel, build, [&](const uim_logical_channel_resp& response) {
    if (response.channel_valid != 0) out->channel = response.channel;
  });
}

int32_t kelvor_uim_close_channel(const kelvor_uim_close_channel_in* in) {
  const TraceScope scope(__func__);
  if (!all_non_null(in)) return KELVOR_UIM_FAILED;
  const auto build = [&](uim_logical_channel_req& request) {
    request.slot = in->slot;
    request.channel_valid = 1;
    request.channel = in->channel;
    request.terminate_valid = 1;
    return true;
  };
  return operate(kCloseChannel, build, kTakeNothing);
}

int32_t kelvor_uim_send_apdu(const kelvor_uim_send_apdu_in* in, kelvor_uim_send_apdu_out* out) {
  const TraceScope scope(__func__);
  if (!all_non_null(in, out)) return KELVOR_UIM_FAILED;
  const auto build = [&](uim_send_apdu_req& request) {
    request.slot = in->slot;
    request.apdu_len = in->length;
    std::memcpy(request.apdu, in->apdu, in->length);
    request.channel_valid = 1;
    request.channel = in->channel;
    request.procedure_bytes_valid = 1;
    request.procedure_bytes = 1;
    return true;
  };
  return operate(kSendApdu, build, [&](const uim_send_apdu_resp& response) {
    const uint32_t length = std::min<uint32_t>(response.apdu_len, sizeof out->apdu);
    out->length = static_cast<uint8_t>(length);
    std::memcpy(out->apdu, response.apdu, length);
  });
}

}  // extern "C"

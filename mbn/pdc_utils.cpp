// The connection, and the requests.

#include "mbn/pdc_utils.h"

#include <cstring>

#include "common/qcril_mem.h"
#include "common/result.h"
#include "mbn/pdc_info.h"
#include "platform/clock.h"
#include "platform/timer.h"

namespace pdc {
namespace {

// Connecting to a modem that is not up takes three minutes at most: each attempt waits for the
// service, and a pause follows it.
constexpr uint32_t kConnectAttempts = 20;
constexpr uint32_t kConnectTimeoutMs = 4000;
constexpr uint32_t kConnectPauseMs = 5000;
// For a request's acknowledgement. Its outcome, an indication, has a timer of its own.
constexpr uint32_t kSendTimeoutMs = 10000;

// A caller's hold of one kind of request, from the first moment to the last.
class Request {
 public:
  explicit Request(int req_type) : kind_(kRequestKinds[index_of(req_type)]) {
    const base::Lock lock(info().mutex);
    if (context().busy != 0) return;
    held_ = true;
    context().busy = 1;
    context().done = 0;
    client_ = info().client;
  }
  ~Request() {
    if (!held_) return;
    const base::Lock lock(info().mutex);
    if (kind_.req_type == PDC_REQ_LIST) end_list();
    if (context().timer_id != 0) qmi_pdc_request_timer_stop(kind_.req_type);
    context().done = context().busy = context().waiting = 0;
  }
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  bool held() const { return held_; }
  qmi_client_type client() const { return client_; }

  // current: receives the modem's current configuration on success; null for requests without it.
  template <class Message>
  int32_t send_and_wait(const char* name, const Message& message,
                        pdc_config_pdc_info* current = nullptr) {
    pdc_plain_resp response{};
    const int error = qmi_client_send_msg_sync(client_, kind_.message, &message, sizeof message,
                                               &response, sizeof response, kSendTimeoutMs);
    if (error == 0) result::answered(response.resp);
    return wait_unless(name, error, current);
  }

  // The request has been sent, with this result.
  int32_t wait_unless(const char* name, int error, pdc_config_pdc_info* current = nullptr) {
    if (error != 0) {
      result::cause(result::Layer::kClient, error);
      return TRACED_ERROR(PDC_FAILED, "qmi send message error for %s, errno: %d", name, error);
    }
    base::Lock lock(info().mutex);
    if (context().done == 0) {
      if (qmi_pdc_request_timer_start(kind_.req_type) != 0) return PDC_FAILED;
      context().waiting = 1;
      while (context().done == 0) context().ended.wait(lock);
    }
    if (context().result == PDC_OK && current != nullptr) *current = info().current;
    return context().result;
  }

 private:
  Context& context() REQUIRES(info().mutex) { return info().context(kind_.req_type); }

  static void end_list() REQUIRES(info().mutex) {
    info().is_pdc_list_handling = 0;
    info().num_of_configs = nullptr;
    info().config_list_holder = nullptr;
    if (info().follow_up_timer != 0) kelvor_timer_stop(info().follow_up_timer);
    info().follow_up_timer = 0;
  }

  const RequestKind& kind_;
  bool held_ = false;
  qmi_client_type client_ = nullptr;
};

// The subscription goes with software configurations only.
template <class Message>
void set_subscription(Message& message, pdc_config_type_enum_v01 type, unsigned int sub) {
  if (type != PDC_CONFIG_TYPE_SOFTWARE) return;
  message.subscription_valid = 1;
  message.subscription = sub;
}

void qmi_pdc_init_pdc_info() {
  const Operation operation(__func__);
  {
    const base::Lock lock(info().mutex);
    info().client = nullptr;
    info().current = {};
  }
  TRACE_DEBUG("pdc_info init done");
}

}  // namespace

pdc_info_s_type& info() {
  static pdc_info_s_type& only = *new pdc_info_s_type;
  return only;
}

int send_list_request(qmi_client_type client, pdc_config_type_enum_v01 type,
                      pdc_plain_resp* response) {
  pdc_list_configs_req request{};
  request.type_valid = 1;
  request.type = type;
  return qmi_client_send_msg_sync(client, PDC_LIST_CONFIGS, &request, sizeof request, response,
                                  sizeof *response, kSendTimeoutMs);
}

}  // namespace pdc

using pdc::Request;

extern "C" int pdc_init(void) {
  return traced(__func__, []() -> int32_t {
    pdc::qmi_pdc_init_pdc_info();
    const qmi_idl_service_object_type service =
        pdc_get_service_object_internal_v01(PDC_IDL_MAJOR, PDC_IDL_MINOR, PDC_IDL_TOOL);
    for (uint32_t attempt = 1; attempt <= pdc::kConnectAttempts; ++attempt) {
      qmi_client_type client = nullptr;
      const int error =
          qmi_client_init_instance(service, QMI_CLIENT_INSTANCE_ANY, qmi_pdc_unsol_ind_cb, nullptr,
                                   &pdc::info().os_params, pdc::kConnectTimeoutMs, &client);
      if (error == 0) {
        const base::Lock lock(pdc::info().mutex);
        pdc::info().service = service;
        pdc::info().client = client;
        TRACE_DEBUG("qmi_client_init succeeds for PDC");
        return PDC_OK;
      }
      TRACE_ERROR("qmi_client_init returned failure (%d) for PDC, retry times %u", error, attempt);
      platform_wait_for_modem_ms(pdc::kConnectPauseMs);
    }
    return PDC_FAILED;
  });
}

extern "C" void pdc_clean(void) {
  const Operation operation(__func__);
  qmi_client_type client = nullptr;
  {
    const base::Lock lock(pdc::info().mutex);
    std::swap(client, pdc::info().client);
  }
  if (client == nullptr) return;
  TRACE_DEBUG("Release client connection to PDC");
  qmi_client_release(client);
}

extern "C" int pdc_get_current_config(pdc_config_pdc_info* out, pdc_config_type_enum_v01 type,
                                      unsigned int sub) {
  return traced(__func__, [&]() -> int32_t {
    if (out == nullptr) return PDC_FAILED;
    Request request(PDC_REQ_GET_SELECTED);
    if (!request.held()) return PDC_BUSY;

    pdc_get_selected_config_req message{};
    message.type = type;
    pdc::set_subscription(message, type, sub);
    return request.send_and_wait("get_selected_config", message, out);
  });
}

extern "C" int pdc_select_config(pdc_config_pdc_info* config_id, pdc_config_type_enum_v01 type,
                                 unsigned int sub) {
  return traced(__func__, [&]() -> int32_t {
    if (config_id == nullptr) return PDC_FAILED;
    Request request(PDC_REQ_SELECT);
    if (!request.held()) return PDC_BUSY;

    pdc_set_selected_config_req message{};
    message.config.type = type;
    if (config_id->id_len > sizeof message.config.id) return PDC_ID_TOO_LONG;
    message.config.id_len = config_id->id_len;
    std::memcpy(message.config.id, config_id->id, config_id->id_len);
    pdc::set_subscription(message, type, sub);
    return request.send_and_wait("set_selected_config", message);
  });
}

extern "C" int pdc_activate_config(pdc_config_type_enum_v01 type, unsigned int sub) {
  return pdc_activate_config_ex(type, PDC_ACTIVATION_REGULAR, sub, sub);
}

extern "C" int pdc_activate_config_ex(pdc_config_type_enum_v01 type,
                                      pdc_activation_type_enum_v01 activation, unsigned int sub,
                                      unsigned int slot) {
  return traced(__func__, [&]() -> int32_t {
    Request request(PDC_REQ_ACTIVATE);
    if (!request.held()) return PDC_BUSY;

    pdc_activate_config_req message{};
    message.type = type;
    message.activation_valid = 1;
    message.activation = activation;
    pdc::set_subscription(message, type, sub);
    message.slot_valid = 1;
    message.slot = slot;
    return request.send_and_wait("activate_config", message);
  });
}

extern "C" int pdc_deactivate_config(unsigned int sub, pdc_config_type_enum_v01 type) {
  return traced(__func__, [&]() -> int32_t {
    Request request(PDC_REQ_DEACTIVATE);
    if (!request.held()) return PDC_BUSY;

    pdc_deactivate_config_req message{};
    message.type = type;
    pdc::set_subscription(message, type, sub);
    return request.send_and_wait("deactivate_config", message);
  });
}

extern "C" int pdc_list_configs(pdc_config_type_enum_v01 type, pdc_config_info** list,
                                unsigned int* count) {
  return traced(__func__, [&]() -> int32_t {
    if (list == nullptr || count == nullptr) return PDC_FAILED;
    unsigned int gathered = 0;
    int32_t result = PDC_FAILED;
    {
      Request request(PDC_REQ_LIST);
      if (!request.held()) return PDC_BUSY;
      {
        const base::Lock lock(pdc::info().mutex);
        pdc::info().list_type = type;
        pdc::info().num_of_configs = &gathered;
        pdc::info().config_list_holder = list;
        pdc::info().list_room = *count;
        pdc::info().is_pdc_list_handling = 1;
        pdc::info().last_frame = 0;
      }
      pdc_plain_resp response{};
      const int error = pdc::send_list_request(request.client(), type, &response);
      result = request.wait_unless("list_configs", error);
    }
    // From here on, no indication adds to the list.
    if (result != PDC_OK) {
      while (gathered > 0) qcril_free(list[--gathered]);
    }
    *count = gathered;
    return result;
  });
}

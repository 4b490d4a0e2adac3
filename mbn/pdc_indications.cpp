// Indications: which kind of request each completes, and with what.

#include <cstring>

#include "common/qcril_mem.h"
#include "common/result.h"
#include "mbn/pdc_info.h"

namespace pdc {

constexpr RequestKind kRequestKinds[kKinds] = {
    {PDC_REQ_LIST, "pdc_list", PDC_LIST_CONFIGS, sizeof(pdc_list_configs_ind),
     qmi_pdc_list_configs_ind_hdlr},
    {PDC_REQ_LOAD, "pdc_load", PDC_LOAD_CONFIG, sizeof(pdc_load_config_ind),
     qmi_pdc_load_config_ind_hdlr},
    {PDC_REQ_INFO, "pdc_info", PDC_GET_CONFIG_INFO, sizeof(pdc_get_config_info_ind),
     qmi_pdc_get_config_info_ind_hdlr},
    {PDC_REQ_DEACTIVATE, "pdc_deact", PDC_DEACTIVATE_CONFIG, sizeof(pdc_result_ind),
     qmi_pdc_deactivate_config_ind_hdlr},
    {PDC_REQ_DELETE, "pdc_del", PDC_DELETE_CONFIG, sizeof(pdc_result_ind),
     qmi_pdc_delete_config_ind_hdlr},
    {PDC_REQ_GET_SELECTED, "get_sel", PDC_GET_SELECTED_CONFIG, sizeof(pdc_get_selected_config_ind),
     qmi_pdc_get_selected_config_ind_hdlr},
    {PDC_REQ_SELECT, "sel_config", PDC_SET_SELECTED_CONFIG, sizeof(pdc_result_ind),
     qmi_pdc_select_config_ind_hdlr},
    {PDC_REQ_ACTIVATE, "act_config", PDC_ACTIVATE_CONFIG, sizeof(pdc_result_ind),
     qmi_pdc_activate_config_ind_hdlr},
    {PDC_REQ_SET_FEATURE, "set_feature", PDC_SET_FEATURE, sizeof(pdc_result_ind),
     qmi_pdc_set_feature_ind_hdlr},
    {PDC_REQ_DEFAULT_INFO, "default_info", PDC_GET_DEFAULT_CONFIG_INFO,
     sizeof(pdc_get_default_config_info_ind), kelvor_mbn_get_default_config_info_ind_hdlr},
};

namespace {

constexpr bool in_order() {
  for (size_t i = 0; i < kKinds; ++i) {
    if (kRequestKinds[i].req_type != static_cast<int>(i) + PDC_REQ_LIST) return false;
  }
  return true;
}
static_assert(in_order(), "a kind's number is its place");

}  // namespace

bool succeeded(const RequestKind& kind, const void* ind, unsigned int len) {
  if (ind == nullptr || len != kind.indication_size) {
    return TRACED_ERROR(false, "NULL pointer for ind_data_ptr");
  }
  // Every indication begins with it.
  uint16_t error = 0;
  std::memcpy(&error, ind, sizeof error);
  result::cause(result::Layer::kQmi, error);
  if (error != 0) TRACE_ERROR("QMI error, error code: %d", error);
  return error == 0;
}

bool has_outcome(int req_type) {
  const Context& context = info().context(req_type);
  return context.busy != 0 && context.done != 0;
}

void complete(int req_type, int32_t result) {
  if (has_outcome(req_type)) return;
  Context& context = info().context(req_type);
  context.result = result;
  if (context.waiting != 0) {
    qmi_pdc_request_timer_stop(req_type);
    context.ended.notify_one();
  }
  context.done = 1;
}

void handle_outcome(TraceSite handler, int req_type, const void* ind, unsigned int len) {
  const Operation operation(handler);
  const base::Lock lock(info().mutex);
  const bool ok = succeeded(kRequestKinds[index_of(req_type)], ind, len);
  complete(req_type, ok ? PDC_OK : PDC_FAILED);
}

}  // namespace pdc

extern "C" void qmi_pdc_unsol_ind_cb(qmi_client_type client, uint32_t msg_id, const void* buffer,
                                     uint32_t length, void* /*data*/) {
  qmi_idl_service_object_type service = nullptr;
  {
    const base::Lock lock(pdc::info().mutex);
    service = pdc::info().service;
  }
  uint32_t size = 0;
  if (qmi_idl_get_message_c_struct_len(service, QMI_IDL_INDICATION, msg_id, &size) != 0) {
    TRACE_ERROR("failed to get message c_struct len");
    return;
  }
  const QcrilPtr<void> payload(qcril_malloc(size));
  if (payload == nullptr) {
    TRACE_ERROR("failed to allocate memory for payload");
    return;
  }
  if (qmi_client_message_decode(client, QMI_IDL_INDICATION, msg_id, buffer, length, payload.get(),
                                size) != 0) {
    TRACE_ERROR("failed to decode qmi message, msg_id: 0x%02x", msg_id);
    return;
  }
  for (const pdc::RequestKind& kind : pdc::kRequestKinds) {
    if (kind.message == msg_id) kind.handler(payload.get(), size);
  }
}

// The handler of a kind whose outcome is all there is.
#define OUTCOME_HANDLER(name, req_type)                \
  extern "C" void name(void* ind, unsigned int len) {  \
    pdc::handle_outcome(__func__, req_type, ind, len); \
  }
OUTCOME_HANDLER(qmi_pdc_load_config_ind_hdlr, PDC_REQ_LOAD)
OUTCOME_HANDLER(qmi_pdc_get_config_info_ind_hdlr, PDC_REQ_INFO)
OUTCOME_HANDLER(qmi_pdc_deactivate_config_ind_hdlr, PDC_REQ_DEACTIVATE)
OUTCOME_HANDLER(qmi_pdc_delete_config_ind_hdlr, PDC_REQ_DELETE)
OUTCOME_HANDLER(qmi_pdc_select_config_ind_hdlr, PDC_REQ_SELECT)
OUTCOME_HANDLER(qmi_pdc_activate_config_ind_hdlr, PDC_REQ_ACTIVATE)
OUTCOME_HANDLER(qmi_pdc_set_feature_ind_hdlr, PDC_REQ_SET_FEATURE)
#undef OUTCOME_HANDLER

extern "C" void qmi_pdc_get_selected_config_ind_hdlr(void* ind, unsigned int len) {
  const Operation operation(__func__);
  const base::Lock lock(pdc::info().mutex);
  const pdc::RequestKind& kind = pdc::kRequestKinds[pdc::index_of(PDC_REQ_GET_SELECTED)];
  bool ok = pdc::succeeded(kind, ind, len);
  if (ok) {
    const auto& selected = *static_cast<const pdc_get_selected_config_ind*>(ind);
    pdc_config_pdc_info current{};
    ok = selected.active_valid != 0 && selected.active_len > 0 &&
         selected.active_len <= sizeof current.id;
    if (ok) {
      current.id_len = selected.active_len;
      std::memcpy(current.id, selected.active, selected.active_len);
      if (!pdc::has_outcome(PDC_REQ_GET_SELECTED)) pdc::info().current = current;
    } else {
      TRACE_ERROR("no active config");
    }
  }
  pdc::complete(PDC_REQ_GET_SELECTED, ok ? PDC_OK : PDC_FAILED);
}

// PDC rows.

#include "platform/idl/pdc.h"

#include "qcci/idl/service.h"
#include "qcci/services/services.h"
#include "qcci/services/standard_result.h"

namespace qcci::idl {
namespace {

#define M(member) QCCI_MEMBER(S, member)

constexpr auto config_rows() {
  using S = pdc_config;
  return record(value(M(type)), counted(M(id_len), M(id)));
}
constexpr auto kConfig = config_rows();

constexpr auto register_table() {
  using S = pdc_register_req;
  return message<S>(optional(0x10, M(reporting_valid), value(M(reporting))),
                    optional(0x11, M(refresh_valid), value(M(refresh))));
}
constexpr auto kRegisterReq = register_table();

constexpr auto plain_table() {
  using S = pdc_plain_resp;
  return message<S>(standard_result(M(resp)));
}
constexpr auto kPlainResp = plain_table();

constexpr auto get_selected_table() {
  using S = pdc_get_selected_config_req;
  return message<S>(mandatory(0x01, value(M(type))),
                    optional(0x10, M(token_valid), value(M(token))),
                    optional(0x11, M(subscription_valid), value(M(subscription))),
                    optional(0x12, M(slot_valid), value(M(slot))));
}
constexpr auto kGetSelectedReq = get_selected_table();

constexpr auto set_selected_table() {
  using S = pdc_set_selected_config_req;
  return message<S>(mandatory(0x01, nested(M(config), kConfig)),
                    optional(0x10, M(token_valid), value(M(token))),
                    optional(0x11, M(subscription_valid), value(M(subscription))),
                    optional(0x12, M(slot_valid), value(M(slot))));
}
constexpr auto kSetSelectedReq = set_selected_table();

constexpr auto list_table() {
  using S = pdc_list_configs_req;
  return message<S>(optional(0x10, M(token_valid), value(M(token))),
                    optional(0x11, M(type_valid), value(M(type))),
                    optional(0x12, M(frames_valid), value(M(frames))));
}
constexpr auto kListReq = list_table();

constexpr auto activate_table() {
  using S = pdc_activate_config_req;
  return message<S>(mandatory(0x01, value(M(type))),
                    optional(0x10, M(token_valid), value(M(token))),
                    optional(0x11, M(activation_valid), value(M(activation))),
                    optional(0x12, M(subscription_valid), value(M(subscription))),
                    optional(0x13, M(slot_valid), value(M(slot))));
}
constexpr auto kActivateReq = activate_table();

constexpr auto deactivate_table() {
  using S = pdc_deactivate_config_req;
  return message<S>(mandatory(0x01, value(M(type))),
                    optional(0x10, M(token_valid), value(M(token))),
                    optional(0x11, M(subscription_valid), value(M(subscription))));
}
constexpr auto kDeactivateReq = deactivate_table();

constexpr auto info_req_table() {
  using S = pdc_get_config_info_req;
  return message<S>(mandatory(0x01, nested(M(config), kConfig)),
                    optional(0x10, M(token_valid), value(M(token))));
}
constexpr auto kInfoReq = info_req_table();

constexpr auto default_info_req_table() {
  using S = pdc_get_default_config_info_req;
  return message<S>(mandatory(0x01, value(M(type))),
                    optional(0x10, M(token_valid), value(M(token))));
}
constexpr auto kDefaultInfoReq = default_info_req_table();

// What every indication begins with.
#define OUTCOME mandatory(0x01, value(M(error))), optional(0x10, M(token_valid), value(M(token)))

constexpr auto result_table() {
  using S = pdc_result_ind;
  return message<S>(OUTCOME);
}
constexpr auto kResultInd = result_table();

constexpr auto selected_table() {
  using S = pdc_get_selected_config_ind;
  return message<S>(OUTCOME, optional(0x11, M(active_valid), counted(M(active_len), M(active))),
                    optional(0x12, M(pending_valid), counted(M(pending_len), M(pending))));
}
constexpr auto kSelectedInd = selected_table();

constexpr auto configs_table() {
  using S = pdc_list_configs_ind;
  return message<S>(OUTCOME,
                    optional(0x11, M(configs_valid), counted(M(configs_len), M(configs), kConfig)),
                    optional(0x12, M(more_available_valid), value(M(more_available))));
}
constexpr auto kListInd = configs_table();

constexpr auto load_table() {
  using S = pdc_load_config_ind;
  return message<S>(OUTCOME, optional(0x11, M(received_valid), value(M(received))),
                    optional(0x12, M(remaining_valid), value(M(remaining))),
                    optional(0x13, M(reset_valid), value(M(reset))));
}
constexpr auto kLoadInd = load_table();

constexpr auto info_table() {
  using S = pdc_get_config_info_ind;
  return message<S>(
      OUTCOME, optional(0x11, M(size_valid), value(M(size))),
      optional(0x12, M(description_valid), counted(M(description_len), M(description))),
      optional(0x13, M(version_valid), value(M(version))));
}
constexpr auto kInfoInd = info_table();

constexpr auto default_info_table() {
  using S = pdc_get_default_config_info_ind;
  return message<S>(
      OUTCOME, optional(0x11, M(version_valid), value(M(version))),
      optional(0x12, M(size_valid), value(M(size))),
      optional(0x13, M(description_valid), counted(M(description_len), M(description))));
}
constexpr auto kDefaultInfoInd = default_info_table();

#undef OUTCOME
#undef M

constexpr MessageRow kRows[] = {
    {PDC_REGISTER, QMI_IDL_REQUEST, "register", kRegisterReq.view()},
    {PDC_REGISTER, QMI_IDL_RESPONSE, "register", kPlainResp.view()},
    {PDC_GET_SELECTED_CONFIG, QMI_IDL_REQUEST, "get selected config", kGetSelectedReq.view()},
    {PDC_GET_SELECTED_CONFIG, QMI_IDL_RESPONSE, "get selected config", kPlainResp.view()},
    {PDC_GET_SELECTED_CONFIG, QMI_IDL_INDICATION, "get selected config", kSelectedInd.view()},
    {PDC_SET_SELECTED_CONFIG, QMI_IDL_REQUEST, "set selected config", kSetSelectedReq.view()},
    {PDC_SET_SELECTED_CONFIG, QMI_IDL_RESPONSE, "set selected config", kPlainResp.view()},
    {PDC_SET_SELECTED_CONFIG, QMI_IDL_INDICATION, "set selected config", kResultInd.view()},
    {PDC_LIST_CONFIGS, QMI_IDL_REQUEST, "list configs", kListReq.view()},
    {PDC_LIST_CONFIGS, QMI_IDL_RESPONSE, "list configs", kPlainResp.view()},
    {PDC_LIST_CONFIGS, QMI_IDL_INDICATION, "list configs", kListInd.view()},
    {PDC_DELETE_CONFIG, QMI_IDL_INDICATION, "delete config", kResultInd.view()},
    {PDC_LOAD_CONFIG, QMI_IDL_INDICATION, "load config", kLoadInd.view()},
    {PDC_ACTIVATE_CONFIG, QMI_IDL_REQUEST, "activate config", kActivateReq.view()},
    {PDC_ACTIVATE_CONFIG, QMI_IDL_RESPONSE, "activate config", kPlainResp.view()},
    {PDC_ACTIVATE_CONFIG, QMI_IDL_INDICATION, "activate config", kResultInd.view()},
    {PDC_GET_CONFIG_INFO, QMI_IDL_REQUEST, "get config info", kInfoReq.view()},
    {PDC_GET_CONFIG_INFO, QMI_IDL_RESPONSE, "get config info", kPlainResp.view()},
    {PDC_GET_CONFIG_INFO, QMI_IDL_INDICATION, "get config info", kInfoInd.view()},
    {PDC_GET_DEFAULT_CONFIG_INFO, QMI_IDL_REQUEST, "get default config info",
     kDefaultInfoReq.view()},
    {PDC_GET_DEFAULT_CONFIG_INFO, QMI_IDL_RESPONSE, "get default config info", kPlainResp.view()},
    {PDC_GET_DEFAULT_CONFIG_INFO, QMI_IDL_INDICATION, "get default config info",
     kDefaultInfoInd.view()},
    {PDC_DEACTIVATE_CONFIG, QMI_IDL_REQUEST, "deactivate config", kDeactivateReq.view()},
    {PDC_DEACTIVATE_CONFIG, QMI_IDL_RESPONSE, "deactivate config", kPlainResp.view()},
    {PDC_DEACTIVATE_CONFIG, QMI_IDL_INDICATION, "deactivate config", kResultInd.view()},
    {PDC_SET_FEATURE, QMI_IDL_INDICATION, "set feature", kResultInd.view()},
};

}  // namespace

constinit const qmi_idl_service_object kPdcService{
    "pdc", PDC_SERVICE_ID, PDC_IDL_MAJOR, PDC_IDL_MINOR, PDC_IDL_TOOL, kRows, longest(kRows)};

}  // namespace qcci::idl

extern "C" qmi_idl_service_object_type pdc_get_service_object_internal_v01(int32_t major,
                                                                           int32_t minor,
                                                                           int32_t tool) {
  return qcci::idl::if_version(qcci::idl::kPdcService, major, minor, tool);
}

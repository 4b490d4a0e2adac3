// PDC rows.

#include "platform/idl/pdc.h"

#include "qcci/idl/service.h"
#include "qcci/services/services.h"
#include "qcci/services/standard_result.h"

namespace qcci::idl {
namespace {

#define M(member) QCCI_MEMBER(S, member)

constexpr auto kConfig = [] {
  using S = pdc_config;
  return record(value(M(type)), counted(M(id_len), M(id)));
}();

constexpr auto kRegisterReq = [] {
  using S = pdc_register_req;
  return message<S>(optional(0x10, M(reporting_valid), value(M(reporting))),
                    optional(0x11, M(refresh_valid), value(M(refresh))));
}();

constexpr auto kPlainResp = plain_response<pdc_plain_resp>();

constexpr auto kGetSelectedReq = [] {
  using S = pdc_get_selected_config_req;
  return message<S>(mandatory(0x01, value(M(type))),
                    optional(0x10, M(token_valid), value(M(token))),
                    optional(0x11, M(subscription_valid), value(M(subscription))),
                    optional(0x12, M(slot_valid), value(M(slot))));
}();

constexpr auto kSetSelectedReq = [] {
  using S = pdc_set_selected_config_req;
  return message<S>(mandatory(0x01, nested(M(config), kConfig)),
                    optional(0x10, M(token_valid), value(M(token))),
                    optional(0x11, M(subscription_valid), value(M(subscription))),
                    optional(0x12, M(slot_valid), value(M(slot))));
}();

constexpr auto kListReq = [] {
  using S = pdc_list_configs_req;
  return message<S>(optional(0x10, M(token_valid), value(M(token))),
                    optional(0x11, M(type_valid), value(M(type))),
                    optional(0x12, M(frames_valid), value(M(frames))));
}();

constexpr auto kActivateReq = [] {
  using S = pdc_activate_config_req;
  return message<S>(mandatory(0x01, value(M(type))),
                    optional(0x10, M(token_valid), value(M(token))),
                    optional(0x11, M(activation_valid), value(M(activation))),
                    optional(0x12, M(subscription_valid), value(M(subscription))),
                    optional(0x13, M(slot_valid), value(M(slot))));
}();

constexpr auto kDeactivateReq = [] {
  using S = pdc_deactivate_config_req;
  return message<S>(mandatory(0x01, value(M(type))),
                    optional(0x10, M(token_valid), value(M(token))),
                    optional(0x11, M(subscription_valid), value(M(subscription))));
}();

constexpr auto kInfoReq = [] {
  using S = pdc_get_config_info_req;
  return message<S>(mandatory(0x01, nested(M(config), kConfig)),
                    optional(0x10, M(token_valid), value(M(token))));
}();

constexpr auto kDefaultInfoReq = [] {
  using S = pdc_get_default_config_info_req;
  return message<S>(mandatory(0x01, value(M(type))),
                    optional(0x10, M(token_valid), value(M(token))));
}();

// What every indication begins with.
#define OUTCOME mandatory(0x01, value(M(error))), optional(0x10, M(token_valid), value(M(token)))

constexpr auto kResultInd = [] {
  using S = pdc_result_ind;
  return message<S>(OUTCOME);
}();

constexpr auto kSelectedInd = [] {
  using S = pdc_get_selected_config_ind;
  return message<S>(OUTCOME, optional(0x11, M(active_valid), counted(M(active_len), M(active))),
                    optional(0x12, M(pending_valid), counted(M(pending_len), M(pending))));
}();

constexpr auto kListInd = [] {
  using S = pdc_list_configs_ind;
  return message<S>(OUTCOME,
                    optional(0x11, M(configs_valid), counted(M(configs_len), M(configs), kConfig)),
                    optional(0x12, M(more_available_valid), value(M(more_available))));
}();

constexpr auto kLoadInd = [] {
  using S = pdc_load_config_ind;
  return message<S>(OUTCOME, optional(0x11, M(received_valid), value(M(received))),
                    optional(0x12, M(remaining_valid), value(M(remaining))),
                    optional(0x13, M(reset_valid), value(M(reset))));
}();

constexpr auto kInfoInd = [] {
  using S = pdc_get_config_info_ind;
  return message<S>(
      OUTCOME, optional(0x11, M(size_valid), value(M(size))),
      optional(0x12, M(description_valid), counted(M(description_len), M(description))),
      optional(0x13, M(version_valid), value(M(version))));
}();

constexpr auto kDefaultInfoInd = [] {
  using S = pdc_get_default_config_info_ind;
  return message<S>(
      OUTCOME, optional(0x11, M(version_valid), value(M(version))),
      optional(0x12, M(size_valid), value(M(size))),
      optional(0x13, M(description_valid), counted(M(description_len), M(description))));
}();

#undef OUTCOME
#undef M

constexpr MessageRow kRows[] = {
    {PDC_REGISTER, "register", kRegisterReq, kPlainResp},
    {PDC_GET_SELECTED_CONFIG, "get selected config", kGetSelectedReq, kPlainResp, kSelectedInd},
    {PDC_SET_SELECTED_CONFIG, "set selected config", kSetSelectedReq, kPlainResp, kResultInd},
    {PDC_LIST_CONFIGS, "list configs", kListReq, kPlainResp, kListInd},
    {PDC_DELETE_CONFIG, "delete config", {}, {}, kResultInd},
    {PDC_LOAD_CONFIG, "load config", {}, {}, kLoadInd},
    {PDC_ACTIVATE_CONFIG, "activate config", kActivateReq, kPlainResp, kResultInd},
    {PDC_GET_CONFIG_INFO, "get config info", kInfoReq, kPlainResp, kInfoInd},
    {PDC_GET_DEFAULT_CONFIG_INFO, "get default config info", kDefaultInfoReq, kPlainResp,
     kDefaultInfoInd},
    {PDC_DEACTIVATE_CONFIG, "deactivate config", kDeactivateReq, kPlainResp, kResultInd},
    {PDC_SET_FEATURE, "set feature", {}, {}, kResultInd},
};

}  // namespace

constinit const qmi_idl_service_object kPdcService{.name = "pdc",
                                                   .id = PDC_SERVICE_ID,
                                                   .major = PDC_IDL_MAJOR,
                                                   .minor = PDC_IDL_MINOR,
                                                   .tool = PDC_IDL_TOOL,
                                                   .rows = kRows};

}  // namespace qcci::idl

QCCI_SERVICE_GETTER(pdc_get_service_object_internal_v01, kPdcService)

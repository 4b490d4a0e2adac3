// PDC rows.

#include "platform/idl/pdc.h"

#include "qcci/services/rows.h"

namespace qcci::idl {
namespace {

RECORD(kConfig, pdc_config, value(M(type)), counted(M(id_len), M(id)));

MESSAGE(kRegisterReq, pdc_register_req, optional(0x10, M(reporting_valid), value(M(reporting))),
        optional(0x11, M(refresh_valid), value(M(refresh))));

constexpr auto kPlainResp = plain_response<pdc_plain_resp>();

MESSAGE(kGetSelectedReq, pdc_get_selected_config_req, mandatory(0x01, value(M(type))),
        optional(0x10, M(token_valid), value(M(token))),
        optional(0x11, M(subscription_valid), value(M(subscription))),
        optional(0x12, M(slot_valid), value(M(slot))));

MESSAGE(kSetSelectedReq, pdc_set_selected_config_req, mandatory(0x01, nested(M(config), kConfig)),
        optional(0x10, M(token_valid), value(M(token))),
        optional(0x11, M(subscription_valid), value(M(subscription))),
        optional(0x12, M(slot_valid), value(M(slot))));

MESSAGE(kListReq, pdc_list_configs_req, optional(0x10, M(token_valid), value(M(token))),
        optional(0x11, M(type_valid), value(M(type))),
        optional(0x12, M(frames_valid), value(M(frames))));

MESSAGE(kActivateReq, pdc_activate_config_req, mandatory(0x01, value(M(type))),
        optional(0x10, M(token_valid), value(M(token))),
        optional(0x11, M(activation_valid), value(M(activation))),
        optional(0x12, M(subscription_valid), value(M(subscription))),
        optional(0x13, M(slot_valid), value(M(slot))));

MESSAGE(kDeactivateReq, pdc_deactivate_config_req, mandatory(0x01, value(M(type))),
        optional(0x10, M(token_valid), value(M(token))),
        optional(0x11, M(subscription_valid), value(M(subscription))));

MESSAGE(kInfoReq, pdc_get_config_info_req, mandatory(0x01, nested(M(config), kConfig)),
        optional(0x10, M(token_valid), value(M(token))));

MESSAGE(kDefaultInfoReq, pdc_get_default_config_info_req, mandatory(0x01, value(M(type))),
        optional(0x10, M(token_valid), value(M(token))));

// What every indication begins with.
#define OUTCOME mandatory(0x01, value(M(error))), optional(0x10, M(token_valid), value(M(token)))

MESSAGE(kResultInd, pdc_result_ind, OUTCOME);

MESSAGE(kSelectedInd, pdc_get_selected_config_ind, OUTCOME,
        optional(0x11, M(active_valid), counted(M(active_len), M(active))),
        optional(0x12, M(pending_valid), counted(M(pending_len), M(pending))));

MESSAGE(kListInd, pdc_list_configs_ind, OUTCOME,
        optional(0x11, M(configs_valid), counted(M(configs_len), M(configs), kConfig)),
        optional(0x12, M(more_available_valid), value(M(more_available))));

MESSAGE(kLoadInd, pdc_load_config_ind, OUTCOME,
        optional(0x11, M(received_valid), value(M(received))),
        optional(0x12, M(remaining_valid), value(M(remaining))),
        optional(0x13, M(reset_valid), value(M(reset))));

MESSAGE(kInfoInd, pdc_get_config_info_ind, OUTCOME, optional(0x11, M(size_valid), value(M(size))),
        optional(0x12, M(description_valid), counted(M(description_len), M(description))),
        optional(0x13, M(version_valid), value(M(version))));

MESSAGE(kDefaultInfoInd, pdc_get_default_config_info_ind, OUTCOME,
        optional(0x11, M(version_valid), value(M(version))),
        optional(0x12, M(size_valid), value(M(size))),
        optional(0x13, M(description_valid), counted(M(description_len), M(description))));

#undef OUTCOME

constexpr MessageRow kRows[] = {
    {.id = PDC_REGISTER, .name = "register", .request = kRegisterReq, .response = kPlainResp},
    {.id = PDC_GET_SELECTED_CONFIG,
     .name = "get selected config",
     .request = kGetSelectedReq,
     .response = kPlainResp,
     .indication = kSelectedInd},
    {.id = PDC_SET_SELECTED_CONFIG,
     .name = "set selected config",
     .request = kSetSelectedReq,
     .response = kPlainResp,
     .indication = kResultInd},
    {.id = PDC_LIST_CONFIGS,
     .name = "list configs",
     .request = kListReq,
     .response = kPlainResp,
     .indication = kListInd},
    {.id = PDC_DELETE_CONFIG, .name = "delete config", .indication = kResultInd},
    {.id = PDC_LOAD_CONFIG, .name = "load config", .indication = kLoadInd},
    {.id = PDC_ACTIVATE_CONFIG,
     .name = "activate config",
     .request = kActivateReq,
     .response = kPlainResp,
     .indication = kResultInd},
    {.id = PDC_GET_CONFIG_INFO,
     .name = "get config info",
     .request = kInfoReq,
     .response = kPlainResp,
     .indication = kInfoInd},
    {.id = PDC_GET_DEFAULT_CONFIG_INFO,
     .name = "get default config info",
     .request = kDefaultInfoReq,
     .response = kPlainResp,
     .indication = kDefaultInfoInd},
    {.id = PDC_DEACTIVATE_CONFIG,
     .name = "deactivate config",
     .request = kDeactivateReq,
     .response = kPlainResp,
     .indication = kResultInd},
    {.id = PDC_SET_FEATURE, .name = "set feature", .indication = kResultInd},
};

}  // namespace
}  // namespace qcci::idl

SERVICE(kPdcService, "pdc", PDC_SERVICE_ID, PDC_IDL, pdc_get_service_object_internal_v01)

// NAS rows.

#include "platform/idl/nas.h"

#include "qcci/services/rows.h"

namespace qcci::idl {
namespace {

MESSAGE(kRegisterReq, nas_indication_register_req,
        optional(0x10, M(selection_preference_valid), value(M(selection_preference))),
        optional(0x12, M(ddtm_valid), value(M(ddtm))),
        optional(0x13, M(serving_system_valid), value(M(serving_system))),
        optional(0x14, M(dual_standby_valid), value(M(dual_standby))),
        optional(0x15, M(subscription_info_valid), value(M(subscription_info))),
        optional(0x17, M(network_time_valid), value(M(network_time))),
        optional(0x18, M(system_info_valid), value(M(system_info))),
        optional(0x19, M(signal_info_valid), value(M(signal_info))),
        optional(0x1A, M(error_rate_valid), value(M(error_rate))),
        optional(0x1B, M(hdr_uati_valid), value(M(hdr_uati))),
        optional(0x1C, M(hdr_session_valid), value(M(hdr_session))),
        optional(0x1D, M(managed_roaming_valid), value(M(managed_roaming))),
        optional(0x1E, M(plmn_name_valid), value(M(plmn_name))),
        optional(0x1F, M(embms_valid), value(M(embms))),
        optional(0x20, M(rf_band_valid), value(M(rf_band))),
        optional(0x21, M(network_reject_valid), value(M(network_reject_enable)),
                 value(M(network_reject_suppress))));

constexpr auto kPlainResp = plain_response<nas_plain_resp>();

MESSAGE(kBindReq, nas_bind_subscription_req,
        mandatory(assumed::kNasBindSubscription, narrow<assumed::kNasBindWidth>(M(subscription))));

MESSAGE(kScanReq, nas_network_scan_req,
        optional(0x10, M(network_type_valid), value(M(network_type))),
        optional(0x11, M(scan_type_valid), value(M(scan_type))),
        optional(0x12, M(gw_bands_valid), value(M(gw_bands))),
        optional(0x13, M(lte_bands_valid), value(M(lte_bands))),
        optional(0x14, M(tds_bands_valid), value(M(tds_bands))));

RECORD(kNetwork, nas_network, value(M(mcc)), value(M(mnc)), value(M(status)), text(M(name)));

RECORD(kAttribute, nas_network_attribute, value(M(mcc)), value(M(mnc)), value(M(value)));

// The scan's lists count in two octets although forty would fit one.
constexpr size_t kScanCount = 2;

MESSAGE(kScanResp, nas_network_scan_resp, standard_result(M(resp)),
        optional(0x10, M(networks_valid),
                 counted<kScanCount>(M(networks_len), M(networks), kNetwork)),
        optional(0x11, M(rats_valid), counted<kScanCount>(M(rats_len), M(rats), kAttribute)),
        optional(0x12, M(mnc_digits_valid),
                 counted<kScanCount>(M(mnc_digits_len), M(mnc_digits), kAttribute)),
        optional(0x13, M(scan_result_valid), value(M(scan_result))));

MESSAGE(kIncrementalReq, nas_incremental_network_scan_req,
        optional(0x10, M(network_type_valid), value(M(network_type))));

RECORD(kIncrementalNetwork, nas_incremental_network, value(M(mcc)), value(M(mnc)), value(M(status)),
       value(M(rat)), value(M(mnc_three_digits)), text(M(name)));

MESSAGE(kIncrementalInd, nas_incremental_network_scan_ind, mandatory(0x01, value(M(status))),
        optional(0x10, M(networks_valid),
                 counted<kScanCount>(M(networks_len), M(networks), kIncrementalNetwork)));

constexpr MessageRow kRows[] = {
    {.id = NAS_INDICATION_REGISTER,
     .name = "indication register",
     .request = kRegisterReq,
     .response = kPlainResp},
    {.id = NAS_NETWORK_SCAN, .name = "network scan", .request = kScanReq, .response = kScanResp},
    {.id = NAS_BIND_SUBSCRIPTION,
     .name = "bind subscription",
     .request = kBindReq,
     .response = kPlainResp},
    {.id = NAS_INCREMENTAL_NETWORK_SCAN,
     .name = "incremental scan",
     .request = kIncrementalReq,
     .response = kPlainResp,
     .indication = kIncrementalInd},
};

}  // namespace
}  // namespace qcci::idl

SERVICE(kNasService, "nas", NAS_SERVICE_ID, NAS_IDL, nas_get_service_object_internal_v01)

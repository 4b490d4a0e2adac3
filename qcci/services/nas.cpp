// NAS rows.

#include "platform/idl/nas.h"

#include "qcci/idl/service.h"
#include "qcci/services/assumed.h"
#include "qcci/services/services.h"
#include "qcci/services/standard_result.h"

namespace qcci::idl {
namespace {

#define M(member) QCCI_MEMBER(S, member)

constexpr auto kRegisterReq = [] {
  using S = nas_indication_register_req;
  return message<S>(optional(0x10, M(selection_preference_valid), value(M(selection_preference))),
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
}();

constexpr auto kPlainResp = plain_response<nas_plain_resp>();

constexpr auto kBindReq = [] {
  using S = nas_bind_subscription_req;
  return message<S>(
      mandatory(assumed::kNasBindSubscription, narrow<assumed::kNasBindWidth>(M(subscription))));
}();

constexpr auto kScanReq = [] {
  using S = nas_network_scan_req;
  return message<S>(optional(0x10, M(network_type_valid), value(M(network_type))),
                    optional(0x11, M(scan_type_valid), value(M(scan_type))),
                    optional(0x12, M(gw_bands_valid), value(M(gw_bands))),
                    optional(0x13, M(lte_bands_valid), value(M(lte_bands))),
                    optional(0x14, M(tds_bands_valid), value(M(tds_bands))));
}();

constexpr auto kNetwork = [] {
  using S = nas_network;
  return record(value(M(mcc)), value(M(mnc)), value(M(status)), text(M(name)));
}();

constexpr auto kAttribute = [] {
  using S = nas_network_attribute;
  return record(value(M(mcc)), value(M(mnc)), value(M(value)));
}();

// The scan's lists count in two octets although forty would fit one.
constexpr size_t kScanCount = 2;

constexpr auto kScanResp = [] {
  using S = nas_network_scan_resp;
  return message<S>(
      standard_result(M(resp)),
      optional(0x10, M(networks_valid),
               counted<kScanCount>(M(networks_len), M(networks), kNetwork)),
      optional(0x11, M(rats_valid), counted<kScanCount>(M(rats_len), M(rats), kAttribute)),
      optional(0x12, M(mnc_digits_valid),
               counted<kScanCount>(M(mnc_digits_len), M(mnc_digits), kAttribute)),
      optional(0x13, M(scan_result_valid), value(M(scan_result))));
}();

constexpr auto kIncrementalReq = [] {
  using S = nas_incremental_network_scan_req;
  return message<S>(optional(0x10, M(network_type_valid), value(M(network_type))));
}();

constexpr auto kIncrementalNetwork = [] {
  using S = nas_incremental_network;
  return record(value(M(mcc)), value(M(mnc)), value(M(status)), value(M(rat)),
                value(M(mnc_three_digits)), text(M(name)));
}();

constexpr auto kIncrementalInd = [] {
  using S = nas_incremental_network_scan_ind;
  return message<S>(
      mandatory(0x01, value(M(status))),
      optional(0x10, M(networks_valid),
               counted<kScanCount>(M(networks_len), M(networks), kIncrementalNetwork)));
}();

#undef M

constexpr MessageRow kRows[] = {
    {NAS_INDICATION_REGISTER, "indication register", kRegisterReq, kPlainResp},
    {NAS_NETWORK_SCAN, "network scan", kScanReq, kScanResp},
    {NAS_BIND_SUBSCRIPTION, "bind subscription", kBindReq, kPlainResp},
    {NAS_INCREMENTAL_NETWORK_SCAN, "incremental scan", kIncrementalReq, kPlainResp,
     kIncrementalInd},
};

}  // namespace

constinit const qmi_idl_service_object kNasService{.name = "nas",
                                                   .id = NAS_SERVICE_ID,
                                                   .major = NAS_IDL_MAJOR,
                                                   .minor = NAS_IDL_MINOR,
                                                   .tool = NAS_IDL_TOOL,
                                                   .rows = kRows};

}  // namespace qcci::idl

QCCI_SERVICE_GETTER(nas_get_service_object_internal_v01, kNasService)

// SAR rows.

#include "platform/idl/sar.h"

#include "qcci/idl/service.h"
#include "qcci/services/assumed.h"
#include "qcci/services/services.h"
#include "qcci/services/standard_result.h"

namespace qcci::idl {
namespace {

#define M(member) QCCI_MEMBER(S, member)

constexpr auto state_table() {
  using S = sar_rf_get_state_resp;
  return message<S>(standard_result(M(resp)), optional(0x10, M(state_valid), value(M(state))),
                    optional(assumed::kSarExtra1, M(extra_1_valid), value(M(extra_1))),
                    optional(assumed::kSarExtra2, M(extra_2_valid), value(M(extra_2))),
                    optional(assumed::kSarExtra3, M(extra_3_valid), value(M(extra_3))));
}
constexpr auto kStateResp = state_table();

#undef M

constexpr MessageRow kRows[] = {
    {SAR_RF_GET_STATE, QMI_IDL_REQUEST, "get state", kEmpty},
    {SAR_RF_GET_STATE, QMI_IDL_RESPONSE, "get state", kStateResp.view()},
};

}  // namespace

constinit const qmi_idl_service_object kSarService{
    "sar", SAR_SERVICE_ID, SAR_IDL_MAJOR, SAR_IDL_MINOR, SAR_IDL_TOOL, kRows, longest(kRows)};

}  // namespace qcci::idl

extern "C" qmi_idl_service_object_type sar_get_service_object_internal_v01(int32_t major,
                                                                           int32_t minor,
                                                                           int32_t tool) {
  return qcci::idl::if_version(qcci::idl::kSarService, major, minor, tool);
}

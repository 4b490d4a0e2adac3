// SAR rows.

#include "platform/idl/sar.h"

#include "qcci/idl/service.h"
#include "qcci/services/assumed.h"
#include "qcci/services/services.h"
#include "qcci/services/standard_result.h"

namespace qcci::idl {
namespace {

#define M(member) QCCI_MEMBER(S, member)

constexpr auto kStateResp = [] {
  using S = sar_rf_get_state_resp;
  return message<S>(standard_result(M(resp)), optional(0x10, M(state_valid), value(M(state))),
                    optional(assumed::kSarExtra1, M(extra_1_valid), value(M(extra_1))),
                    optional(assumed::kSarExtra2, M(extra_2_valid), value(M(extra_2))),
                    optional(assumed::kSarExtra3, M(extra_3_valid), value(M(extra_3))));
}();

#undef M

constexpr MessageRow kRows[] = {
    {SAR_RF_GET_STATE, "get state", kEmpty, kStateResp},
};

}  // namespace

constinit const qmi_idl_service_object kSarService{.name = "sar",
                                                   .id = SAR_SERVICE_ID,
                                                   .major = SAR_IDL_MAJOR,
                                                   .minor = SAR_IDL_MINOR,
                                                   .tool = SAR_IDL_TOOL,
                                                   .rows = kRows};

}  // namespace qcci::idl

QCCI_SERVICE_GETTER(sar_get_service_object_internal_v01, kSarService)

// SAR rows.

#include "platform/idl/sar.h"

#include "qcci/services/rows.h"

namespace qcci::idl {
namespace {

MESSAGE(kStateResp, sar_rf_get_state_resp, standard_result(M(resp)),
        optional(0x10, M(state_valid), value(M(state))),
        optional(assumed::kSarExtra1, M(extra_1_valid), value(M(extra_1))),
        optional(assumed::kSarExtra2, M(extra_2_valid), value(M(extra_2))),
        optional(assumed::kSarExtra3, M(extra_3_valid), value(M(extra_3))));

constexpr MessageRow kRows[] = {
    {.id = SAR_RF_GET_STATE, .name = "get state", .request = kEmpty, .response = kStateResp},
};

}  // namespace
}  // namespace qcci::idl

SERVICE(kSarService, "sar", SAR_SERVICE_ID, SAR_IDL, sar_get_service_object_internal_v01)

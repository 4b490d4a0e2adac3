// `vs` statistics service rows.

#include "platform/idl/vs.h"

#include "qcci/services/rows.h"

namespace qcci::idl {
namespace {

using namespace assumed::vs;

constexpr auto kPlainResp = plain_response<vs_plain_resp>();

MESSAGE(kFeatureReq, vs_feature_status_req, mandatory(kFirst, value(M(value))),
        mandatory(kSecond, value(M(a))), mandatory(kThird, value(M(b))),
        mandatory(kFourth, value(M(c))));

RECORD(kParameter, vs_parameter, value(M(sub)), value(M(id)), counted(M(data_len), M(data)));

MESSAGE(kGetReq, vs_get_parameters_req, mandatory(kFirst, value(M(sub))),
        mandatory(kSecond, value(M(slot))),
        mandatory(kThird, counted(M(parameters_len), M(parameters), kParameter)));

// A modem's records may be longer than the structure; the caller refuses those.
RECORD(kAnswered, vs_parameter, value(M(sub)), value(M(id)), truncating(M(data_len), M(data)));

MESSAGE(kGetResp, vs_get_parameters_resp, standard_result(M(resp)),
        optional(kOptional, M(parameters_valid),
                 counted(M(parameters_len), M(parameters), kAnswered)));

MESSAGE(kFlagsInd, vs_flags_ind, mandatory(kFirst, value(M(word))),
        mandatory(kSecond, value(M(flag_1))), mandatory(kThird, value(M(flag_2))));

RECORD(kIndRecord, vs_ind_record, value(M(id)), counted(M(data_len), M(data)), value(M(x)),
       value(M(y)));

MESSAGE(kRecordsInd, vs_records_ind, mandatory(kFirst, value(M(word))),
        mandatory(kSecond, counted(M(records_len), M(records), kIndRecord)),
        mandatory(kThird, counted(M(blobs_len), M(blobs), kIndRecord)),
        optional(kOptional, M(last_valid), value(M(last))));

MESSAGE(kValuesInd, vs_values_ind, mandatory(kFirst, value(M(word))),
        mandatory(kSecond, counted(M(values_len), M(values))), mandatory(kThird, value(M(x))),
        mandatory(kFourth, value(M(y))));

MESSAGE(kByteInd, vs_byte_ind, mandatory(kFirst, value(M(byte))));

constexpr MessageRow kRows[] = {
    {.id = VS_FEATURE_STATUS,
     .name = "feature status",
     .request = kFeatureReq,
     .response = kPlainResp},
    {.id = VS_GET_PARAMETERS, .name = "get parameters", .request = kGetReq, .response = kGetResp},
    {.id = VS_IND_FLAGS, .name = "flags", .indication = kFlagsInd},
    {.id = VS_IND_RECORDS, .name = "records", .indication = kRecordsInd},
    {.id = VS_IND_VALUES, .name = "values", .indication = kValuesInd},
    {.id = VS_IND_BYTE, .name = "byte", .indication = kByteInd},
};

}  // namespace
}  // namespace qcci::idl

SERVICE(kVsService, "vs", qcci::assumed::vs::kServiceId, VS_IDL, vs_get_service_object_internal_v01)

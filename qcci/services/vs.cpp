// `vs` statistics service rows.

#include "platform/idl/vs.h"

#include "qcci/idl/service.h"
#include "qcci/services/assumed.h"
#include "qcci/services/services.h"
#include "qcci/services/standard_result.h"

namespace qcci::idl {
namespace {

#define M(member) QCCI_MEMBER(S, member)

using namespace assumed::vs;

constexpr auto kPlainResp = plain_response<vs_plain_resp>();

constexpr auto kFeatureReq = [] {
  using S = vs_feature_status_req;
  return message<S>(mandatory(kFirst, value(M(value))), mandatory(kSecond, value(M(a))),
                    mandatory(kThird, value(M(b))), mandatory(kFourth, value(M(c))));
}();

constexpr auto kParameter = [] {
  using S = vs_parameter;
  return record(value(M(sub)), value(M(id)), counted(M(data_len), M(data)));
}();

constexpr auto kGetReq = [] {
  using S = vs_get_parameters_req;
  return message<S>(mandatory(kFirst, value(M(sub))), mandatory(kSecond, value(M(slot))),
                    mandatory(kThird, counted(M(parameters_len), M(parameters), kParameter)));
}();

// A modem's records may be longer than the structure; the caller refuses those.
constexpr auto kAnswered = [] {
  using S = vs_parameter;
  return record(value(M(sub)), value(M(id)), truncating(M(data_len), M(data)));
}();

constexpr auto kGetResp = [] {
  using S = vs_get_parameters_resp;
  return message<S>(standard_result(M(resp)),
                    optional(kOptional, M(parameters_valid),
                             counted(M(parameters_len), M(parameters), kAnswered)));
}();

constexpr auto kFlagsInd = [] {
  using S = vs_flags_ind;
  return message<S>(mandatory(kFirst, value(M(word))), mandatory(kSecond, value(M(flag_1))),
                    mandatory(kThird, value(M(flag_2))));
}();

constexpr auto kIndRecord = [] {
  using S = vs_ind_record;
  return record(value(M(id)), counted(M(data_len), M(data)), value(M(x)), value(M(y)));
}();

constexpr auto kRecordsInd = [] {
  using S = vs_records_ind;
  return message<S>(mandatory(kFirst, value(M(word))),
                    mandatory(kSecond, counted(M(records_len), M(records), kIndRecord)),
                    mandatory(kThird, counted(M(blobs_len), M(blobs), kIndRecord)),
                    optional(kOptional, M(last_valid), value(M(last))));
}();

constexpr auto kValuesInd = [] {
  using S = vs_values_ind;
  return message<S>(mandatory(kFirst, value(M(word))),
                    mandatory(kSecond, counted(M(values_len), M(values))),
                    mandatory(kThird, value(M(x))), mandatory(kFourth, value(M(y))));
}();

constexpr auto kByteInd = [] {
  using S = vs_byte_ind;
  return message<S>(mandatory(kFirst, value(M(byte))));
}();

#undef M

constexpr MessageRow kRows[] = {
    {VS_FEATURE_STATUS, "feature status", kFeatureReq, kPlainResp},
    {VS_GET_PARAMETERS, "get parameters", kGetReq, kGetResp},
    {VS_IND_FLAGS, "flags", {}, {}, kFlagsInd},
    {VS_IND_RECORDS, "records", {}, {}, kRecordsInd},
    {VS_IND_VALUES, "values", {}, {}, kValuesInd},
    {VS_IND_BYTE, "byte", {}, {}, kByteInd},
};

}  // namespace

constinit const qmi_idl_service_object kVsService{.name = "vs",
                                                  .id = kServiceId,
                                                  .major = VS_IDL_MAJOR,
                                                  .minor = VS_IDL_MINOR,
                                                  .tool = VS_IDL_TOOL,
                                                  .rows = kRows};

}  // namespace qcci::idl

QCCI_SERVICE_GETTER(vs_get_service_object_internal_v01, kVsService)

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

constexpr auto plain_table() {
  using S = vs_plain_resp;
  return message<S>(standard_result(M(resp)));
}
constexpr auto kPlainResp = plain_table();

constexpr auto feature_table() {
  using S = vs_feature_status_req;
  return message<S>(mandatory(kFirst, value(M(value))), mandatory(kSecond, value(M(a))),
                    mandatory(kThird, value(M(b))), mandatory(kFourth, value(M(c))));
}
constexpr auto kFeatureReq = feature_table();

constexpr auto parameter_rows() {
  using S = vs_parameter;
  return record(value(M(sub)), value(M(id)), counted(M(data_len), M(data)));
}
constexpr auto kParameter = parameter_rows();

constexpr auto get_req_table() {
  using S = vs_get_parameters_req;
  return message<S>(mandatory(kFirst, value(M(sub))), mandatory(kSecond, value(M(slot))),
                    mandatory(kThird, counted(M(parameters_len), M(parameters), kParameter)));
}
constexpr auto kGetReq = get_req_table();

// A modem's own records may be longer than a caller takes; it is the caller who refuses them.
constexpr auto answered_rows() {
  using S = vs_parameter;
  return record(value(M(sub)), value(M(id)), overfull(M(data_len), M(data)));
}
constexpr auto kAnswered = answered_rows();

constexpr auto get_resp_table() {
  using S = vs_get_parameters_resp;
  return message<S>(standard_result(M(resp)),
                    optional(kOptional, M(parameters_valid),
                             counted(M(parameters_len), M(parameters), kAnswered)));
}
constexpr auto kGetResp = get_resp_table();

constexpr auto flags_table() {
  using S = vs_flags_ind;
  return message<S>(mandatory(kFirst, value(M(word))), mandatory(kSecond, value(M(flag_1))),
                    mandatory(kThird, value(M(flag_2))));
}
constexpr auto kFlagsInd = flags_table();

constexpr auto ind_record_rows() {
  using S = vs_ind_record;
  return record(value(M(id)), counted(M(data_len), M(data)), value(M(x)), value(M(y)));
}
constexpr auto kIndRecord = ind_record_rows();

constexpr auto records_table() {
  using S = vs_records_ind;
  return message<S>(mandatory(kFirst, value(M(word))),
                    mandatory(kSecond, counted(M(records_len), M(records), kIndRecord)),
                    mandatory(kThird, counted(M(blobs_len), M(blobs), kIndRecord)),
                    optional(kOptional, M(last_valid), value(M(last))));
}
constexpr auto kRecordsInd = records_table();

constexpr auto values_table() {
  using S = vs_values_ind;
  return message<S>(mandatory(kFirst, value(M(word))),
                    mandatory(kSecond, counted(M(values_len), M(values))),
                    mandatory(kThird, value(M(x))), mandatory(kFourth, value(M(y))));
}
constexpr auto kValuesInd = values_table();

constexpr auto byte_table() {
  using S = vs_byte_ind;
  return message<S>(mandatory(kFirst, value(M(byte))));
}
constexpr auto kByteInd = byte_table();

#undef M

constexpr MessageRow kRows[] = {
    {VS_FEATURE_STATUS, QMI_IDL_REQUEST, "feature status", kFeatureReq.view()},
    {VS_FEATURE_STATUS, QMI_IDL_RESPONSE, "feature status", kPlainResp.view()},
    {VS_GET_PARAMETERS, QMI_IDL_REQUEST, "get parameters", kGetReq.view()},
    {VS_GET_PARAMETERS, QMI_IDL_RESPONSE, "get parameters", kGetResp.view()},
    {VS_IND_FLAGS, QMI_IDL_INDICATION, "flags", kFlagsInd.view()},
    {VS_IND_RECORDS, QMI_IDL_INDICATION, "records", kRecordsInd.view()},
    {VS_IND_VALUES, QMI_IDL_INDICATION, "values", kValuesInd.view()},
    {VS_IND_BYTE, QMI_IDL_INDICATION, "byte", kByteInd.view()},
};

}  // namespace

constinit const qmi_idl_service_object kVsService{
    "vs", kServiceId, VS_IDL_MAJOR, VS_IDL_MINOR, VS_IDL_TOOL, kRows, longest(kRows)};

}  // namespace qcci::idl

extern "C" qmi_idl_service_object_type vs_get_service_object_internal_v01(int32_t major,
                                                                          int32_t minor,
                                                                          int32_t tool) {
  return qcci::idl::if_version(qcci::idl::kVsService, major, minor, tool);
}

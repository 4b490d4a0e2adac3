// Rows of the desk's carrier of diag packets.

#include "qcci/services/diag.h"

#include "qcci/idl/service.h"
#include "qcci/services/assumed.h"
#include "qcci/services/services.h"
#include "qcci/services/standard_result.h"

namespace qcci::idl {
namespace {

#define M(member) QCCI_MEMBER(S, member)

using namespace assumed::diag;

constexpr auto request_table() {
  using S = DiagRequest;
  return message<S>(mandatory(kPacket, counted(M(packet_len), M(packet))),
                    mandatory(kWantsAnswer, value(M(wants_answer))),
                    optional(kTag, M(tag_valid), value(M(tag))));
}
constexpr auto kRequest = request_table();

constexpr auto response_table() {
  using S = DiagResponse;
  return message<S>(standard_result(M(resp)), optional(kTag, M(tag_valid), value(M(tag))),
                    optional(kAnswerPacket, M(packet_valid), counted(M(packet_len), M(packet))));
}
constexpr auto kResponse = response_table();

#undef M

constexpr MessageRow kRows[] = {
    {kDiagByCallback, QMI_IDL_REQUEST, "callback", kRequest.view()},
    {kDiagByCallback, QMI_IDL_RESPONSE, "callback", kResponse.view()},
    {kDiagByDci, QMI_IDL_REQUEST, "dci", kRequest.view()},
    {kDiagByDci, QMI_IDL_RESPONSE, "dci", kResponse.view()},
};

}  // namespace

constinit const qmi_idl_service_object kDiagService{"diag", kServiceId,    1, 1, 6,
                                                    kRows,  longest(kRows)};

}  // namespace qcci::idl

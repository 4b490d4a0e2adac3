// Rows of the service that carries diag packets.

#include "qcci/services/diag.h"

#include "qcci/idl/service.h"
#include "qcci/services/assumed.h"
#include "qcci/services/services.h"
#include "qcci/services/standard_result.h"

namespace qcci::idl {
namespace {

#define M(member) QCCI_MEMBER(S, member)

using namespace assumed::diag;

constexpr auto kRequest = [] {
  using S = DiagRequest;
  return message<S>(mandatory(kPacket, counted(M(packet_len), M(packet))),
                    mandatory(kWantsAnswer, value(M(wants_answer))),
                    optional(kTag, M(tag_valid), value(M(tag))));
}();

constexpr auto kResponse = [] {
  using S = DiagResponse;
  return message<S>(standard_result(M(resp)), optional(kTag, M(tag_valid), value(M(tag))),
                    optional(kAnswerPacket, M(packet_valid), counted(M(packet_len), M(packet))));
}();

#undef M

constexpr MessageRow kRows[] = {
    {kDiagByCallback, "callback", kRequest, kResponse},
    {kDiagByDci, "dci", kRequest, kResponse},
};

}  // namespace

constinit const qmi_idl_service_object kDiagService{
    .name = "diag", .id = kServiceId, .major = 1, .minor = 1, .tool = 6, .rows = kRows};

}  // namespace qcci::idl

// Rows of the service that carries diag packets.

#include "qcci/services/diag.h"

#include "qcci/services/rows.h"

namespace qcci::idl {
namespace {

using namespace assumed::diag;

MESSAGE(kRequest, DiagRequest, mandatory(kPacket, counted(M(packet_len), M(packet))),
        mandatory(kWantsAnswer, value(M(wants_answer))),
        optional(kTag, M(tag_valid), value(M(tag))));

MESSAGE(kResponse, DiagResponse, standard_result(M(resp)),
        optional(kTag, M(tag_valid), value(M(tag))),
        optional(kAnswerPacket, M(packet_valid), counted(M(packet_len), M(packet))));

constexpr MessageRow kRows[] = {
    {.id = kDiagByCallback, .name = "callback", .request = kRequest, .response = kResponse},
    {.id = kDiagByDci, .name = "dci", .request = kRequest, .response = kResponse},
};

}  // namespace

constinit const qmi_idl_service_object kDiagService{
    .name = "diag", .id = kServiceId, .major = 1, .minor = 1, .tool = 6, .rows = kRows};

}  // namespace qcci::idl

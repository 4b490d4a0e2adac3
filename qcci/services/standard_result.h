// The row of the standard result, which every response of a standard service begins with.
//
// It has the same form in all services: TLV 0x02, mandatory, with the result (0 success, 1 failure)
// and the error code in two octets each, for which the C structure has four. The vendor service has
// no standard result.
#pragma once

#include "platform/qmi_idl.h"
#include "qcci/idl/element.h"

namespace qcci::idl {

inline constexpr uint8_t kStandardResultType = 0x02;

inline constexpr auto kStandardResult = record(narrow<2>(QCCI_MEMBER(qmi_standard_result, result)),
                                               narrow<2>(QCCI_MEMBER(qmi_standard_result, error)));

// The TLV, of a response structure's member `resp`.
template <class S>
constexpr TlvOf<S> standard_result(Member<S, qmi_standard_result> resp) {
  return mandatory(kStandardResultType, nested(resp, kStandardResult));
}

// The table of a response that has nothing else. S: a structure whose only member is `resp`.
template <class S>
constexpr auto plain_response() {
  return message<S>(standard_result(QCCI_MEMBER(S, resp)));
}

}  // namespace qcci::idl

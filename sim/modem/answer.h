// Responses that the modem or a fault rule writes in place of the service, octet by octet.
//
// They are for requests that no service can answer: of an unknown message, malformed ones, and
// those that a fault rule refuses. So they are made from the request's header alone, without the
// message's rows. Each returns one whole message, from its QMI header on.
#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "platform/qmi_idl.h"
#include "qcci/services/standard_result.h"
#include "qcci/wire/packet.h"

namespace sim {

// The response to the request with this header; `tlvs`: its encoded TLVs, at most 65,535 octets.
inline std::vector<uint8_t> answer(qcci::QmiHeader header, std::initializer_list<uint8_t> tlvs) {
  header.type = QMI_IDL_RESPONSE;
  header.length = static_cast<uint16_t>(tlvs.size());
  std::vector<uint8_t> octets(qcci::kQmiHeader + tlvs.size());
  header.write(octets.data());
  std::memcpy(octets.data() + qcci::kQmiHeader, tlvs.begin(), tlvs.size());
  return octets;
}

// The response with the standard result "failure" and a QMI error, which is of enum qmi_error or
// any other number that a rule wants a client to see.
inline std::vector<uint8_t> answer_error(const qcci::QmiHeader& header, uint16_t error) {
  return answer(header, {qcci::idl::kStandardResultType, 4, 0, 1, 0, static_cast<uint8_t>(error),
                         static_cast<uint8_t>(error >> 8)});
}

}  // namespace sim

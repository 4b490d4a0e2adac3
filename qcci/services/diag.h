// How diag packets travel on the desk's bus.
//
// A phone's diag has a channel of its own. On a desk it is a service like the others, so that it
// comes and goes with the modem, is served to other processes, and meets the same faults. The
// message says the mode; what the packets say is between the tool and the modem.
#ifndef QCCI_SERVICES_DIAG_H_
#define QCCI_SERVICES_DIAG_H_

#include <cstddef>
#include <cstdint>

#include "platform/diag.h"
#include "platform/qmi_idl.h"

namespace qcci {

enum : uint16_t {
  kDiagByCallback = 0x0001,
  kDiagByDci = 0x0002,
};

struct DiagRequest {
  uint32_t packet_len;
  uint8_t packet[KELVOR_DIAG_CMD_MAX];
  uint8_t wants_answer;
  uint8_t tag_valid;  // DCI: the answer bears the tag of its command
  uint32_t tag;
};
static_assert(sizeof(DiagRequest) == 4108 && offsetof(DiagRequest, tag) == 4104);

struct DiagResponse {
  qmi_standard_result resp;
  uint8_t tag_valid;
  uint32_t tag;
  uint8_t packet_valid;  // 0: no answer was wanted
  uint32_t packet_len;
  uint8_t packet[KELVOR_DIAG_RSP_MAX];
};
static_assert(sizeof(DiagResponse) == 10264 && offsetof(DiagResponse, packet) == 24);

}  // namespace qcci

#endif  // QCCI_SERVICES_DIAG_H_

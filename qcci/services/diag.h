// The service that carries diag packets to the simulated phone.
//
// On a phone diag has its own channel. On a host it is a QMI service like the others, so that it
// comes and goes with the modem, is served to other processes and is subject to the same fault
// rules. The message id is the mode; the contents of the packets are not looked at here.
//
// Both ends are ours (the host's diag client and the simulated diag service), so the numbers are
// our own (assumed.h). Packets are diag's own octets, without its framing and checksum.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/diag.h"
#include "platform/qmi_idl.h"

namespace qcci {

// Message ids.
enum : uint16_t {
  kDiagByCallback = 0x0001,
  kDiagByDci = 0x0002,
};

struct DiagRequest {
  uint32_t packet_len;
  uint8_t packet[KELVOR_DIAG_CMD_MAX];
  uint8_t wants_answer;  // 0: the packet is handled, and the response has none
  uint8_t tag_valid;     // DCI: the response repeats the command's tag
  uint32_t tag;
};
static_assert(sizeof(DiagRequest) == 4108 && offsetof(DiagRequest, tag) == 4104);

struct DiagResponse {
  qmi_standard_result resp;
  uint8_t tag_valid;
  uint32_t tag;
  uint8_t packet_valid;  // 0: no response was wanted
  uint32_t packet_len;
  uint8_t packet[KELVOR_DIAG_RSP_MAX];
};
static_assert(sizeof(DiagResponse) == 10264 && offsetof(DiagResponse, packet) == 24);

}  // namespace qcci

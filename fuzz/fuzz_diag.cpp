// The diag library with any response of the modem. Input: one octet for the mode, two for the room
// of the caller's buffer, the TLVs of the response.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "platform/diag.h"
#include "platform/qmi_idl.h"
#include "qcci/services/assumed.h"
#include "scripted_bus.h"

namespace {

using desk::ScriptedLink;
using fed::kServer;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ScriptedLink* const bus = &fed::scripted_bus();
  bus->services[qcci::assumed::diag::kServiceId] = kServer;
  if (size < 3 || size > 60000) return 0;
  bus->on_request = [&](const ScriptedLink::Sent& request) {
    std::vector<uint8_t> answer(request.octets.begin(), request.octets.begin() + qcci::kQmiHeader);
    const size_t length = size - 3;
    answer[0] = QMI_IDL_RESPONSE;
    answer[5] = static_cast<uint8_t>(length);
    answer[6] = static_cast<uint8_t>(length >> 8);
    answer.insert(answer.end(), data + 3, data + size);
    bus->say(request.endpoint, kServer, std::move(answer));
  };
  // A buffer of exactly its room, so that the sanitizer sees one octet too many.
  const uint32_t room = (data[1] | data[2] << 8) % (KELVOR_DIAG_RSP_MAX + 2);
  std::vector<uint8_t> rsp(std::max<uint32_t>(room, 1));
  uint32_t rsp_len = room;
  const uint8_t command = 0x7B;
  const auto send = (data[0] & 1) != 0 ? kelvor_diag_cmd_send_with_result_by_dci_mode
                                       : kelvor_diag_cmd_send_with_result_by_callback_mode;
  const int32_t result = send(&command, 1, 1000, rsp.data(), &rsp_len);
  if (result == 0 ? rsp_len == 0 || rsp_len > room : rsp_len != room) std::abort();
  return 0;
}

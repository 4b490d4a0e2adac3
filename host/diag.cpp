// The maker's diag library on a host: a QMI service carries the packets to the simulated modem.

#include "platform/diag.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <new>

#include "platform/qmi_client.h"
#include "qcci/services/diag.h"
#include "qcci/services/services.h"

namespace {

// The limits that platform/diag.h promises: until there is a modem, and until it accepts a command
// whose response is not wanted.
constexpr uint32_t kOpenTimeOutMs = 2000;
constexpr int32_t kAcceptTimeOutMs = 1000;

int32_t result_of(int client_error) {
  switch (client_error) {
    case QMI_CLIENT_OK:
      return KELVOR_DIAG_OK;
    case QMI_CLIENT_SERVICE_GONE:
      return KELVOR_DIAG_NO_MODEM;
    case QMI_CLIENT_TIMED_OUT:
      return KELVOR_DIAG_TIMED_OUT;
    default:
      return KELVOR_DIAG_BAD_ANSWER;
  }
}

uint32_t next_tag() {
  static std::atomic<uint32_t> last{0};
  return ++last;
}

// 14 KiB together, which is too much for the stack of a caller's thread.
struct Exchange {
  qcci::DiagRequest request{};
  qcci::DiagResponse response{};
};

int32_t exchange(uint16_t mode, Exchange& packets, int32_t time_out) {
  qmi_client_type client = nullptr;
  if (qmi_client_init_instance(&qcci::idl::kDiagService, QMI_CLIENT_INSTANCE_ANY, nullptr, nullptr,
                               nullptr, kOpenTimeOutMs, &client) != 0) {
    return KELVOR_DIAG_NO_MODEM;
  }
  const int error = qmi_client_send_msg_sync(client, mode, &packets.request, sizeof packets.request,
                                             &packets.response, sizeof packets.response,
                                             static_cast<uint32_t>(time_out));
  qmi_client_release(client);
  if (error != 0) return result_of(error);
  const qcci::DiagResponse& answer = packets.response;
  const bool ours = answer.tag_valid == packets.request.tag_valid &&
                    (answer.tag_valid == 0 || answer.tag == packets.request.tag);
  return answer.resp.result == 0 && ours ? KELVOR_DIAG_OK : KELVOR_DIAG_BAD_ANSWER;
}

// rsp_len: null when no result is wanted.
int32_t send(uint16_t mode, const uint8_t* cmd, uint32_t len, int32_t time_out, uint8_t* rsp,
             uint32_t* rsp_len) {
  if (cmd == nullptr || len == 0 || len > KELVOR_DIAG_CMD_MAX || time_out <= 0) {
    return KELVOR_DIAG_BAD_ARGUMENT;
  }
  const std::unique_ptr<Exchange> packets(new (std::nothrow) Exchange);
  if (packets == nullptr) return KELVOR_DIAG_BAD_ANSWER;
  packets->request.packet_len = len;
  std::memcpy(packets->request.packet, cmd, len);
  packets->request.wants_answer = rsp_len != nullptr;
  if (mode == qcci::kDiagByDci) {
    packets->request.tag_valid = 1;
    packets->request.tag = next_tag();
  }
  const int32_t result = exchange(mode, *packets, time_out);
  if (result != KELVOR_DIAG_OK || rsp_len == nullptr) return result;
  const qcci::DiagResponse& answer = packets->response;
  if (answer.packet_valid == 0 || answer.packet_len == 0 || answer.packet_len > *rsp_len) {
    return KELVOR_DIAG_BAD_ANSWER;
  }
  std::memcpy(rsp, answer.packet, answer.packet_len);
  *rsp_len = answer.packet_len;
  return KELVOR_DIAG_OK;
}

int32_t send_with_result(uint16_t mode, const uint8_t* cmd, uint32_t len, int32_t time_out,
                         uint8_t* rsp, uint32_t* rsp_len) {
  if (rsp == nullptr || rsp_len == nullptr) return KELVOR_DIAG_BAD_ARGUMENT;
  return send(mode, cmd, len, time_out, rsp, rsp_len);
}

}  // namespace

extern "C" {

int32_t kelvor_diag_cmd_send_with_result_by_callback_mode(const uint8_t* cmd, uint32_t len,
                                                          int32_t time_out, uint8_t* rsp,
                                                          uint32_t* rsp_len) {
  return send_with_result(qcci::kDiagByCallback, cmd, len, time_out, rsp, rsp_len);
}

int32_t kelvor_diag_cmd_send_with_result_by_dci_mode(const uint8_t* cmd, uint32_t len,
                                                     int32_t time_out, uint8_t* rsp,
                                                     uint32_t* rsp_len) {
  return send_with_result(qcci::kDiagByDci, cmd, len, time_out, rsp, rsp_len);
}

int32_t kelvor_diag_cmd_send_without_result_by_callback_mode(const uint8_t* cmd, uint32_t len) {
  return send(qcci::kDiagByCallback, cmd, len, kAcceptTimeOutMs, nullptr, nullptr);
}

int32_t kelvor_diag_cmd_send_without_result_by_dci_mode(const uint8_t* cmd, uint32_t len) {
  return send(qcci::kDiagByDci, cmd, len, kAcceptTimeOutMs, nullptr, nullptr);
}

}  // extern "C"

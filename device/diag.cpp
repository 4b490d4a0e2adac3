// The maker's diag library on a phone. The modem's diag device is one of the vendors' kernels, and
// there has been none to test with: every command is refused, with a line that says so.

#include "platform/diag.h"

#include "device/report.h"
#include "platform/kelvor_utils.h"

namespace {

constexpr const char kWhy[] =
    "diag is not available on this phone: vex has no access to the modem's diag device";

int32_t refuse(const uint8_t* cmd, uint32_t len) {
  if (cmd == nullptr || len == 0 || len > KELVOR_DIAG_CMD_MAX) return KELVOR_DIAG_BAD_ARGUMENT;
  device::report(kWhy);
  kelvor_utils_syslog_err("%s", kWhy);
  return KELVOR_DIAG_NO_MODEM;
}

int32_t refuse_with_result(const uint8_t* cmd, uint32_t len, int32_t time_out, const uint8_t* rsp,
                           const uint32_t* rsp_len) {
  if (time_out <= 0 || rsp == nullptr || rsp_len == nullptr) return KELVOR_DIAG_BAD_ARGUMENT;
  return refuse(cmd, len);
}

}  // namespace

extern "C" {

int32_t kelvor_diag_cmd_send_with_result_by_callback_mode(const uint8_t* cmd, uint32_t len,
                                                          int32_t time_out, uint8_t* rsp,
                                                          uint32_t* rsp_len) {
  return refuse_with_result(cmd, len, time_out, rsp, rsp_len);
}

int32_t kelvor_diag_cmd_send_with_result_by_dci_mode(const uint8_t* cmd, uint32_t len,
                                                     int32_t time_out, uint8_t* rsp,
                                                     uint32_t* rsp_len) {
  return refuse_with_result(cmd, len, time_out, rsp, rsp_len);
}

int32_t kelvor_diag_cmd_send_without_result_by_callback_mode(const uint8_t* cmd, uint32_t len) {
  return refuse(cmd, len);
}

int32_t kelvor_diag_cmd_send_without_result_by_dci_mode(const uint8_t* cmd, uint32_t len) {
  return refuse(cmd, len);
}

}  // extern "C"

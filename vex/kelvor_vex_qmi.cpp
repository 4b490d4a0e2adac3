// Command 12: network scans. What they find is not shown; the result says whether the modem scans.

#include "common/result.h"
#include "common/trace.h"
#include "platform/idl/nas.h"
#include "qmi/kelvor_extend_cmn.h"
#include "vex/codes/result_codes.h"
#include "vex/command.h"
#include "vex/commands.h"

namespace {

constexpr uint32_t kTimeoutMs = 10000;  // for the response; a full scan that takes longer fails
constexpr int kScanScope = 0;           // appears in the trace only

// Sends the message without any of its optional elements.
template <class Request, class Response>
int scan(TraceSite sender, uint32_t message, int scan_scope) {
  const Operation operation(sender);
  static Request request;
  static Response response;
  TRACE_DEBUG("function entry ------------->");
  TRACE_DEBUG("%s, scan_scope = %d", sender.function, scan_scope);
  request = {};
  response = {};
  const int result = kelvor_send_nas_qmi_req_msg(message, &request, sizeof request, &response,
                                                 sizeof response, kTimeoutMs);
  if (result != 0) {
    const bool sent = result != vex::NAS_NOT_SENT;
    result::fail(sent ? result::Layer::kClient : result::Layer::kNas, result);
    return TRACED_ERROR(result, "qmi_client_send_msg_sync fail, qmi_client_error = %d", result);
  }
  result::answered(response.resp);
  result::fail_if_refused();
  if constexpr (requires { response.scan_result; }) {
    const bool ended = response.scan_result_valid != 0 && response.scan_result != 0;
    if (ended) result::fail(result::Layer::kTool, vex::TOOL_SCAN_ENDED);
  }
  TRACE_DEBUG("function exit <-------------");
  return 0;
}

int kelvor_send_nas_perform_network_scan_req_msg_v01(int scan_scope) {
  return scan<nas_network_scan_req, nas_network_scan_resp>(__func__, NAS_NETWORK_SCAN, scan_scope);
}

int kelvor_send_nas_perform_incremental_network_scan_req_msg_v01(int scan_scope) {
  return scan<nas_incremental_network_scan_req, nas_plain_resp>(
      __func__, NAS_INCREMENTAL_NETWORK_SCAN, scan_scope);
}

constexpr vex::Row kRows[] = {
    {{"   vex %d %d arlist               /* nas_perform_network_scan_req_msg_v01 */", 0},
     [](const vex::Call&) { return kelvor_send_nas_perform_network_scan_req_msg_v01(kScanScope); }},
    {{"   vex %d %d arlist               /* nas_perform_incremental_network_scan_req_msg_v01 */",
      1},
     [](const vex::Call&) {
       return kelvor_send_nas_perform_incremental_network_scan_req_msg_v01(kScanScope);
     }},
};
constexpr vex::Command kScan{.number = vex::kCommandScan,
                             .title = "%d: qmi option cmd",
                             .rows = kRows,
                             .show_help = kelvor_test_qmi_show_help,
                             .reports_errors = true};

}  // namespace

extern "C" int kelvor_test_qmi_do(int argc, char** argv) {
  vex::dispatch(__func__, kScan, argc, argv);
  return 0;
}
VEX_SECTION_PRINTER(kelvor_test_qmi_show_help, kScan)

// Command 12: network scans. What they find is not shown: the result tells whether the modem scans.

#include "common/trace.h"
#include "platform/idl/nas.h"
#include "qmi/kelvor_extend_cmn.h"
#include "vex/commands.h"
#include "vex/sub_commands.h"

namespace {

constexpr uint32_t kTimeoutMs = 10000;
constexpr int kScanScope = 0;  // only told

// Sends the message without any of its optional elements.
template <class Request, class Response>
int scan(TraceSite site, uint32_t message, int scan_scope) {
  static Request request;
  static Response response;
  TRACE_FROM(site, kTraceDebug, "function entry ------------->");
  TRACE_FROM(site, kTraceDebug, "%s, scan_scope = %d", site.function, scan_scope);
  request = {};
  response = {};
  const int result = kelvor_send_nas_qmi_req_msg(message, &request, sizeof request, &response,
                                                 sizeof response, kTimeoutMs);
  if (result != 0) {
    TRACE_FROM(site, kTraceError, "qmi_client_send_msg_sync fail, qmi_client_error = %d", result);
    return result;
  }
  TRACE_FROM(site, kTraceDebug, "function exit <-------------");
  return 0;
}

int kelvor_send_nas_perform_network_scan_req_msg_v01(int scan_scope) {
  return scan<nas_network_scan_req, nas_network_scan_resp>(TRACE_SITE(), NAS_NETWORK_SCAN,
                                                           scan_scope);
}

int kelvor_send_nas_perform_incremental_network_scan_req_msg_v01(int scan_scope) {
  return scan<nas_incremental_network_scan_req, nas_plain_resp>(
      TRACE_SITE(), NAS_INCREMENTAL_NETWORK_SCAN, scan_scope);
}

constexpr vex::SubCommand kSubCommands[] = {
    {{"   vex %d %d arlist               /* nas_perform_network_scan_req_msg_v01 */", 0},
     [](int, char**) { return kelvor_send_nas_perform_network_scan_req_msg_v01(kScanScope); }},
    {{"   vex %d %d arlist               /* nas_perform_incremental_network_scan_req_msg_v01 */",
      1},
     [](int, char**) {
       return kelvor_send_nas_perform_incremental_network_scan_req_msg_v01(kScanScope);
     }},
};
constexpr vex::Family kScan{vex::kCommandScan, "%d: qmi option cmd", kSubCommands};

}  // namespace

extern "C" int kelvor_test_qmi_do(int argc, char** argv) {
  kScan.run(argc, argv, TRACE_SITE());
  return 0;
}

extern "C" int kelvor_test_qmi_show_help(int selector) {
  return kScan.show_help(selector, TRACE_SITE());
}

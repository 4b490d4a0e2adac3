// Command 3: RF and GPIO test configurations.

#include <algorithm>
#include <cstdlib>

#include "common/result.h"
#include "common/trace.h"
#include "platform/idl/vendor.h"
#include "platform/idl/vendor_payload.h"
#include "qmi/efs_path.h"
#include "qmi/kelvor_extend_api.h"
#include "qmi/kelvor_extend_cmn.h"
#include "vex/command.h"
#include "vex/commands.h"
#include "vex/record.h"

namespace {

using qmi::EfsPath;
using vex::Call;

// Words of the argument vector.
constexpr int kWordValues = vex::kWordOwn;  // of a GPIO set
constexpr int kWordAntenna = vex::kWordOwn;
constexpr int kWordSystem = kWordAntenna + 1;
constexpr int kWordBands = kWordAntenna + 2;
constexpr int kTxWords = kWordAntenna + 3;

constexpr int kBadArgument = KELVOR_COMMON_BAD_ARGUMENT;

// The files in which the modem keeps the configurations.
constexpr EfsPath kGpio = EfsPath("/nv/item_files/modem/kelvor/rf_ant_port_config").counting_zero();
constexpr EfsPath kTx = EfsPath("/nv/item_files/modem/antenna/ant_tx_config").counting_zero();

int refuse(const Call& call) {
  call.refuse();
  return kBadArgument;
}

template <class Request>
int send(const Request& request) {
  static_assert(sizeof request == 512);
  uint8_t rsp[KELVOR_COMMON_RSP_SIZE] = {};
  uint32_t rsp_len = sizeof rsp;
  const int result =
      kelvor_extend_qmi_send_sync(REQUEST_ID_COMMON, &request, sizeof request, rsp, &rsp_len);
  if (result != 0) TRACE_ERROR("kelvor_extend_qmi_send_sync fail, REQUEST_ID_COMMON");
  return vex::note_common(result, rsp);
}

bool has_no_words(const Call& call) {
  if (call.argc == vex::kWordOwn) return true;
  TRACE_ERROR("note: Cmd error, should be: vex %d %d , Pls refer to the following cmd:",
              call.command.number, call.number(vex::kWordRow));
  return false;
}

int report(int result) {
  if (result != 0) TRACE_ERROR("kelvor_extend_qmi_send_sync fail, REQUEST_ID_EFS");
  return vex::note_nvefs(result);
}

int get(TraceSite handler, const Call& call, EfsPath file) {
  const Operation operation(handler);
  if (!has_no_words(call)) return refuse(call);
  TRACE_INFO("%s", handler.function);
  uint8_t data[4096];  // room enough for any version of the modem's record
  uint32_t length = sizeof data;
  const int result = kelvor_efs_read(0, file, data, &length);
  if (result != 0) return report(result);
  TRACE_INFO("data len(%d)\ndata: ", length);
  for (uint32_t i = 0; i < length; ++i) TRACE_INFO(" %02X", data[i]);
  result::octets("data", data, length);
  return 0;
}

int close(TraceSite handler, const Call& call, EfsPath file) {
  const Operation operation(handler);
  if (!has_no_words(call)) return refuse(call);
  TRACE_INFO("%s", handler.function);
  return report(kelvor_efs_delete(0, file));
}

int kelvor_gpio_test_set(const Call& call) {
  const Operation operation(__func__);
  if (call.argc < kWordValues) {
    TRACE_ERROR("note: Too few inputs, Pls refer to the following cmd:");
    return refuse(call);
  }
  TRACE_INFO("kelvor_gpio_test_set");
  kelvor_gpio_req request{};
  request.command = KELVOR_COMMON_GPIO_SET;
  // The number given, not the number sent.
  request.gpio.count = static_cast<uint32_t>(call.argc - kWordValues);
  const int sent = std::min<int>(call.argc - kWordValues, KELVOR_GPIO_MAX);
  for (int i = 0; i < sent; ++i) {
    const int value = call.number(kWordValues + i);
    request.gpio.values[i] = static_cast<uint32_t>(value);
    TRACE_INFO("kelvor_gpio_test_set, gpio_v[%d]: %d", i, value);
  }
  return send(request);
}

int kelvor_gpio_test_get(const Call& call) { return get(__func__, call, kGpio); }

int kelvor_gpio_test_closed(const Call& call) { return close(__func__, call, kGpio); }

int kelvor_rf_tx_test_set(const Call& call) {
  const Operation operation(__func__);
  TRACE_INFO("kelvor_rf_tx_test_set, argc(%d)", call.argc);
  if (call.argc != kTxWords) {
    TRACE_ERROR("note: need %d inputs, Pls refer to the following cmd:", kTxWords - 1);
    return refuse(call);
  }
  kelvor_rf_tx_req request{};
  request.command = KELVOR_COMMON_RF_TX_SET;
  request.tx.antenna = static_cast<uint32_t>(call.number(kWordAntenna));
  request.tx.system = static_cast<uint32_t>(call.number(kWordSystem));
  request.tx.bands = std::strtoull(call.argv[kWordBands], nullptr, 0);
  TRACE_INFO(" v_ant(%d)", request.tx.antenna);
  TRACE_INFO(" v_sys(%d)", request.tx.system);
  TRACE_INFO(" v_band_list(%lu)", static_cast<unsigned long>(request.tx.bands));
  return send(request);
}

int kelvor_rf_tx_test_get(const Call& call) { return get(__func__, call, kTx); }

int kelvor_rf_tx_test_closed(const Call& call) { return close(__func__, call, kTx); }

constexpr vex::UsageRow kGpioRows[] = {
    {"                    (need to reboot duing first setting) "},
};
constexpr vex::UsageRow kTxRows[] = {
    {"                 /* fix tx to upper(lower) antenna for given band list */"},
    {"                    (need to reboot) "},
    {"                    v_ant: 0 - lower antenna, 1 - upper antenna "},
    {"                    v_sys: 0 - gsm, 1 - wcdma, 2 - cdma, 3 - tds, 4 - lte "},
    {"                    v_band_list: bit0~bi43 - (gsm: 850,900,1800,1900; wcdma: "
     "b1,b2,b4,b5,b8; "},
    {"                                            cdma: bc0, tds: b34,b39; lte: b1...b44 "},
    {"                    v_band_list: bit44~bi63 - (only for lte: b28b,b40b,b41b,b41c,b39b,b252,"},
    {"                                            "
     "b255,b253,b254,b66,b46,b250,b47,b48,b71,b71b,b38k ...  "},
};
constexpr vex::Row kRows[] = {
    {{"   vex %d %d ...   /* gpio value setting(pls input enough gpio value by notice)*/", 0},
     kelvor_gpio_test_set,
     kGpioRows},
    {{"   vex %d %d       /* get gpio test state */", 1}, kelvor_gpio_test_get},
    {{"   vex %d %d       /* Close gpio test(need to reboot) */", 2}, kelvor_gpio_test_closed},
    {{"   vex %d %d v_ant v_sys v_band_list", 3}, kelvor_rf_tx_test_set, kTxRows},
    {{"   vex %d %d       /* get tx test state */", 4}, kelvor_rf_tx_test_get},
    {{"   vex %d %d       /* Close tx test(need to reboot) */", 5}, kelvor_rf_tx_test_closed},
};
constexpr vex::Command kRf{.number = vex::kCommandRf,
                           .title = "%d: rf option cmd",
                           .rows = kRows,
                           .show_help = kelvor_test_rf_show_help,
                           .reports_errors = true};

}  // namespace

VEX_COMMAND(kelvor_test_rf_do, kelvor_test_rf_show_help, kRf)

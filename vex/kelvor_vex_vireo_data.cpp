// Command 9: live measurements.

#include <tuple>

#include "common/result.h"
#include "common/trace.h"
#include "platform/kelvor_utils.h"
#include "vex/codes/result_codes.h"
#include "vex/command.h"
#include "vex/commands.h"
#include "vireo/modem_api/modem_vireo_getters.h"
#include "vireo/modem_api/modem_vireo_mgr.h"

namespace {

using vex::Call;

constexpr int kWordOption = vex::kWordRow;
constexpr int kWordSub = vex::kWordOwn;

constexpr uint32_t kShellMask = 11;  // errors, progress and results, but no debug lines

uint32_t sub_of(const Call& call) { return static_cast<uint32_t>(call.number(kWordSub)); }

// Gets one record and has its line printed, or traces that there is none.
template <class Record>
int measure(TraceSite printer, uint32_t sub, bool (*get)(uint32_t, Record*),
            void (*print)(const Record&), const char* failure) {
  const Operation operation(printer);
  Record info{};
  if (get(sub, &info)) {
    print(info);
  } else {
    TRACE_ERROR("%s", failure);
    result::fail_by_cause(result::Layer::kTool, vex::TOOL_NO_MEASUREMENT);
  }
  return 0;
}
// What a row runs: a measurement's getter and printer, or those of one of several carriers.
#define MEASUREMENT(print, get) \
  [](const Call& call) { return measure(#print, sub_of(call), get, print, #get " failed"); }
// The phone's, not a subscription's: asked for the first one whatever was typed.
#define PHONE_MEASUREMENT(print, get) \
  [](const Call&) { return measure(#print, 0, get, print, #get " failed"); }
#define CARRIER(print, get)                                                    \
  [](const Call& call) {                                                       \
    return measure(#print, sub_of(call), get, print, "get vireo data failed"); \
  }

void kelvor_test_qmi_modem_stats_4g_rssi(const modem_vireo_lte_srv_meas_info& info) {
  const auto& rx = info.rx;
  TRACE_USAGE(
      "ASDIV DATA: earfcn: %d, pci: %d, rx_valid: %d, "
      "rsrp_rx0: %.2f, rsrq_rx0: %.2f, rssi_rx0: %.2f, snr_rx0: %.2f, "
      "rsrp_rx1: %.2f, rsrq_rx1: %.2f, rssi_rx1: %.2f, snr_rx1: %.2f, "
      "rsrp_rx2: %.2f, rsrq_rx2: %.2f, rssi_rx2: %.2f, snr_rx2: %.2f, "
      "rsrp_rx3: %.2f, rsrq_rx3: %.2f, rssi_rx3: %.2f, snr_rx3: %.2f",
      info.earfcn, info.pci, info.rx_valid, rx[0].rsrp, rx[0].rsrq, rx[0].rssi, rx[0].snr,
      rx[1].rsrp, rx[1].rsrq, rx[1].rssi, rx[1].snr, rx[2].rsrp, rx[2].rsrq, rx[2].rssi, rx[2].snr,
      rx[3].rsrp, rx[3].rsrq, rx[3].rssi, rx[3].snr);
}

void kelvor_test_qmi_modem_stats_5g_rssi(const modem_vireo_nr5g_ll1_fw_rx_control_agc& info) {
  TRACE_USAGE("ASDIV DATA: rssi_rx0: %.2f, rssi_rx1: %.2f, rssi_rx2: %.2f, rssi_rx3: %.2f",
              info.rssi[0], info.rssi[1], info.rssi[2], info.rssi[3]);
}

void kelvor_test_qmi_modem_stats_5g_snr(const modem_vireo_nr5g_ll1_fw_serving_ftl& info) {
  TRACE_USAGE("ASDIV DATA: snr_rx0: %.2f, snr_rx1: %.2f, snr_rx2: %.2f, snr_rx3: %.2f", info.snr[0],
              info.snr[1], info.snr[2], info.snr[3]);
}

void kelvor_test_qmi_modem_stats_5g_ant_diversity(
    const modem_vireo_nr5g_ml1_antenna_switch_diversity& info) {
  const auto& rx = info.rx;
  const auto& tx = info.tx;
  TRACE_USAGE(
      "ASDIV DATA: ant_rx_0_old = %d, ant_rx_0_new = %d, ant_rx_1_old = %d, ant_rx_1_new = %d, "
      "ant_rx_2_old = %d, ant_rx_2_new = %d, ant_rx_3_old = %d, ant_rx_3_new = %d, "
      "ant_tx_0_old = %d, ant_tx_0_new = %d, ant_tx_1_old = %d, ant_tx_1_new = %d",
      rx[0].old_antenna, rx[0].new_antenna, rx[1].old_antenna, rx[1].new_antenna, rx[2].old_antenna,
      rx[2].new_antenna, rx[3].old_antenna, rx[3].new_antenna, tx[0].old_antenna, tx[0].new_antenna,
      tx[1].old_antenna, tx[1].new_antenna);
}

void kelvor_test_qmi_modem_stats_5g_rsrp(const modem_vireo_nr5g_srv_meas_info& info) {
  TRACE_USAGE(
      "ASDIV DATA: rsrp_rx0: %.2f, rsrp_rx1: %.2f, rsrp_rx2: %.2f, rsrp_rx3: %.2f, rsrq: %.2f",
      info.rsrp[0], info.rsrp[1], info.rsrp[2], info.rsrp[3], info.rsrq);
}

void kelvor_test_qmi_modem_stats_wcdma_rssi(const modem_vireo_wcdma_pn_search_edition2& info) {
  TRACE_USAGE("ASDIV DATA: rx_agc_0: %.2f, rx_agc_1: %.2f", info.rx_agc[0], info.rx_agc[1]);
}

void kelvor_test_qmi_modem_stats_gsm_rssi(const modem_vireo_gsm_l1_rx_diversity_metrics& info) {
  TRACE_USAGE("ASDIV DATA: rx_prx: %.2f, rx_drx: %.2f", info.rx_prx, info.rx_drx);
}

void kelvor_test_qmi_modem_stats_ant_info(const modem_vireo_mcs_trm_asdiv& info) {
  TRACE_USAGE("ANT INFO: ant_num: %d, ant_path: %d, sig_path: %d, old_config: %d, new_config: %d",
              info.ant_num, info.ant_path, info.sig_path, info.old_config, info.new_config);
}

int kelvor_test_qmi_modem_stats_tx_info(const Call& call) {
  const Operation operation(__func__);
  // What the word means behind the subscriptions' numbers.
  constexpr uint32_t kDefaultDataSub = KELVOR_SUBSCRIPTIONS;
  const uint32_t sub = sub_of(call);
  int32_t tx_power = 0;
  if (sub < KELVOR_SUBSCRIPTIONS) {
    tx_power = modem_tx_power_get_by_sub(sub);
  } else if (sub == kDefaultDataSub) {
    tx_power = modem_tx_power_get_for_dds_sub();
  } else {
    tx_power = modem_tx_power_get_for_max_sub();
  }
  TRACE_USAGE("TX INFO: tx_power = %d", tx_power);
  if (tx_power == MODEM_TX_POWER_NONE) {
    result::fail_by_cause(result::Layer::kTool, vex::TOOL_NO_MEASUREMENT);
  } else {
    result::number("tx_power", tx_power, "dBm");
  }
  return 0;
}

constexpr vex::Row kRows[] = {
    {{"   vex %d %d sub                   /* 4G PCC rssi, sub: 0 - sub0; 1 - sub1 */", 0},
     CARRIER(kelvor_test_qmi_modem_stats_4g_rssi, modem_vireo_lte_srv_meas_info_get_for_pcc)},
    {{"   vex %d %d sub                   /* 4G SCC1 rssi, sub: 0 - sub0; 1 - sub1 */", 1},
     CARRIER(kelvor_test_qmi_modem_stats_4g_rssi, modem_vireo_lte_srv_meas_info_get_for_scc1)},
    {{"   vex %d %d sub                   /* 4G SCC2 rssi, sub: 0 - sub0; 1 - sub1 */", 2},
     CARRIER(kelvor_test_qmi_modem_stats_4g_rssi, modem_vireo_lte_srv_meas_info_get_for_scc2)},
    {{"   vex %d %d sub                   /* 4G SCC3 rssi, sub: 0 - sub0; 1 - sub1 */", 3},
     CARRIER(kelvor_test_qmi_modem_stats_4g_rssi, modem_vireo_lte_srv_meas_info_get_for_scc3)},
    {{"   vex %d %d sub                   /* 4G SCC4 rssi, sub: 0 - sub0; 1 - sub1 */", 4},
     CARRIER(kelvor_test_qmi_modem_stats_4g_rssi, modem_vireo_lte_srv_meas_info_get_for_scc4)},
    {{"   vex %d %d sub                   /* 4G SCC5 rssi, sub: 0 - sub0; 1 - sub1 */", 5},
     CARRIER(kelvor_test_qmi_modem_stats_4g_rssi, modem_vireo_lte_srv_meas_info_get_for_scc5)},
    {{"   vex %d %d sub                   /* 4G SCC6 rssi, sub: 0 - sub0; 1 - sub1 */", 6},
     CARRIER(kelvor_test_qmi_modem_stats_4g_rssi, modem_vireo_lte_srv_meas_info_get_for_scc6)},
    {{"   vex %d %d sub                   /* 5G PCC rssi, sub: 0 - sub0; 1 - sub1 */", 7},
     MEASUREMENT(kelvor_test_qmi_modem_stats_5g_rssi, modem_vireo_nr5g_ll1_fw_rx_control_agc_get)},
    {{"   vex %d %d sub                   /* 5G PCC snr, sub: 0 - sub0; 1 - sub1 */", 8},
     MEASUREMENT(kelvor_test_qmi_modem_stats_5g_snr, modem_vireo_nr5g_ll1_fw_serving_ftl_get)},
    {{"   vex %d %d sub                   /* 5G ANT diversity, sub: 0 - sub0; 1 - sub1 */", 9},
     MEASUREMENT(kelvor_test_qmi_modem_stats_5g_ant_diversity,
                 modem_vireo_nr5g_ml1_antenna_switch_diversity_get)},
    {{"   vex %d %d sub                  /* 5G PCC rsrp, sub: 0 - sub0; 1 - sub1 */", 10},
     CARRIER(kelvor_test_qmi_modem_stats_5g_rsrp, modem_vireo_nr5g_srv_meas_info_get_for_pcc)},
    {{"   vex %d %d sub                  /* 5G SCC1 rsrp, sub: 0 - sub0; 1 - sub1 */", 11},
     CARRIER(kelvor_test_qmi_modem_stats_5g_rsrp, modem_vireo_nr5g_srv_meas_info_get_for_scc1)},
    {{"   vex %d %d sub                  /* 5G SCC2 rsrp, sub: 0 - sub0; 1 - sub1 */", 12},
     CARRIER(kelvor_test_qmi_modem_stats_5g_rsrp, modem_vireo_nr5g_srv_meas_info_get_for_scc2)},
    {{"   vex %d %d sub                  /* WCDMA rssi, sub: 0 - sub0; 1 - sub1 */", 20},
     MEASUREMENT(kelvor_test_qmi_modem_stats_wcdma_rssi, modem_vireo_wcdma_pn_search_edition2_get)},
    {{"   vex %d %d sub                  /* GSM rssi, sub: 0 - sub0; 1 - sub1 */", 21},
     MEASUREMENT(kelvor_test_qmi_modem_stats_gsm_rssi,
                 modem_vireo_gsm_l1_rx_diversity_metrics_get)},
    {{"   vex %d %d 0                    /* Ant info */", 30},
     PHONE_MEASUREMENT(kelvor_test_qmi_modem_stats_ant_info, modem_vireo_mcs_trm_asdiv_get)},
    {{"   vex %d %d sub                  /* Tx info, sub: 0 - sub0 tx; sub: 1 - sub1 tx; sub: 2 - "
      "dds tx; sub: other - max tx of dual subs; */",
      31},
     kelvor_test_qmi_modem_stats_tx_info},
};

int kelvor_test_qmi_modem_stats_hdl(const Call& call) {
  const Operation operation(__func__);
  const int opt = call.number(kWordOption);
  const vex::Row* const row = call.command.find(opt);
  if (row != nullptr) return row->run(call);
  result::usage();
  TRACE_ERROR("kelvor_test_qmi_modem_stats_hdl: Unknown opt(%d), sub(%d)", opt, sub_of(call));
  return 0;
}

int run(const Call& call) {
  TRACE_INFO("opt = %d, sub = %d", call.number(kWordOption), sub_of(call));
  // Failures of these two are in the trace, and the measurement then fails as well.
  std::ignore = modem_vireo_api_init();
  std::ignore = modem_vireo_stats_start();
  kelvor_test_qmi_modem_stats_hdl(call);
  return modem_vireo_api_deinit();
}

constexpr vex::Command kQmiStats{.number = vex::kCommandQmiStats,
                                 .title = "%d: kelvor modem stats qmi test",
                                 .rows = kRows,
                                 .show_help = kelvor_test_modem_stats_show_help,
                                 .least_words = kWordSub + 1,
                                 .run = run,
                                 .refused = vex::kCommandQmiStats};

}  // namespace

extern "C" int kelvor_test_qmi_modem_stats_do(int argc, char** argv) {
  kelvor_hal_set_shell_print_mask(kShellMask);
  return vex::dispatch(__func__, kQmiStats, argc, argv);
}
VEX_SECTION_PRINTER(kelvor_test_modem_stats_show_help, kQmiStats)

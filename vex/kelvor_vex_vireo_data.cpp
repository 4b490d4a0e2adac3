// Command 9: live measurements.

#include <cstdlib>

#include "common/trace.h"
#include "platform/kelvor_utils.h"
#include "vex/commands.h"
#include "vex/usage.h"
#include "vireo/modem_api/modem_vireo_getters.h"
#include "vireo/modem_api/modem_vireo_mgr.h"

namespace {

using vex::kCommandQmiStats;

constexpr vex::UsageRow kRows[] = {
    {"%d: kelvor modem stats qmi test"},
    {"   vex %d %d sub                   /* 4G PCC rssi, sub: 0 - sub0; 1 - sub1 */", 0},
    {"   vex %d %d sub                   /* 4G SCC1 rssi, sub: 0 - sub0; 1 - sub1 */", 1},
    {"   vex %d %d sub                   /* 4G SCC2 rssi, sub: 0 - sub0; 1 - sub1 */", 2},
    {"   vex %d %d sub                   /* 4G SCC3 rssi, sub: 0 - sub0; 1 - sub1 */", 3},
    {"   vex %d %d sub                   /* 4G SCC4 rssi, sub: 0 - sub0; 1 - sub1 */", 4},
    {"   vex %d %d sub                   /* 4G SCC5 rssi, sub: 0 - sub0; 1 - sub1 */", 5},
    {"   vex %d %d sub                   /* 4G SCC6 rssi, sub: 0 - sub0; 1 - sub1 */", 6},
    {"   vex %d %d sub                   /* 5G PCC rssi, sub: 0 - sub0; 1 - sub1 */", 7},
    {"   vex %d %d sub                   /* 5G PCC snr, sub: 0 - sub0; 1 - sub1 */", 8},
    {"   vex %d %d sub                   /* 5G ANT diversity, sub: 0 - sub0; 1 - sub1 */", 9},
    {"   vex %d %d sub                  /* 5G PCC rsrp, sub: 0 - sub0; 1 - sub1 */", 10},
    {"   vex %d %d sub                  /* 5G SCC1 rsrp, sub: 0 - sub0; 1 - sub1 */", 11},
    {"   vex %d %d sub                  /* 5G SCC2 rsrp, sub: 0 - sub0; 1 - sub1 */", 12},
    {"   vex %d %d sub                  /* WCDMA rssi, sub: 0 - sub0; 1 - sub1 */", 20},
    {"   vex %d %d sub                  /* GSM rssi, sub: 0 - sub0; 1 - sub1 */", 21},
    {"   vex %d %d 0                    /* Ant info */", 30},
    {"   vex %d %d sub                  /* Tx info, sub: 0 - sub0 tx; sub: 1 - sub1 tx; sub: 2 - "
     "dds tx; sub: other - max tx of dual subs; */",
     31},
};

constexpr uint32_t kShellMask = 11;  // errors, progress and results, but no debug lines

// A printer gets one record and writes its line, or says that there is none.

void kelvor_test_qmi_modem_stats_4g_rssi(uint32_t sub, int opt) {
  using Getter = bool (*)(uint32_t, modem_vireo_lte_srv_meas_info*);
  static constexpr Getter kCarriers[] = {
      modem_vireo_lte_srv_meas_info_get_for_pcc,  modem_vireo_lte_srv_meas_info_get_for_scc1,
      modem_vireo_lte_srv_meas_info_get_for_scc2, modem_vireo_lte_srv_meas_info_get_for_scc3,
      modem_vireo_lte_srv_meas_info_get_for_scc4, modem_vireo_lte_srv_meas_info_get_for_scc5,
      modem_vireo_lte_srv_meas_info_get_for_scc6,
  };
  modem_vireo_lte_srv_meas_info info{};
  if (!kCarriers[opt](sub, &info)) {
    TRACE_ERROR("get vireo data failed");
    return;
  }
  const auto& rx = info.rx;
  TRACE_USAGE(
      "ASDIV DATA: earfcn: %d, pci: %d, rx_valid: %d, "
      "rsrp_rx0: %.2f, rsrq_rx0: %.2f, rssi_rx0: %.2f, snr_rx0: %.2f, "
      "rsrp_rx1: %.2f, rsrq_rx1: %.2f, rssi_rx1: %.2f, snr_rx1: %.2f, "
      "rsrp_rx2: %.2f, rsrq_rx2: %.2f, rssi_rx2: %.2f, snr_rx2: %.2f, "
      "rsrp_rx3: %.2f, rsrq_rx3: %.2f, rssi_rx3: %.2f, snr_rx3: %.2f",
      static_cast<int>(info.earfcn), info.pci, info.rx_valid, rx[0].rsrp, rx[0].rsrq, rx[0].rssi,
      rx[0].snr, rx[1].rsrp, rx[1].rsrq, rx[1].rssi, rx[1].snr, rx[2].rsrp, rx[2].rsrq, rx[2].rssi,
      rx[2].snr, rx[3].rsrp, rx[3].rsrq, rx[3].rssi, rx[3].snr);
}

void kelvor_test_qmi_modem_stats_5g_rssi(uint32_t sub, int /*opt*/) {
  modem_vireo_nr5g_ll1_fw_rx_control_agc info{};
  if (!modem_vireo_nr5g_ll1_fw_rx_control_agc_get(sub, &info)) {
    TRACE_ERROR("modem_vireo_nr5g_ll1_fw_rx_control_agc_get failed");
    return;
  }
  TRACE_USAGE("ASDIV DATA: rssi_rx0: %.2f, rssi_rx1: %.2f, rssi_rx2: %.2f, rssi_rx3: %.2f",
              info.rssi[0], info.rssi[1], info.rssi[2], info.rssi[3]);
}

void kelvor_test_qmi_modem_stats_5g_snr(uint32_t sub, int /*opt*/) {
  modem_vireo_nr5g_ll1_fw_serving_ftl info{};
  if (!modem_vireo_nr5g_ll1_fw_serving_ftl_get(sub, &info)) {
    TRACE_ERROR("modem_vireo_nr5g_ll1_fw_serving_ftl_get failed");
    return;
  }
  TRACE_USAGE("ASDIV DATA: snr_rx0: %.2f, snr_rx1: %.2f, snr_rx2: %.2f, snr_rx3: %.2f", info.snr[0],
              info.snr[1], info.snr[2], info.snr[3]);
}

void kelvor_test_qmi_modem_stats_5g_ant_diversity(uint32_t sub, int /*opt*/) {
  modem_vireo_nr5g_ml1_antenna_switch_diversity info{};
  if (!modem_vireo_nr5g_ml1_antenna_switch_diversity_get(sub, &info)) {
    TRACE_ERROR("modem_vireo_nr5g_ml1_antenna_switch_diversity_get failed");
    return;
  }
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

void kelvor_test_qmi_modem_stats_5g_rsrp(uint32_t sub, int opt) {
  using Getter = bool (*)(uint32_t, modem_vireo_nr5g_srv_meas_info*);
  static constexpr Getter kCarriers[] = {
      modem_vireo_nr5g_srv_meas_info_get_for_pcc,
      modem_vireo_nr5g_srv_meas_info_get_for_scc1,
      modem_vireo_nr5g_srv_meas_info_get_for_scc2,
  };
  constexpr int kPrimary = 10;
  modem_vireo_nr5g_srv_meas_info info{};
  if (!kCarriers[opt - kPrimary](sub, &info)) {
    TRACE_ERROR("get vireo data failed");
    return;
  }
  TRACE_USAGE(
      "ASDIV DATA: rsrp_rx0: %.2f, rsrp_rx1: %.2f, rsrp_rx2: %.2f, rsrp_rx3: %.2f, rsrq: %.2f",
      info.rsrp[0], info.rsrp[1], info.rsrp[2], info.rsrp[3], info.rsrq);
}

void kelvor_test_qmi_modem_stats_wcdma_rssi(uint32_t sub, int /*opt*/) {
  modem_vireo_wcdma_pn_search_edition2 info{};
  if (!modem_vireo_wcdma_pn_search_edition2_get(sub, &info)) {
    TRACE_ERROR("modem_vireo_wcdma_pn_search_edition2_get failed");
    return;
  }
  TRACE_USAGE("ASDIV DATA: rx_agc_0: %.2f, rx_agc_1: %.2f", info.rx_agc[0], info.rx_agc[1]);
}

void kelvor_test_qmi_modem_stats_gsm_rssi(uint32_t sub, int /*opt*/) {
  modem_vireo_gsm_l1_rx_diversity_metrics info{};
  if (!modem_vireo_gsm_l1_rx_diversity_metrics_get(sub, &info)) {
    TRACE_ERROR("modem_vireo_gsm_l1_rx_diversity_metrics_get failed");
    return;
  }
  TRACE_USAGE("ASDIV DATA: rx_prx: %.2f, rx_drx: %.2f", info.rx_prx, info.rx_drx);
}

// Of the phone, not of a subscription: asked of the first one whatever was typed.
void kelvor_test_qmi_modem_stats_ant_info(uint32_t /*sub*/, int /*opt*/) {
  modem_vireo_mcs_trm_asdiv info{};
  if (!modem_vireo_mcs_trm_asdiv_get(0, &info)) {
    TRACE_ERROR("modem_vireo_mcs_trm_asdiv_get failed");
    return;
  }
  TRACE_USAGE("ANT INFO: ant_num: %d, ant_path: %d, sig_path: %d, old_config: %d, new_config: %d",
              info.ant_num, info.ant_path, info.sig_path, info.old_config, info.new_config);
}

void kelvor_test_qmi_modem_stats_tx_info(uint32_t sub, int /*opt*/) {
  constexpr uint32_t kDefaultDataSub = 2;
  int32_t tx_power = 0;
  if (sub < kDefaultDataSub) {
    tx_power = modem_tx_power_get_by_sub(sub);
  } else if (sub == kDefaultDataSub) {
    tx_power = modem_tx_power_get_for_dds_sub();
  } else {
    tx_power = modem_tx_power_get_for_max_sub();
  }
  TRACE_USAGE("TX INFO: tx_power = %d", tx_power);
}

// Options first to last have one printer.
struct Option {
  int first, last;
  void (*print)(uint32_t sub, int opt);
};
constexpr Option kOptions[] = {
    {0, 6, kelvor_test_qmi_modem_stats_4g_rssi},
    {7, 7, kelvor_test_qmi_modem_stats_5g_rssi},
    {8, 8, kelvor_test_qmi_modem_stats_5g_snr},
    {9, 9, kelvor_test_qmi_modem_stats_5g_ant_diversity},
    {10, 12, kelvor_test_qmi_modem_stats_5g_rsrp},
    {20, 20, kelvor_test_qmi_modem_stats_wcdma_rssi},
    {21, 21, kelvor_test_qmi_modem_stats_gsm_rssi},
    {30, 30, kelvor_test_qmi_modem_stats_ant_info},
    {31, 31, kelvor_test_qmi_modem_stats_tx_info},
};

void kelvor_test_qmi_modem_stats_hdl(int opt, int sub) {
  for (const Option& option : kOptions) {
    if (opt < option.first || opt > option.last) continue;
    option.print(static_cast<uint32_t>(sub), opt);
    return;
  }
  TRACE_ERROR("kelvor_test_qmi_modem_stats_hdl: Unknown opt(%d), sub(%d)", opt, sub);
}

}  // namespace

extern "C" int kelvor_test_qmi_modem_stats_do(int argc, char** argv) {
  kelvor_hal_set_shell_print_mask(kShellMask);
  if (argc < 4) {
    TRACE_ERROR("note: Too few parameters, Pls refer to the following cmd:");
    return kelvor_test_modem_stats_show_help(kCommandQmiStats);
  }
  if (std::atoi(argv[1]) != kCommandQmiStats) {
    TRACE_ERROR("note: the first parameters should be %d, Pls refer to the following cmd:",
                kCommandQmiStats);
    return kelvor_test_modem_stats_show_help(kCommandQmiStats);
  }
  const int opt = std::atoi(argv[2]);
  const int sub = std::atoi(argv[3]);
  TRACE_INFO("opt = %d, sub = %d", opt, sub);
  modem_vireo_api_init();
  modem_vireo_stats_start();
  kelvor_test_qmi_modem_stats_hdl(opt, sub);
  return modem_vireo_api_deinit();
}

extern "C" int kelvor_test_modem_stats_show_help(int selector) {
  return PRINT_SECTION(selector, kCommandQmiStats, kRows);
}

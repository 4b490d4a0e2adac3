// Measurements: one record of the statistics framework each, decoded into a structure.
//
// A getter zeroes the caller's structure and fills it; false, and a structure of no use, when there
// is no such record or it is too short. Getters may be called from any thread and take turns.
// Powers and levels are in dBm, qualities and ratios in dB.
#pragma once

#include <stddef.h>
#include <stdint.h>

extern "C" {

// What the transmit-power operations return when there is no power.
#define MODEM_TX_POWER_NONE 65535

struct modem_vireo_chain {
  float rsrp, rsrq, rssi, snr;
};

struct modem_vireo_lte_srv_meas_info {
  uint32_t earfcn;
  uint16_t pci;
  uint16_t rx_valid;
  struct modem_vireo_chain rx[4];
};

struct modem_vireo_nr5g_srv_meas_info {
  float rsrp[4];
  float rsrq;
};

struct modem_vireo_nr5g_ll1_fw_rx_control_agc {
  uint32_t leading;
  float rssi[4];
};

struct modem_vireo_nr5g_ll1_fw_serving_ftl {
  uint32_t leading;
  float snr[4];
};

struct modem_vireo_antenna_change {
  int32_t old_antenna, new_antenna;
};

struct modem_vireo_nr5g_ml1_antenna_switch_diversity {
  struct modem_vireo_antenna_change rx[4];
  struct modem_vireo_antenna_change tx[2];
};

struct modem_vireo_wcdma_pn_search_edition2 {
  uint32_t leading;
  float rx_agc[2];
};

struct modem_vireo_gsm_l1_rx_diversity_metrics {
  uint32_t leading;
  float rx_prx, rx_drx;
};

struct modem_vireo_mcs_trm_asdiv {
  uint8_t version;
  uint8_t ant_num, ant_path, sig_path, old_config, new_config;
};

struct modem_vireo_nr5g_mac_ul_phy_ch_power_info {
  uint32_t leading;
  float tx_power;
};

struct modem_vireo_lte_pusch_power_info {
  uint8_t version;
  int16_t pusch_tx_power;
  uint8_t dl_path_loss;
  int16_t max_power;
  int16_t pusch_ex_tx_power;
};

[[nodiscard]] bool modem_vireo_lte_srv_meas_info_get(uint32_t sub,
                                                     struct modem_vireo_lte_srv_meas_info* out,
                                                     uint32_t record_id);
[[nodiscard]] bool modem_vireo_lte_srv_meas_info_get_for_pcc(
    uint32_t sub, struct modem_vireo_lte_srv_meas_info* out);
[[nodiscard]] bool modem_vireo_lte_srv_meas_info_get_for_scc1(
    uint32_t sub, struct modem_vireo_lte_srv_meas_info* out);
[[nodiscard]] bool modem_vireo_lte_srv_meas_info_get_for_scc2(
    uint32_t sub, struct modem_vireo_lte_srv_meas_info* out);
[[nodiscard]] bool modem_vireo_lte_srv_meas_info_get_for_scc3(
    uint32_t sub, struct modem_vireo_lte_srv_meas_info* out);
[[nodiscard]] bool modem_vireo_lte_srv_meas_info_get_for_scc4(
    uint32_t sub, struct modem_vireo_lte_srv_meas_info* out);
[[nodiscard]] bool modem_vireo_lte_srv_meas_info_get_for_scc5(
    uint32_t sub, struct modem_vireo_lte_srv_meas_info* out);
[[nodiscard]] bool modem_vireo_lte_srv_meas_info_get_for_scc6(
    uint32_t sub, struct modem_vireo_lte_srv_meas_info* out);
[[nodiscard]] bool modem_vireo_nr5g_srv_meas_info_get(uint32_t sub,
                                                      struct modem_vireo_nr5g_srv_meas_info* out,
                                                      uint32_t record_id);
[[nodiscard]] bool modem_vireo_nr5g_srv_meas_info_get_for_pcc(
    uint32_t sub, struct modem_vireo_nr5g_srv_meas_info* out);
[[nodiscard]] bool modem_vireo_nr5g_srv_meas_info_get_for_scc1(
    uint32_t sub, struct modem_vireo_nr5g_srv_meas_info* out);
[[nodiscard]] bool modem_vireo_nr5g_srv_meas_info_get_for_scc2(
    uint32_t sub, struct modem_vireo_nr5g_srv_meas_info* out);
[[nodiscard]] bool modem_vireo_nr5g_mac_ul_phy_ch_power_info_get(
    uint32_t sub, struct modem_vireo_nr5g_mac_ul_phy_ch_power_info* out);
[[nodiscard]] bool modem_vireo_nr5g_ll1_fw_rx_control_agc_get(
    uint32_t sub, struct modem_vireo_nr5g_ll1_fw_rx_control_agc* out);
[[nodiscard]] bool modem_vireo_lte_pusch_power_info_get(
    uint32_t sub, struct modem_vireo_lte_pusch_power_info* out);
[[nodiscard]] bool modem_vireo_mcs_trm_asdiv_get(uint32_t sub,
                                                 struct modem_vireo_mcs_trm_asdiv* out);
[[nodiscard]] bool modem_vireo_wcdma_pn_search_edition2_get(
    uint32_t sub, struct modem_vireo_wcdma_pn_search_edition2* out);
[[nodiscard]] bool modem_vireo_gsm_l1_rx_diversity_metrics_get(
    uint32_t sub, struct modem_vireo_gsm_l1_rx_diversity_metrics* out);
[[nodiscard]] bool modem_vireo_nr5g_ll1_fw_serving_ftl_get(
    uint32_t sub, struct modem_vireo_nr5g_ll1_fw_serving_ftl* out);
[[nodiscard]] bool modem_vireo_nr5g_ml1_antenna_switch_diversity_get(
    uint32_t sub, struct modem_vireo_nr5g_ml1_antenna_switch_diversity* out);

// The radio access technology, of enum vs_rat (platform/idl/vs.h) or another; -1 when none is
// known.
int32_t modem_sys_mode_get(uint32_t sub);

// A power in whole dBm, or MODEM_TX_POWER_NONE.
int32_t modem_tx_power_get_by_sub(uint32_t sub);
int32_t modem_tx_power_get_for_dds_sub(void);
// The stronger of both subscriptions; on a tie the first; one without a power does not count.
int32_t modem_tx_power_get_for_max_sub(void);

}  // extern "C"

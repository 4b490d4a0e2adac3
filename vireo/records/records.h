// What the records of the statistics framework hold, as structures, and the records' ids.
//
// Units. Powers and levels (rsrp, rssi, agc, power) are in dBm, qualities, ratios and losses (rsrq,
// snr, path loss) in dB. Arrays have an element for each receive (rx) or transmit (tx) chain.
// `leading` is a number whose meaning is not known; docs/statistics-records.md has the octets.
#pragma once

#include <stdint.h>

// One receive chain's view of the serving cell.
struct modem_vireo_chain {
  float rsrp, rsrq, rssi, snr;
};

// The LTE serving cell of one carrier.
struct modem_vireo_lte_srv_meas_info {
  uint32_t earfcn;    // downlink channel number
  uint16_t pci;       // physical cell id
  uint16_t rx_valid;  // a bit for each chain
  struct modem_vireo_chain rx[4];
};

// The NR serving cell of one carrier.
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

// The antenna that a chain used before and after its last switch.
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

// Antenna switch diversity: antennas, paths and configurations, by the modem's numbers.
struct modem_vireo_mcs_trm_asdiv {
  uint8_t version;
  uint8_t ant_num, ant_path, sig_path, old_config, new_config;
};

// Transmit power of the NR uplink.
struct modem_vireo_nr5g_mac_ul_phy_ch_power_info {
  uint32_t leading;
  float tx_power;
};

// Transmit power of the LTE uplink's shared channel.
struct modem_vireo_lte_pusch_power_info {
  uint8_t version;
  int16_t pusch_tx_power;
  uint8_t dl_path_loss;
  int16_t max_power;
  int16_t pusch_ex_tx_power;
};

// The records, by the name of the structure modem_vireo_NAME: a row each, with the record's id.
#define MODEM_VIREO_MEASUREMENTS(X)      \
  X(nr5g_mac_ul_phy_ch_power_info, 0x5A) \
  X(nr5g_ll1_fw_rx_control_agc, 0x5E)    \
  X(lte_pusch_power_info, 0x62)          \
  X(mcs_trm_asdiv, 0x64)                 \
  X(wcdma_pn_search_edition2, 0x6E)      \
  X(gsm_l1_rx_diversity_metrics, 0x6F)   \
  X(nr5g_ll1_fw_serving_ftl, 0x70)       \
  X(nr5g_ml1_antenna_switch_diversity, 0x71)

// Those that each carrier has. The ids of secondary carriers lie far from the primary's.
#define MODEM_VIREO_CARRIERS(X)     \
  X(lte_srv_meas_info, pcc, 0x52)   \
  X(lte_srv_meas_info, scc1, 0x67)  \
  X(lte_srv_meas_info, scc2, 0x68)  \
  X(lte_srv_meas_info, scc3, 0x69)  \
  X(lte_srv_meas_info, scc4, 0x6A)  \
  X(lte_srv_meas_info, scc5, 0x6B)  \
  X(lte_srv_meas_info, scc6, 0x6C)  \
  X(nr5g_srv_meas_info, pcc, 0x87)  \
  X(nr5g_srv_meas_info, scc1, 0x06) \
  X(nr5g_srv_meas_info, scc2, 0x07)

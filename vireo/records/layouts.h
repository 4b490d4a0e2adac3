// How the records of the statistics framework are packed, field by field: for what gets them from a
// modem, and for what shows those in a capture.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include "vireo/records/records.h"

namespace vireo {

// A field of a packed record, and where it goes; kDropped: nowhere.
inline constexpr size_t kDropped = SIZE_MAX;
enum class FieldType : uint8_t { kUnsigned, kSigned, kDecimal };
struct Field {
  const char* name;
  size_t width;
  size_t offset;
  FieldType type;
};
template <class T>
constexpr FieldType kTypeOf = std::is_floating_point_v<T> ? FieldType::kDecimal
                              : std::is_signed_v<T>       ? FieldType::kSigned
                                                          : FieldType::kUnsigned;
#define ITEM(S, array) std::remove_reference_t<decltype(S::array[0])>
#define FIELD(S, member, name) \
  { name, sizeof(S::member), offsetof(S, member), kTypeOf<decltype(S::member)> }
#define FIELD_AT(S, array, i, member, name)                                                \
  {                                                                                        \
    name, sizeof(S::array[0].member),                                                      \
        offsetof(S, array) + (i) * sizeof(S::array[0]) + offsetof(ITEM(S, array), member), \
        kTypeOf<decltype(S::array[0].member)>                                              \
  }
#define ITEM_AT(S, array, i, name)                                             \
  {                                                                            \
    name, sizeof(S::array[0]), offsetof(S, array) + (i) * sizeof(S::array[0]), \
        kTypeOf<ITEM(S, array)>                                                \
  }
#define FOUR_ITEMS(S, array, name)                                                                \
  ITEM_AT(S, array, 0, name "0"), ITEM_AT(S, array, 1, name "1"), ITEM_AT(S, array, 2, name "2"), \
      ITEM_AT(S, array, 3, name "3")
// The unit of a field, by what its name says (records.h); empty for a plain number.
constexpr const char* unit_of(const Field& field) {
  constexpr struct {
    std::string_view part;
    const char* unit;
  } kUnits[] = {{"rsrp", "dBm"},   {"rssi", "dBm"},   {"agc", "dBm"},
                {"rx_prx", "dBm"}, {"rx_drx", "dBm"}, {"power", "dBm"},
                {"rsrq", "dB"},    {"snr", "dB"},     {"path_loss", "dB"}};
  for (const auto& row : kUnits) {
    if (std::string_view(field.name).find(row.part) != std::string_view::npos) return row.unit;
  }
  return "";
}
inline constexpr Field kVersion{"version", 1, kDropped, FieldType::kUnsigned};

// ---- the records: field by field, as they are packed, each in a namespace of its name

namespace lte_srv_meas_info {
using S = modem_vireo_lte_srv_meas_info;
#define CHAIN(i)                                                                  \
  FIELD_AT(S, rx, i, rsrp, "rsrp_rx" #i), FIELD_AT(S, rx, i, rsrq, "rsrq_rx" #i), \
      FIELD_AT(S, rx, i, rssi, "rssi_rx" #i), FIELD_AT(S, rx, i, snr, "snr_rx" #i)
inline constexpr Field kFields[] = {kVersion,
                                    FIELD(S, earfcn, "earfcn"),
                                    FIELD(S, pci, "pci"),
                                    FIELD(S, rx_valid, "rx_valid"),
                                    CHAIN(0),
                                    CHAIN(1),
                                    CHAIN(2),
                                    CHAIN(3)};
#undef CHAIN
}  // namespace lte_srv_meas_info

namespace nr5g_srv_meas_info {
using S = modem_vireo_nr5g_srv_meas_info;
inline constexpr Field kFields[] = {kVersion, FOUR_ITEMS(S, rsrp, "rsrp_rx"),
                                    FIELD(S, rsrq, "rsrq")};
}  // namespace nr5g_srv_meas_info

namespace nr5g_ll1_fw_rx_control_agc {
using S = modem_vireo_nr5g_ll1_fw_rx_control_agc;
inline constexpr Field kFields[] = {kVersion, FIELD(S, leading, "leading"),
                                    FOUR_ITEMS(S, rssi, "rssi_rx")};
}  // namespace nr5g_ll1_fw_rx_control_agc

namespace nr5g_ll1_fw_serving_ftl {
using S = modem_vireo_nr5g_ll1_fw_serving_ftl;
inline constexpr Field kFields[] = {kVersion, FIELD(S, leading, "leading"),
                                    FOUR_ITEMS(S, snr, "snr_rx")};
}  // namespace nr5g_ll1_fw_serving_ftl

namespace nr5g_ml1_antenna_switch_diversity {
using S = modem_vireo_nr5g_ml1_antenna_switch_diversity;
#define CHANGE(array, i)                                           \
  FIELD_AT(S, array, i, old_antenna, "ant_" #array "_" #i "_old"), \
      FIELD_AT(S, array, i, new_antenna, "ant_" #array "_" #i "_new")
inline constexpr Field kFields[] = {kVersion,      CHANGE(rx, 0), CHANGE(rx, 1), CHANGE(rx, 2),
                                    CHANGE(rx, 3), CHANGE(tx, 0), CHANGE(tx, 1)};
#undef CHANGE
}  // namespace nr5g_ml1_antenna_switch_diversity

namespace wcdma_pn_search_edition2 {
using S = modem_vireo_wcdma_pn_search_edition2;
inline constexpr Field kFields[] = {kVersion, FIELD(S, leading, "leading"),
                                    ITEM_AT(S, rx_agc, 0, "rx_agc_0"),
                                    ITEM_AT(S, rx_agc, 1, "rx_agc_1")};
}  // namespace wcdma_pn_search_edition2

namespace gsm_l1_rx_diversity_metrics {
using S = modem_vireo_gsm_l1_rx_diversity_metrics;
inline constexpr Field kFields[] = {kVersion, FIELD(S, leading, "leading"),
                                    FIELD(S, rx_prx, "rx_prx"), FIELD(S, rx_drx, "rx_drx")};
}  // namespace gsm_l1_rx_diversity_metrics

namespace mcs_trm_asdiv {
using S = modem_vireo_mcs_trm_asdiv;
inline constexpr Field kFields[] = {
    FIELD(S, version, "version"),       FIELD(S, ant_num, "ant_num"),
    FIELD(S, ant_path, "ant_path"),     FIELD(S, sig_path, "sig_path"),
    FIELD(S, old_config, "old_config"), FIELD(S, new_config, "new_config")};
}  // namespace mcs_trm_asdiv

namespace nr5g_mac_ul_phy_ch_power_info {
using S = modem_vireo_nr5g_mac_ul_phy_ch_power_info;
inline constexpr Field kFields[] = {kVersion, FIELD(S, leading, "leading"),
                                    FIELD(S, tx_power, "tx_power")};
}  // namespace nr5g_mac_ul_phy_ch_power_info

namespace lte_pusch_power_info {
using S = modem_vireo_lte_pusch_power_info;
inline constexpr Field kFields[] = {
    FIELD(S, version, "version"), FIELD(S, pusch_tx_power, "pusch_tx_power"),
    FIELD(S, dl_path_loss, "dl_path_loss"), FIELD(S, max_power, "max_power"),
    FIELD(S, pusch_ex_tx_power, "pusch_ex_tx_power")};
}  // namespace lte_pusch_power_info

#undef ITEM
#undef FIELD
#undef FIELD_AT
#undef ITEM_AT
#undef FOUR_ITEMS

// How many protocol stacks there are, and the technology of the first, which there is when there
// are any. Those of the other stacks follow and are not read.
inline constexpr uint32_t kSysModeRecord = 0x2C;
inline constexpr Field kStackMax{"stack_max", 1, kDropped, FieldType::kUnsigned};
inline constexpr Field kRat{"rat", 4, kDropped, FieldType::kSigned};
inline constexpr Field kSysModeFields[] = {kStackMax, kRat};

// The records whose fields are known.
struct Layout {
  uint32_t record_id;
  std::span<const Field> fields;
};
#define LAYOUT(name, id) {id, name::kFields},
#define CARRIER_LAYOUT(name, carrier, id) {id, name::kFields},
inline constexpr Layout kLayouts[] = {{kSysModeRecord, kSysModeFields},
                                      MODEM_VIREO_MEASUREMENTS(LAYOUT)
                                          MODEM_VIREO_CARRIERS(CARRIER_LAYOUT)};
#undef CARRIER_LAYOUT
#undef LAYOUT

// The fields of a record; none for one that is not known.
constexpr std::span<const Field> layout_of(uint32_t record_id) {
  for (const Layout& layout : kLayouts) {
    if (layout.record_id == record_id) return layout.fields;
  }
  return {};
}

}  // namespace vireo

// Measurements: one record of the statistics framework each, decoded into a structure.
//
// A getter asks the modem for its record, which blocks for at most 30 seconds, or nine more for the
// attempts to connect when the framework has no client yet. It zeroes the caller's structure and
// fills it. False, with the reason traced, when the modem has no such record for the subscription
// (0 or 1), the record is too short, or `out` is null; the structure's contents are unspecified
// then. A record that is longer than the structure is no error: later versions add fields.
//
// Threads. Getters may be called from any thread; they take turns, since they share one store
// (modem_vireo_mgr.h).
#pragma once

#include <stdint.h>

#include "vireo/records/records.h"

extern "C" {

// What the transmit-power operations return when there is no power: no transmitter has that many
// dBm.
#define MODEM_TX_POWER_NONE 65535

// The getters are modem_vireo_NAME_get, of a record that each carrier has
// modem_vireo_NAME_get_for_CARRIER, by the rows of records.h.
#define MODEM_VIREO_DECLARE(name, record_id) \
  [[nodiscard]] bool modem_vireo_##name##_get(uint32_t sub, struct modem_vireo_##name* out);
#define MODEM_VIREO_DECLARE_CARRIER(name, carrier, record_id)             \
  [[nodiscard]] bool modem_vireo_##name##_get_for_##carrier(uint32_t sub, \
                                                            struct modem_vireo_##name* out);
MODEM_VIREO_MEASUREMENTS(MODEM_VIREO_DECLARE)
MODEM_VIREO_CARRIERS(MODEM_VIREO_DECLARE_CARRIER)
#undef MODEM_VIREO_DECLARE
#undef MODEM_VIREO_DECLARE_CARRIER

// Those of any carrier, by its record.
[[nodiscard]] bool modem_vireo_lte_srv_meas_info_get(uint32_t sub,
                                                     struct modem_vireo_lte_srv_meas_info* out,
                                                     uint32_t record_id);
[[nodiscard]] bool modem_vireo_nr5g_srv_meas_info_get(uint32_t sub,
                                                      struct modem_vireo_nr5g_srv_meas_info* out,
                                                      uint32_t record_id);

// The radio access technology, of enum vs_rat (platform/idl/vs.h) or another; -1 when none is
// known.
int32_t modem_sys_mode_get(uint32_t sub);

// A power in whole dBm, or MODEM_TX_POWER_NONE: when the record cannot be had, and for any
// technology but NR and LTE. Each asks the modem for the technology first, then for its power.
int32_t modem_tx_power_get_by_sub(uint32_t sub);
// That of the subscription which carries data by default (platform/kelvor_utils.h).
int32_t modem_tx_power_get_for_dds_sub(void);
// The stronger of both subscriptions; on a tie the first; one without a power does not count.
int32_t modem_tx_power_get_for_max_sub(void);

}  // extern "C"

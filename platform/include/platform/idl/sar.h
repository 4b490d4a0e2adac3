// SAR, the Specific Absorption Rate service (0x11): the query of the device state index.
//
// The index (DSI) selects a row of the modem's tables of transmit-power limits, by how the phone is
// held. Here it is only read: the tool never changes how much power a phone may send with. The
// simulated phone answers with the state of its phone.toml, or without one.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/qmi_idl.h"

__BEGIN_DECLS

enum {
  SAR_SERVICE_ID = 0x11,
  SAR_IDL_MAJOR = 1,
  SAR_IDL_MINOR = 15,
  SAR_IDL_TOOL = 6,
};

enum { SAR_RF_GET_STATE = 0x0002 };  // the request is empty

// The index in force; absent when the modem has none. What the further numbers mean is not public;
// nobody reads them, and their TLVs' types are assumed. They are here because the structure's size
// is.
typedef struct {
  qmi_standard_result resp;
  uint8_t state_valid;
  uint32_t state;  // the DSI
  uint8_t extra_1_valid;
  uint32_t extra_1;
  uint8_t extra_2_valid;
  uint32_t extra_2;
  uint8_t extra_3_valid;
  uint32_t extra_3;
} sar_rf_get_state_resp;

#ifdef __cplusplus
static_assert(sizeof(sar_rf_get_state_resp) == 40, "state response");
static_assert(offsetof(sar_rf_get_state_resp, state_valid) == 8, "state flag");
static_assert(offsetof(sar_rf_get_state_resp, state) == 12, "state");
#endif

// The service object for exactly (1, 15, 6); null for anything else.
qmi_idl_service_object_type sar_get_service_object_internal_v01(int32_t major, int32_t minor,
                                                                int32_t tool);

__END_DECLS

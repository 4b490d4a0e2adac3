// Requests that need no client of the caller's: common vendor requests, the SAR state, NAS.
#pragma once

#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/nodiscard.h"
#include "platform/qmi_client.h"

__BEGIN_DECLS

// What the two common requests return for a null rsp, a null value with a length, or a length above
// the maximum; nothing is sent then.
#define KELVOR_COMMON_BAD_ARGUMENT 0x0FFFF00Au
// The room that their `rsp` must have; it is zeroed first.
#define KELVOR_COMMON_RSP_SIZE 508

// The longest value and payload, in octets.
enum {
  KELVOR_COMMON_VALUE_MAX = 491,
  KELVOR_COMMON_PAYLOAD_MAX = 499,
};

// Sends item `t` with a value of `l` octets (v may be null when l is 0). The result is that of
// kelvor_extend_qmi_send_sync.
PLATFORM_NODISCARD uint32_t kelvor_send_common_qmi_msg(uint32_t t, uint32_t l, const uint8_t* v,
                                                       uint8_t* rsp);
// Sends a command with a payload of `l` octets.
PLATFORM_NODISCARD uint32_t kelvor_common_qmi_req(uint32_t cmd, uint32_t l, const uint8_t* v,
                                                  uint8_t* rsp);

// The SAR device state index, or -1. Each call opens a client of its own that is not released.
PLATFORM_NODISCARD int32_t kelvor_get_sar_dsi(void);

// Sends one NAS request and releases the client again; the lengths are those of the message's C
// structures. The client library's result, or -1 when nothing was sent: for a null request or
// response (a message without elements has a structure too), or without a client. The released
// handle is kept, so that a second request in the same process fails with QMI_CLIENT_PORT_NOT_OPEN.
// Not for several threads at once.
PLATFORM_NODISCARD int32_t kelvor_send_nas_qmi_req_msg(uint32_t msg_id, const void* req,
                                                       uint32_t req_len, void* rsp,
                                                       uint32_t rsp_len, uint32_t time_out_ms);

// The NAS client's callbacks: they only trace.
void kelvor_qmi_client_unsol_ind_cb(qmi_client_type client, uint32_t msg_id, const void* buf,
                                    uint32_t len, void* cb_data);
void kelvor_qmi_client_error_cb(qmi_client_type client, int error, void* cb_data);

// For clients that want no indications: only traces.
void kelvor_qmi_client_common_empty_unsol_ind_cb(qmi_client_type client, uint32_t msg_id,
                                                 const void* buf, uint32_t len, void* cb_data);

__END_DECLS

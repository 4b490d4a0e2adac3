// The process's one client of the vendor QMI service.
//
// Made at the first request and never released. Every function may be called from any thread:
// requests are serialised, one at a time, and each blocks its caller for at most 3000 ms; the first
// may wait up to 50 x 20 ms more for the service to appear. Other locks of the caller's are taken
// before this client's.
#pragma once

#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/nodiscard.h"
#include "platform/qmi_client.h"

__BEGIN_DECLS

enum {
  KELVOR_EXTEND_OK = 0,
  KELVOR_EXTEND_BAD_ARGUMENT = -1,
  KELVOR_EXTEND_NOT_OPENED = -2,
  KELVOR_EXTEND_FAILED = -3,  // no answer, or one that is an error of the service framework
};

// Returns to the state before the first request and obtains the service object anew. An open client
// is forgotten, not released.
void kelvor_extend_qmi_client_init(void);

// The client's handle, opened on first use; null on failure, and the next call tries again.
qmi_client_type kelvor_extend_qmi_client_open(void);

// Sends one generic request: `request_id` says which family of vendor functions the payload is for.
// request: up to 512 octets. response: room for *response_len octets, at most 512; *response_len is
// set to the octets copied. KELVOR_EXTEND_BAD_ARGUMENT, and nothing is sent, for a null argument or
// a length above 512.
PLATFORM_NODISCARD int32_t kelvor_extend_qmi_send_sync(uint32_t request_id, const void* request,
                                                       uint32_t request_len, void* response,
                                                       uint32_t* response_len);

// The client library's indication callback of this client.
void kelvor_extend_qmi_ind_cb(qmi_client_type client, uint32_t message_id, const void* encoded,
                              uint32_t length, void* data);

// Handlers of indications; null for none. Called on the client library's thread.
typedef void (*kelvor_extend_sub_id_handler)(uint32_t sub_id, const uint8_t* data, uint32_t length);
typedef void (*kelvor_extend_shared_handler)(uint32_t message_id, const void* c_struct,
                                             uint32_t size);
enum { KELVOR_EXTEND_SUB_IDS = 7 };
// Of indication 0x0003, by its sub-id. A sub-id from KELVOR_EXTEND_SUB_IDS on changes nothing.
void kelvor_extend_set_sub_id_handler(uint32_t sub_id, kelvor_extend_sub_id_handler handler);
// Of indications 0x0005 to 0x0009.
void kelvor_extend_set_shared_handler(kelvor_extend_shared_handler handler);

// 0: send_sync and open write no trace lines of their own. Initially 1.
void kelvor_extend_set_trace(int32_t on);

__END_DECLS

// What users of the statistics framework call: one client of `vs`, one record at a time.
//
// Everything is synchronous. The store, the request counter and the client are process-wide; the
// getters serialise among themselves, the other operations are for one thread at a time.
#pragma once

#include <stdint.h>

#include "platform/idl/vs.h"
#include "vireo/modem_api/modem_api.h"

extern "C" {

// Parameters as they are exchanged with the client manager: room for all, whatever the count.
struct modem_vireo_entry_block {
  uint32_t count;
  vs_parameter entries[VS_PARAMETERS_MAX];
};

// 1 when a client was obtained, else 0. An earlier client is dropped first.
[[nodiscard]] int32_t modem_vireo_api_init(void);
[[nodiscard]] int32_t modem_vireo_api_init_ex(modem_api_indication_cb on_event,
                                              modem_api_status_cb on_status);
[[nodiscard]] bool modem_vireo_api_is_inited(void);
// 0.
int32_t modem_vireo_api_deinit(void);
// Switches the modem's statistics on; 1 when it agreed.
[[nodiscard]] int32_t modem_vireo_stats_start(void);
[[nodiscard]] bool modem_vireo_set_feature_status(uint8_t a, uint8_t b, uint8_t c);
// The client manager's result, or 0 when there is no client.
[[nodiscard]] uint32_t modem_vireo_get_stats_parameter(uint16_t sub, uint16_t sequence,
                                                       struct modem_vireo_entry_block* block);

// The framework's own callbacks: they do nothing.
void modem_vireo_callback_event_cb(uint32_t event_id, const void* data, uint32_t length);
void modem_vireo_operational_status_cb(uint32_t event, uint32_t client_type);

// What the last fetch left: length 0 when it failed. A getter reads it by moving the two counters.
struct modem_vireo_data_store {
  int32_t length;  // octets that are still unread
  uint32_t record_id;
  int32_t read_offset;
  uint8_t data[VS_DATA_MAX];
};
extern struct modem_vireo_data_store g_vireo_data;

// Fetches one record into the store, connecting first when there is no client. 0, or 1 on any
// failure: no client, a sub beyond 1, an exchange that failed, or an answer that is not this one
// record with 1 to VS_DATA_MAX octets. What failed is traced.
[[nodiscard]] uint32_t modem_vireo_data_get(uint32_t sub, uint32_t record_id);

}  // extern "C"

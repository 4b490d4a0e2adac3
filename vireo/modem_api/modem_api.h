// The client manager: the one entry to the service clients.
//
// A caller gets a client of a type, by a small number; the calling process must be on the white
// list. At most one client of a type, ten in all.
//
// Threads. Every operation may be called from any thread. Status callbacks run on the client
// library's thread and on the threads that suspend and resume; they may call back in here. Once
// modem_api_free_client has returned, no callback of that client is running or will run, unless it
// is the one that called it.
#pragma once

#include <stdint.h>

#include "platform/idl/vs.h"
#include "platform/qmi_idl.h"
#include "vireo/modem_api/service_client.h"

extern "C" {

enum ModemApiResult : uint32_t {
  MODEM_API_SUCCESS = 0,
  MODEM_API_FAILURE = 1,
  MODEM_API_RESPONSE_DONE = 2,  // to a response callback: the last of it has been handed over
  MODEM_API_NO_MEMORY = 3,      // or a response without data
  MODEM_API_NOT_SUPPORTED = 4,
  MODEM_API_INVALID_ARG = 5,
  MODEM_API_NOT_PERMITTED = 6,
  MODEM_API_INVALID_CLIENT = 7,  // no such client, of the wrong type, or not connected
  MODEM_API_INFO_UNAVAILABLE = 8,
  MODEM_API_CLIENT_EXISTS = 9,  // of this type, and not connected
  MODEM_API_ABORTED = 10,
  MODEM_API_TIMEOUT = 11,
  MODEM_API_TRANSPORT_ERROR = 12,
  MODEM_API_NO_FREE_SLOT = 14,
  MODEM_API_CLIENT_CONNECTED = 15,  // of this type, already
};

// Events of a status callback.
enum ModemApiStatusEvent : uint32_t {
  MODEM_API_EVENT_SUSPENDING = 0x10001,
  MODEM_API_EVENT_CONNECTED = 0x10002,
};

enum { MODEM_API_CLIENTS_MAX = 10 };

typedef void (*modem_api_status_cb)(uint32_t event, uint32_t client_type);
// data: the callback's to free, with vireo_free_adv.
typedef void (*modem_api_response_cb)(void* data, uint32_t length, void* user_data,
                                      uint32_t result);

struct modem_api_callback_record {
  modem_api_response_cb callback;
  void* user_data;
};

// 0, or MODEM_API_NOT_PERMITTED.
[[nodiscard]] uint32_t modem_api_init(void);
// Forgets every client that has not been freed before. 0.
uint32_t modem_api_release(void);

// Connects, which takes up to nine seconds of attempts. *client_id is written on success.
[[nodiscard]] uint32_t modem_api_init_client(uint32_t client_type,
                                             modem_api_indication_cb on_indication,
                                             modem_api_status_cb on_status, int32_t* client_id);
// 0 also when it has been freed already.
uint32_t modem_api_free_client(int32_t client_id);

// What every service client reports its status to.
void modem_api_operational_status_cb(uint32_t client_type, uint64_t operational_status);

// The end of every asynchronous request. response and record are from vireo_malloc_adv, and freed.
void modem_api_process_response(uint32_t message_id, void* response, uint32_t response_len,
                                struct modem_api_callback_record* record, int transport_error);

// nas: 0 nas_0, else nas_1.
[[nodiscard]] uint32_t modem_api_util_enable_networking_indications(int32_t client_id,
                                                                    uint32_t nas);
[[nodiscard]] uint32_t modem_api_set_vireo_feature_status(int32_t client_id, uint32_t value,
                                                          uint8_t a, uint8_t b, uint8_t c);
// parameters: room for VS_PARAMETERS_MAX, whatever the count; the answers come back in it, and
// their number in *count.
[[nodiscard]] uint32_t modem_api_get_stats_parameter(int32_t client_id, uint16_t sub, uint16_t slot,
                                                     uint32_t* count, vs_parameter* parameters);

// resp: the response's standard result, looked at when the transport left one; null, for one that
// did not come whole, is a failure.
[[nodiscard]] uint32_t modem_api_map_qmi_error_to_modem_api(int transport_error,
                                                            const qmi_standard_result* resp);

[[nodiscard]] bool modem_api_check_white_list(void);

}  // extern "C"

// QCCI: the QMI client library.
//
// Handles. A handle is a small number in a pointer's clothes: it is never dereferenced, zero is
// "none", and a released or foreign one is refused with QMI_CLIENT_PORT_NOT_OPEN. Handles are not
// reused within a process.
//
// Threads. Every function may be called from any thread. Indication, error and notify callbacks
// run one at a time, in the order of the events, on one thread of the library; a callback must not
// block on the modem (qmi_client_send_msg_sync on that thread is refused with
// QMI_CLIENT_INTERNAL). A callback may release its own client. After qmi_client_release has
// returned on another thread, no callback of that handle is running or will run.
//
// Ownership. Buffers belong to the caller and are not kept beyond the call; callback data is passed
// through untouched.
//
// Units. All time-outs are milliseconds.
//
// No modem. A platform may know that no modem can come as long as the process lives, a desk when
// the simulated phone has a mistake. Then nothing waits for one: qmi_client_init_instance and
// qmi_cci_os_signal_wait end at once, with the results that they have when their time is over. A
// modem that has gone, or has yet to come, is waited for.
#ifndef PLATFORM_QMI_CLIENT_H_
#define PLATFORM_QMI_CLIENT_H_

#include <stdint.h>

#include "platform/nodiscard.h"
#include "platform/qmi_idl.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qmi_client_handle* qmi_client_type;

// Results of every function below; the numbers are the client library's own.
typedef enum {
  QMI_CLIENT_OK = 0,
  QMI_CLIENT_INTERNAL = -1,       // a message that does not encode or decode, no memory, no link
  QMI_CLIENT_SERVICE_GONE = -2,   // the service is not there, or went away
  QMI_CLIENT_TIMED_OUT = -3,      // no answer in time
  QMI_CLIENT_BAD_ARGUMENT = -4,   // null or contradictory arguments
  QMI_CLIENT_PORT_NOT_OPEN = -5,  // the handle is released, or never was one
} qmi_client_result;

// "Any instance", for qmi_client_init_instance.
#define QMI_CLIENT_INSTANCE_ANY 0xFFFFu

// What an application waits on for a service to come or go. Zero it before its first use and give
// it to qmi_client_notifier_init; the library keeps no pointer to it.
typedef struct {
  uint64_t notifier;   // the library's
  uint64_t seen;       // the library's
  uint32_t timed_out;  // 1 when the last wait ended without a change
  uint32_t reserved;
} qmi_client_os_params;

// Where one instance of a service is.
typedef struct {
  uint32_t service_id;
  uint32_t instance;
  uint32_t version;
  uint32_t node;
  uint32_t port;
} qmi_service_info;

// encoded: the indication's TLVs, without the QMI header; valid during the call only.
typedef void (*qmi_client_ind_cb)(qmi_client_type client, uint32_t message_id, const void* encoded,
                                  uint32_t length, void* data);
// error: QMI_CLIENT_SERVICE_GONE. Called once in a client's life.
typedef void (*qmi_client_error_cb)(qmi_client_type client, int error, void* data);

typedef enum {
  QMI_CLIENT_SERVICE_COUNT_INC = 0,
  QMI_CLIENT_SERVICE_COUNT_DEC = 1,
} qmi_client_notify_event;
typedef void (*qmi_client_notify_cb)(qmi_client_type notifier, qmi_idl_service_object_type service,
                                     qmi_client_notify_event event, void* data);

// Watches a service: os_params is signalled, and the notify callback called, when an instance comes
// or goes. Succeeds whether or not the service is there, or any modem at all.
PLATFORM_NODISCARD int qmi_client_notifier_init(qmi_idl_service_object_type service,
                                                qmi_client_os_params* os_params,
                                                qmi_client_type* notifier);
// The callback is told of a service that is there already, at once (once an instance).
int qmi_client_register_notify_cb(qmi_client_type notifier, qmi_client_notify_cb callback,
                                  void* data);
// Waits until the notifier of os_params has seen a change since the last wait (or since it was
// made), or the time is over (os_params->timed_out is then 1).
void qmi_cci_os_signal_wait(qmi_client_os_params* os_params, uint32_t timeout_ms);

// The instances of a service. list may be null; *num_entries is its capacity, and the number
// written on return; *num_services is the number that exist. QMI_CLIENT_SERVICE_GONE when there is
// none.
int qmi_client_get_service_list(qmi_idl_service_object_type service, qmi_service_info* list,
                                uint32_t* num_entries, uint32_t* num_services);

// A client of the instance that `info` names.
PLATFORM_NODISCARD int qmi_client_init(const qmi_service_info* info,
                                       qmi_idl_service_object_type service,
                                       qmi_client_ind_cb callback, void* data,
                                       qmi_client_os_params* os_params, qmi_client_type* client);
// A client of an instance by number. timeout_ms bounds the wait for a service that is not there
// yet; a service that is there is found however short it is. os_params may be null.
PLATFORM_NODISCARD int qmi_client_init_instance(qmi_idl_service_object_type service,
                                                uint32_t instance, qmi_client_ind_cb callback,
                                                void* data, qmi_client_os_params* os_params,
                                                uint32_t timeout_ms, qmi_client_type* client);

// A service that is gone already is reported at once, on the library's thread.
int qmi_client_register_error_cb(qmi_client_type client, qmi_client_error_cb callback, void* data);

// Sends one request and waits for its response. request and response are the C structures of the
// message, their lengths the structures' sizes (0, and a null pointer if you like, for an empty
// request). On any failure the response is zeroed, as far as its length goes.
PLATFORM_NODISCARD int qmi_client_send_msg_sync(qmi_client_type client, uint32_t message_id,
                                                const void* request, uint32_t request_length,
                                                void* response, uint32_t response_length,
                                                uint32_t timeout_ms);

// Decodes an indication's TLVs into the message's C structure, which is zeroed first.
PLATFORM_NODISCARD int qmi_client_message_decode(qmi_client_type client, qmi_idl_message_type type,
                                                 uint32_t message_id, const void* encoded,
                                                 uint32_t encoded_length, void* c_struct,
                                                 uint32_t c_struct_length);

// Ends a client or a notifier. Its pending requests end with QMI_CLIENT_PORT_NOT_OPEN.
int qmi_client_release(qmi_client_type client);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_QMI_CLIENT_H_

// QCCI: the QMI client library.
//
// Handles. A handle is an integer cast to a pointer; it is never dereferenced, and null is "none".
// A handle that is released, or was never given out, is refused with QMI_CLIENT_PORT_NOT_OPEN.
// Handles are not reused within a process.
//
// Threads. Every function may be called from any thread. Indication, error and notify callbacks
// run one at a time, in the order of the events, on one thread of the library. It is started with
// the first callback; a process without one receives while it waits. The indication callback of a
// service whose description has no indications starts no thread: one that comes all the same is
// reported when the library receives again. A response is returned after the callbacks of what came
// before it, as long as its time-out allows. A callback must not block on the modem
// (qmi_client_send_msg_sync on that thread is refused with QMI_CLIENT_INTERNAL). A callback may
// release its own client. After qmi_client_release has returned on another thread, no callback of
// that handle is running or will run.
//
// Ownership. Buffers belong to the caller and are not kept beyond the call; callback data is passed
// through untouched.
//
// Units. All time-outs are milliseconds.
//
// No modem. A platform may know that there will be no modem until the process ends: on a host,
// because the simulated phone is misconfigured. Then qmi_client_init_instance and
// qmi_cci_os_signal_wait return at once, with their results for a time-out. A modem that has gone,
// or has not started yet, is waited for.
#pragma once

#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/nodiscard.h"
#include "platform/qmi_idl.h"

__BEGIN_DECLS

typedef struct qmi_client_handle* qmi_client_type;

// Results of every function below; the numbers are the client library's own.
typedef enum {
  QMI_CLIENT_OK = 0,
  QMI_CLIENT_INTERNAL = -1,       // the message does not encode or decode, no memory, no link
  QMI_CLIENT_SERVICE_GONE = -2,   // the service is not on the bus, or has left it
  QMI_CLIENT_TIMED_OUT = -3,      // no response in time
  QMI_CLIENT_BAD_ARGUMENT = -4,   // null or contradictory arguments
  QMI_CLIENT_PORT_NOT_OPEN = -5,  // the handle is released, or never was one
} qmi_client_result;

// "Any instance", for qmi_client_init_instance.
#define QMI_CLIENT_INSTANCE_ANY 0xFFFFu

// The state of an application's wait for a service to come or go. Zero it before its first use and
// pass it to qmi_client_notifier_init. The library keeps no pointer to it.
typedef struct {
  uint64_t notifier;   // for the library
  uint64_t seen;       // for the library
  uint32_t timed_out;  // 1 when the last wait ended without a change
  uint32_t reserved;
} qmi_client_os_params;

// The address of one instance of a service.
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
// error: QMI_CLIENT_SERVICE_GONE. Called at most once for a client.
typedef void (*qmi_client_error_cb)(qmi_client_type client, int error, void* data);

typedef enum {
  QMI_CLIENT_SERVICE_COUNT_INC = 0,
  QMI_CLIENT_SERVICE_COUNT_DEC = 1,
} qmi_client_notify_event;
typedef void (*qmi_client_notify_cb)(qmi_client_type notifier, qmi_idl_service_object_type service,
                                     qmi_client_notify_event event, void* data);

// Watches a service: os_params (may be null) is signalled, and the notify callback called, when an
// instance comes or goes. Succeeds even when the service, or the modem, is absent.
PLATFORM_NODISCARD int qmi_client_notifier_init(qmi_idl_service_object_type service,
                                                qmi_client_os_params* os_params,
                                                qmi_client_type* notifier);
// Replaces the callback; null is none. It is also called, on the library's thread, once for each
// instance that is on the bus already.
int qmi_client_register_notify_cb(qmi_client_type notifier, qmi_client_notify_cb callback,
                                  void* data);
// Waits until the service of os_params has changed since the last wait, or since the notifier was
// made, or until the time-out (os_params->timed_out is then 1).
void qmi_cci_os_signal_wait(qmi_client_os_params* os_params, uint32_t timeout_ms);

// The instances of a service. list may be null. *num_entries is its capacity on entry and the
// number of entries written on return; *num_services is the number of instances on the bus. Returns
// QMI_CLIENT_SERVICE_GONE when that is 0.
int qmi_client_get_service_list(qmi_idl_service_object_type service, qmi_service_info* list,
                                uint32_t* num_entries, uint32_t* num_services);

// Opens a client of the instance that `info` describes. callback and os_params may be null.
PLATFORM_NODISCARD int qmi_client_init(const qmi_service_info* info,
                                       qmi_idl_service_object_type service,
                                       qmi_client_ind_cb callback, void* data,
                                       qmi_client_os_params* os_params, qmi_client_type* client);
// Opens a client of an instance by its number. timeout_ms limits the wait for a service that is not
// on the bus yet; one that is there is found even with 0. callback and os_params may be null.
PLATFORM_NODISCARD int qmi_client_init_instance(qmi_idl_service_object_type service,
                                                uint32_t instance, qmi_client_ind_cb callback,
                                                void* data, qmi_client_os_params* os_params,
                                                uint32_t timeout_ms, qmi_client_type* client);

// Replaces the callback; null is none. If the service has gone already and that has not been
// reported, the callback is called at once, on the library's thread.
int qmi_client_register_error_cb(qmi_client_type client, qmi_client_error_cb callback, void* data);

// Sends one request and waits for its response. request and response are the C structures of the
// message and the lengths are their sizes; an empty request has length 0 and may be null. On any
// failure the whole response is zeroed.
PLATFORM_NODISCARD int qmi_client_send_msg_sync(qmi_client_type client, uint32_t message_id,
                                                const void* request, uint32_t request_length,
                                                void* response, uint32_t response_length,
                                                uint32_t timeout_ms);

// Decodes the TLVs of a message, of an indication as a rule, into its C structure, which is zeroed
// first.
PLATFORM_NODISCARD int qmi_client_message_decode(qmi_client_type client, qmi_idl_message_type type,
                                                 uint32_t message_id, const void* encoded,
                                                 uint32_t encoded_length, void* c_struct,
                                                 uint32_t c_struct_length);

// Closes a client or a notifier. Its pending requests return QMI_CLIENT_PORT_NOT_OPEN. The result
// may be ignored: it is an error only for a handle that is not open.
int qmi_client_release(qmi_client_type client);

__END_DECLS

// The operations of a service client as C functions: one set for each member, with its prefix.
//
// A member's header declares its set (VIREO_DECLARE_MEMBER), its source defines it
// (VIREO_DEFINE_MEMBER). Each function forwards to the member's one ServiceClient, where what it
// does, its errors and its threads are described. The client manager (modem_api.h) calls them for
// its callers. A member has one connection and one callback of each kind, whoever calls.
#pragma once

#include "vireo/modem_api/service_client.h"

// The operations that every member has.
//
//   init                      returns the service object, or null when the platform has none;
//                             closes a connection that was not released
//   client_init               connects, which may take nine seconds: 1 when connected, 0 after the
//                             last attempt. The callback gets the events of indications, on the
//                             client library's thread; with null each is traced as an error
//   ..._status_callback       who gets the states of the connection; set before client_init.
//                             release and init remove both callbacks
//   client_send_msg_sync      one exchange, at most 30 seconds, with the client library's result;
//                             QMI_CLIENT_PORT_NOT_OPEN when not connected. The caller owns both
//                             structures; lengths are their sizes in octets
//   client_release            disconnects. Always 1, also when there was no connection
//   client_get_master_port    the instance that is connected to: any
//
// The last three are what the client library calls back; nothing else calls them.
#define VIREO_DECLARE_MEMBER(prefix)                                                        \
  extern "C" {                                                                              \
  qmi_idl_service_object_type prefix##_init(void);                                          \
  [[nodiscard]] int prefix##_client_init(modem_api_indication_cb callback);                 \
  void prefix##_client_set_operational_status_callback(modem_api_operational_cb callback);  \
  [[nodiscard]] int prefix##_client_send_msg_sync(uint32_t message_id, const void* request, \
                                                  uint32_t request_len, void* response,     \
                                                  uint32_t response_len);                   \
  int prefix##_client_release(void);                                                        \
  uint32_t prefix##_client_get_master_port(void);                                           \
  void prefix##_client_unsol_ind_cb(qmi_client_type client, uint32_t message_id,            \
                                    const void* encoded, uint32_t length, void* data);      \
  void prefix##_client_service_down_event(qmi_client_type client, int error, void* data);   \
  void prefix##_client_service_up_event(qmi_client_type notifier,                           \
                                        qmi_idl_service_object_type service,                \
                                        qmi_client_notify_event event, void* data);         \
  }

// `row`: the member's vireo::Member, of static lifetime. The client is made by the first call and
// never destroyed, because detached threads and the client library may still call it when the
// process ends. service_client() is visible in the member's source, for operations of its own.
#define VIREO_DEFINE_MEMBER(prefix, row)                                                           \
  static vireo::ServiceClient& service_client() {                                                  \
    static auto* const instance = new vireo::ServiceClient(row);                                   \
    return *instance;                                                                              \
  }                                                                                                \
  extern "C" {                                                                                     \
  qmi_idl_service_object_type prefix##_init(void) { return service_client().init(); }              \
  int prefix##_client_init(modem_api_indication_cb callback) {                                     \
    return service_client().client_init(callback);                                                 \
  }                                                                                                \
  void prefix##_client_set_operational_status_callback(modem_api_operational_cb callback) {        \
    service_client().set_status_callback(callback);                                                \
  }                                                                                                \
  int prefix##_client_send_msg_sync(uint32_t message_id, const void* request,                      \
                                    uint32_t request_len, void* response, uint32_t response_len) { \
    return service_client().send(message_id, request, request_len, response, response_len);        \
  }                                                                                                \
  int prefix##_client_release(void) { return service_client().release(); }                         \
  uint32_t prefix##_client_get_master_port(void) { return service_client().master_port(); }        \
  void prefix##_client_unsol_ind_cb(qmi_client_type handle, uint32_t message_id,                   \
                                    const void* encoded, uint32_t length, void*) {                 \
    service_client().unsol_indication(handle, message_id, encoded, length);                        \
  }                                                                                                \
  void prefix##_client_service_down_event(qmi_client_type handle, int error, void*) {              \
    service_client().service_down(handle, error);                                                  \
  }                                                                                                \
  void prefix##_client_service_up_event(qmi_client_type notifier, qmi_idl_service_object_type,     \
                                        qmi_client_notify_event event, void*) {                    \
    service_client().service_up(notifier, event);                                                  \
  }                                                                                                \
  }

// The member `own` of a member's row: the functions above that the client library calls, and the
// names of all of them for the trace.
#define VIREO_MEMBER_FUNCTIONS(prefix)                                                      \
  {                                                                                         \
    .on_indication = prefix##_client_unsol_ind_cb,                                          \
    .on_service_down = prefix##_client_service_down_event,                                  \
    .on_service_up = prefix##_client_service_up_event, .names = VIREO_MEMBER_NAMES(#prefix) \
  }

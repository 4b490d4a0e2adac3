// Declares and defines a member's prefixed operations: forwards to its ServiceClient.
#pragma once

#include "vireo/modem_api/service_client.h"

// The operations that every member has. init: the service object, null when there is none.
// client_init: 1 when connected, 0 after the last attempt. release: 1.
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

// They forward to the client of the member's row, which is never destroyed.
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

// The last part of a member's row.
#define VIREO_MEMBER_FUNCTIONS(prefix)                                                      \
  {                                                                                         \
    .on_indication = prefix##_client_unsol_ind_cb,                                          \
    .on_service_down = prefix##_client_service_down_event,                                  \
    .on_service_up = prefix##_client_service_up_event, .names = VIREO_MEMBER_NAMES(#prefix) \
  }

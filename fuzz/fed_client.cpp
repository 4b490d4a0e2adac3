#include <algorithm>
#include <cstring>

#include "fed.h"

namespace fed {

std::span<const uint8_t> octets(size_t n) {
  const std::span<const uint8_t> first = g_input.first(std::min(n, g_input.size()));
  g_input = g_input.subspan(first.size());
  return first;
}

void take(void* to, size_t n) {
  const std::span<const uint8_t> have = octets(n);
  std::memset(to, 0, n);
  std::ranges::copy(have, static_cast<uint8_t*>(to));
}

uint8_t octet() {
  uint8_t value = 0;
  take(&value, 1);
  return value;
}

int decode(const qmi_idl_service_object& service, qmi_idl_message_type type, uint32_t message,
           std::span<const uint8_t> wire, void* c, uint32_t room) {
  const qcci::idl::Message* row = service.find(type, static_cast<uint16_t>(message));
  if (row != nullptr && qcci::idl::decode(*row, wire, c, room) == qcci::idl::CodecError::kOk) {
    return 0;
  }
  std::memset(c, 0, room);
  return QMI_CLIENT_INTERNAL;
}

}  // namespace fed

extern "C" {

int qmi_client_notifier_init(qmi_idl_service_object_type, qmi_client_os_params*,
                             qmi_client_type* notifier) {
  *notifier = reinterpret_cast<qmi_client_type>(2);
  return 0;
}
void qmi_cci_os_signal_wait(qmi_client_os_params*, uint32_t) {}
int qmi_client_get_service_list(qmi_idl_service_object_type, qmi_service_info*, uint32_t*,
                                uint32_t* services) {
  *services = 1;
  return 0;
}
int qmi_client_init(const qmi_service_info*, qmi_idl_service_object_type, qmi_client_ind_cb, void*,
                    qmi_client_os_params*, qmi_client_type* client) {
  *client = reinterpret_cast<qmi_client_type>(1);
  return 0;
}
int qmi_client_init_instance(qmi_idl_service_object_type, uint32_t, qmi_client_ind_cb, void*,
                             qmi_client_os_params*, uint32_t, qmi_client_type* client) {
  if (fed::octet() % 8 == 7) return QMI_CLIENT_TIMED_OUT;
  *client = reinterpret_cast<qmi_client_type>(1);
  return 0;
}
int qmi_client_register_error_cb(qmi_client_type, qmi_client_error_cb callback, void*) {
  fed::g_error_cb = callback;
  return 0;
}
int qmi_client_register_notify_cb(qmi_client_type, qmi_client_notify_cb, void*) { return 0; }
int qmi_client_release(qmi_client_type client) {
  return client != nullptr ? 0 : QMI_CLIENT_PORT_NOT_OPEN;
}
int qmi_client_message_decode(qmi_client_type, qmi_idl_message_type, uint32_t message,
                              const void* encoded, uint32_t length, void* c, uint32_t room) {
  return fed::indication(message, {static_cast<const uint8_t*>(encoded), length}, c, room);
}
int qmi_client_send_msg_sync(qmi_client_type client, uint32_t message, const void* request,
                             uint32_t length, void* response, uint32_t room, uint32_t) {
  return fed::answer(client, message, request, length, response, room);
}

}  // extern "C"

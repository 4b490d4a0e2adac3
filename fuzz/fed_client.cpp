#include <cstdlib>

#include "fed.h"
#include "qcci/idl/codec.h"
#include "support/random_message.h"

namespace fed {

using qcci::idl::CodecError;
using qcci::idl::Message;

namespace {

// Decodes by the service's rows, as the client library does.
int decode(qmi_client_type client, qmi_idl_message_type type, uint32_t message,
           std::span<const uint8_t> wire, void* c, uint32_t room) {
  if (client == nullptr) return QMI_CLIENT_PORT_NOT_OPEN;
  const auto& service = *reinterpret_cast<qmi_idl_service_object_type>(client);
  const Message* row = service.find(type, message);
  if (row != nullptr && qcci::idl::decode(*row, wire, c, room) == CodecError::kOk) return 0;
  std::memset(c, 0, room);
  return QMI_CLIENT_INTERNAL;
}

}  // namespace

std::vector<uint8_t> wire_of(const qmi_idl_service_object& service, qmi_idl_message_type type,
                             uint32_t message) {
  const Message* row = service.find(type, message);
  if (row == nullptr || octet() % 4 == 3) {
    const auto any = octets(octet() * 5u);
    return {any.begin(), any.end()};
  }
  const std::vector<uint8_t> c = desk::RandomMessage(below).fill(*row);
  std::vector<uint8_t> wire(row->max_encoded);
  wire.resize(qcci::idl::encode(*row, c.data(), c.size(), wire).length);
  return wire;
}

int respond(qmi_client_type client, uint32_t message, const void* request, uint32_t length,
            void* response, uint32_t room) {
  if (client == nullptr) return QMI_CLIENT_PORT_NOT_OPEN;
  const auto& service = *reinterpret_cast<qmi_idl_service_object_type>(client);
  const Message* asks = service.find(QMI_IDL_REQUEST, message);
  if (asks == nullptr) std::abort();
  std::vector<uint8_t> sent(asks->max_encoded);
  const CodecError error = qcci::idl::encode(*asks, request, length, sent).error;
  if (error != CodecError::kOk && error != CodecError::kValueTooLarge) std::abort();

  const uint8_t outcome = octet();
  if (outcome > 0xF0 && g_error_cb != nullptr) g_error_cb(client, outcome % 4 - 3, nullptr);
  if (outcome > 0xE0) return -static_cast<int>(outcome % 3) - 1;
  const int error_of_decode = decode(client, QMI_IDL_RESPONSE, message,
                                     wire_of(service, QMI_IDL_RESPONSE, message), response, room);
  // Every response of every service but the vendor's begins with the standard result.
  if (outcome % 8 != 7) std::memset(response, 0, std::min(room, 4u));
  return error_of_decode;
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
int qmi_client_init(const qmi_service_info*, qmi_idl_service_object_type service, qmi_client_ind_cb,
                    void*, qmi_client_os_params*, qmi_client_type* client) {
  if (service == nullptr) return QMI_CLIENT_BAD_ARGUMENT;
  if (fed::octet() % 8 == 7) return QMI_CLIENT_TIMED_OUT;
  *client = fed::handle_of(*service);
  return 0;
}
int qmi_client_init_instance(qmi_idl_service_object_type service, uint32_t,
                             qmi_client_ind_cb callback, void* data,
                             qmi_client_os_params* os_params, uint32_t, qmi_client_type* client) {
  return qmi_client_init(nullptr, service, callback, data, os_params, client);
}
int qmi_client_register_error_cb(qmi_client_type, qmi_client_error_cb callback, void*) {
  fed::g_error_cb = callback;
  return 0;
}
int qmi_client_register_notify_cb(qmi_client_type, qmi_client_notify_cb, void*) { return 0; }
int qmi_client_release(qmi_client_type client) {
  return client != nullptr ? 0 : QMI_CLIENT_PORT_NOT_OPEN;
}
int qmi_client_message_decode(qmi_client_type client, qmi_idl_message_type type, uint32_t message,
                              const void* encoded, uint32_t length, void* c, uint32_t room) {
  return fed::decode(client, type, message, {static_cast<const uint8_t*>(encoded), length}, c,
                     room);
}
int qmi_client_send_msg_sync(qmi_client_type client, uint32_t message, const void* request,
                             uint32_t length, void* response, uint32_t room, uint32_t) {
  return fed::answer(client, message, request, length, response, room);
}

}  // extern "C"

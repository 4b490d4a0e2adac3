// The C interface of the client library: checks arguments, and maps exceptions to a result.

#include "platform/qmi_client.h"

#include <atomic>
#include <cstring>
#include <exception>

#include "platform/clock.h"
#include "platform/result.h"
#include "qcci/client/core.h"
#include "qcci/idl/codec.h"

using qcci::Core;
using qcci::Handle;

namespace {

std::atomic<uint32_t> g_requests{0};

// Only bad_alloc and system_error can be thrown here; both map to QMI_CLIENT_INTERNAL.
template <class Call>
int guarded(Call call) noexcept {
  try {
    return call();
  } catch (const std::exception&) {
    return QMI_CLIENT_INTERNAL;
  }
}

Handle handle_of(qmi_client_type client) { return reinterpret_cast<Handle>(client); }

template <class Open>
int open_into(qmi_client_type* client, Open open) {
  *client = nullptr;
  Handle handle = 0;
  const int result = guarded([&] { return open(&handle); });
  if (result == QMI_CLIENT_OK) *client = reinterpret_cast<qmi_client_type>(handle);
  return result;
}

}  // namespace

extern "C" {

int qmi_client_notifier_init(qmi_idl_service_object_type service, qmi_client_os_params* os_params,
                             qmi_client_type* notifier) {
  if (service == nullptr || notifier == nullptr) return QMI_CLIENT_BAD_ARGUMENT;
  return open_into(notifier, [&](Handle* handle) {
    return Core::instance().open_notifier(service, os_params, handle);
  });
}

int qmi_client_register_notify_cb(qmi_client_type notifier, qmi_client_notify_cb callback,
                                  void* data) {
  return guarded(
      [&] { return Core::instance().register_notify(handle_of(notifier), callback, data); });
}

void qmi_cci_os_signal_wait(qmi_client_os_params* os_params, uint32_t timeout_ms) {
  if (os_params == nullptr) return;
  guarded([&] {
    Core::instance().wait_signal(os_params, timeout_ms);
    return QMI_CLIENT_OK;
  });
}

void platform_wait_for_modem_ms(uint32_t milliseconds) {
  guarded([&] {
    Core::instance().wait_for_modem(milliseconds);
    return QMI_CLIENT_OK;
  });
}

int qmi_client_get_service_list(qmi_idl_service_object_type service, qmi_service_info* list,
                                uint32_t* num_entries, uint32_t* num_services) {
  if (service == nullptr || (list != nullptr && num_entries == nullptr)) {
    return QMI_CLIENT_BAD_ARGUMENT;
  }
  uint32_t entries = 0;
  uint32_t services = 0;
  const uint32_t capacity = list != nullptr ? *num_entries : 0;
  const int result = guarded(
      [&] { return Core::instance().service_list(service, list, capacity, &entries, &services); });
  if (num_entries != nullptr) *num_entries = entries;
  if (num_services != nullptr) *num_services = services;
  return result;
}

int qmi_client_init(const qmi_service_info* info, qmi_idl_service_object_type service,
                    qmi_client_ind_cb callback, void* data, qmi_client_os_params* /*os_params*/,
                    qmi_client_type* client) {
  if (info == nullptr || service == nullptr || client == nullptr) return QMI_CLIENT_BAD_ARGUMENT;
  return open_into(client, [&](Handle* handle) {
    return Core::instance().open_client(service, *info, callback, data, handle);
  });
}

int qmi_client_init_instance(qmi_idl_service_object_type service, uint32_t instance,
                             qmi_client_ind_cb callback, void* data,
                             qmi_client_os_params* /*os_params*/, uint32_t timeout_ms,
                             qmi_client_type* client) {
  if (service == nullptr || client == nullptr) return QMI_CLIENT_BAD_ARGUMENT;
  return open_into(client, [&](Handle* handle) {
    return Core::instance().open_instance(service, instance, callback, data, timeout_ms, handle);
  });
}

int qmi_client_register_error_cb(qmi_client_type client, qmi_client_error_cb callback, void* data) {
  return guarded(
      [&] { return Core::instance().register_error(handle_of(client), callback, data); });
}

int qmi_client_send_msg_sync(qmi_client_type client, uint32_t message_id, const void* request,
                             uint32_t request_length, void* response, uint32_t response_length,
                             uint32_t timeout_ms) {
  if ((request == nullptr && request_length != 0) ||
      (response == nullptr && response_length != 0)) {
    return QMI_CLIENT_BAD_ARGUMENT;
  }
  g_requests.fetch_add(1, std::memory_order_relaxed);
  const int result = guarded([&] {
    return Core::instance().send(handle_of(client), message_id, request, request_length, response,
                                 response_length, timeout_ms);
  });
  if (result != QMI_CLIENT_OK && response_length != 0) std::memset(response, 0, response_length);
  return result;
}

uint32_t platform_requests_sent(void) { return g_requests; }

int qmi_client_message_decode(qmi_client_type client, qmi_idl_message_type type,
                              uint32_t message_id, const void* encoded, uint32_t encoded_length,
                              void* c_struct, uint32_t c_struct_length) {
  if (encoded == nullptr && encoded_length != 0) return QMI_CLIENT_BAD_ARGUMENT;
  return guarded([&]() -> int {
    const auto service = Core::instance().service_of(handle_of(client));
    if (service == nullptr) return QMI_CLIENT_PORT_NOT_OPEN;
    const qcci::idl::Message* message = service->find(type, message_id);
    if (message == nullptr || message->c_size != c_struct_length) return QMI_CLIENT_BAD_ARGUMENT;
    const std::span wire(static_cast<const uint8_t*>(encoded), encoded_length);
    const auto error = qcci::idl::decode(*message, wire, c_struct, c_struct_length);
    return error == qcci::idl::CodecError::kOk ? QMI_CLIENT_OK : QMI_CLIENT_INTERNAL;
  });
}

int qmi_client_release(qmi_client_type client) {
  return guarded([&] { return Core::instance().release(handle_of(client)); });
}

}  // extern "C"

// What the targets share that have a client library of their own, whose every answer is made of
// the input.
#pragma once

#include <vector>

#include "input.h"
#include "platform/qmi_client.h"
#include "qcci/services/services.h"

namespace fed {

// A client's handle is its service's object.
inline qmi_client_type handle_of(const qmi_idl_service_object& service) {
  return reinterpret_cast<qmi_client_type>(const_cast<qmi_idl_service_object*>(&service));
}

// An outcome of a request for `answer`: a return code, a response that is filled by its
// rows, mostly one of success, or one that is decoded from octets.
int respond(qmi_client_type client, uint32_t message, const void* request, uint32_t length,
            void* response, uint32_t room);

// A message of the service as it is on the wire, encoded from its rows or any octets.
std::vector<uint8_t> wire_of(const qmi_idl_service_object& service, qmi_idl_message_type type,
                             uint32_t message);

// Delivers such an indication.
template <class Callback>
void deliver(const qmi_idl_service_object& service, uint32_t message, Callback callback) {
  const auto wire = wire_of(service, QMI_IDL_INDICATION, message);
  callback(handle_of(service), message, wire.data(), static_cast<uint32_t>(wire.size()), nullptr);
}

// A target's own: the outcome of a request.
int answer(qmi_client_type client, uint32_t message, const void* request, uint32_t length,
           void* response, uint32_t room);

// The callback for errors that was registered last; null until then.
inline qmi_client_error_cb g_error_cb = nullptr;

}  // namespace fed

// What the targets share that have a client library of their own: the input, and that library,
// whose every answer is made of the input.
#pragma once

#include <cstdint>
#include <span>

#include "platform/qmi_client.h"
#include "qcci/idl/codec.h"
#include "qcci/services/services.h"

namespace fed {

// What is left of the input. Zeros come behind its end.
inline std::span<const uint8_t> g_input;

void take(void* to, size_t n);
uint8_t octet();
// So many octets, as far as there are.
std::span<const uint8_t> octets(size_t n);

// Decodes by the service's rows, as the client library does.
int decode(const qmi_idl_service_object& service, qmi_idl_message_type type, uint32_t message,
           std::span<const uint8_t> wire, void* c, uint32_t room);

// A target's own: the outcome of a request, and of decoding an indication.
int answer(qmi_client_type client, uint32_t message, const void* request, uint32_t length,
           void* response, uint32_t room);
int indication(uint32_t message, std::span<const uint8_t> wire, void* c, uint32_t room);

// The callback for errors that was registered last; null until then.
inline qmi_client_error_cb g_error_cb = nullptr;

}  // namespace fed

// The card operations with any responses: they are made of the input and decoded by the real rows.
// The rest of the client library is this file.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/idl/uim.h"
#include "platform/qmi_client.h"
#include "qcci/idl/codec.h"
#include "qcci/services/services.h"
#include "qmi/kelvor_extend_api_uim.h"
#include "qmi/kelvor_extend_nvefs.h"

namespace {

std::span<const uint8_t> g_input;
qmi_client_error_cb g_error_cb = nullptr;

uint8_t octet() {
  if (g_input.empty()) return 0;
  const uint8_t first = g_input[0];
  g_input = g_input.subspan(1);
  return first;
}

// Calls one operation with blocks of exactly their size, so that the sanitizer sees one octet too
// many.
template <class In, class Out>
void call(int32_t (*operation)(const In*, Out*)) {
  const auto in = std::make_unique<In>();
  const auto out = std::make_unique<Out>();
  const size_t had = std::min(sizeof *in, g_input.size());
  if (had > 0) std::memcpy(in.get(), g_input.data(), had);
  g_input = g_input.subspan(had);
  operation(in.get(), out.get());
}

void call_one(uint8_t which) {
  switch (which % 6) {
    case 0:
      return call(kelvor_uim_request_eid);
    case 1:
      return call(kelvor_uim_open_channel);
    case 2:
      return call(kelvor_uim_send_apdu);
    case 3: {
      const auto out = std::make_unique<kelvor_uim_card_status_out>();
      kelvor_uim_get_card_status(out.get());
      return;
    }
    case 4: {
      const kelvor_uim_close_channel_in in{octet(), octet()};
      kelvor_uim_close_channel(&in);
      return;
    }
    default: {
      const kelvor_uim_power_in in{octet(), octet(), octet(), octet()};
      kelvor_esim_request_uicc_power_ex(&in);
    }
  }
}

}  // namespace

extern "C" {

int qmi_client_init_instance(qmi_idl_service_object_type, uint32_t, qmi_client_ind_cb, void*,
                             qmi_client_os_params*, uint32_t, qmi_client_type* client) {
  if (octet() % 8 == 7) return QMI_CLIENT_TIMED_OUT;
  *client = reinterpret_cast<qmi_client_type>(1);
  return 0;
}
int qmi_client_register_error_cb(qmi_client_type, qmi_client_error_cb callback, void*) {
  g_error_cb = callback;
  return 0;
}
int qmi_client_release(qmi_client_type client) {
  return client != nullptr ? 0 : QMI_CLIENT_PORT_NOT_OPEN;
}
// An octet for the outcome, one for the TLVs' length in steps of five, the TLVs.
int qmi_client_send_msg_sync(qmi_client_type client, uint32_t message, const void* request,
                             uint32_t request_length, void* response, uint32_t length, uint32_t) {
  using namespace qcci::idl;
  if (client == nullptr) std::abort();
  uint8_t sent[2048];
  const Message* asks = kUimService.find(QMI_IDL_REQUEST, message);
  const Message* answers = kUimService.find(QMI_IDL_RESPONSE, message);
  if (asks == nullptr || answers == nullptr) std::abort();
  const Encoded encoded = encode(*asks, request, request_length, sent);
  if (encoded.error != CodecError::kOk && encoded.error != CodecError::kValueTooLarge) std::abort();
  const uint8_t outcome = octet();
  if (outcome > 0xF0 && g_error_cb != nullptr) g_error_cb(client, outcome % 4 - 3, nullptr);
  if (outcome > 0xE0) return -static_cast<int>(outcome % 3) - 1;
  const size_t octets = std::min<size_t>(g_input.size(), octet() * 5u);
  const std::span<const uint8_t> wire = g_input.first(std::min(octets, g_input.size()));
  g_input = g_input.subspan(wire.size());
  if (decode(*answers, wire, response, length) == CodecError::kOk) return 0;
  std::memset(response, 0, length);
  return QMI_CLIENT_INTERNAL;
}
int32_t kelvor_efs_write(uint32_t, const char*, uint32_t, const uint8_t*, uint32_t) {
  return octet() % 4 == 3 ? KELVOR_NVEFS_TRANSPORT : 0;
}
void kelvor_qmi_client_common_empty_unsol_ind_cb(qmi_client_type, uint32_t, const void*, uint32_t,
                                                 void*) {}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  g_input = {data, size};
  while (!g_input.empty()) call_one(octet());
  return 0;
}

}  // extern "C"

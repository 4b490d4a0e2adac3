// The card operations with any responses: they are made of the input and decoded by the real rows.

#include <cstdlib>
#include <memory>
#include <tuple>

#include "fed.h"
#include "qmi/kelvor_extend_api_uim.h"
#include "qmi/kelvor_extend_nvefs.h"

namespace {

using fed::octet;

// Calls one operation with blocks of exactly their size, so that the sanitizer sees one octet too
// many.
template <class In, class Out>
void call(int32_t (*operation)(const In*, Out*)) {
  const auto in = std::make_unique<In>();
  const auto out = std::make_unique<Out>();
  fed::take(in.get(), sizeof *in);
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
      std::ignore = kelvor_uim_get_card_status(out.get());
      return;
    }
    case 4: {
      const kelvor_uim_close_channel_in in{octet(), octet()};
      std::ignore = kelvor_uim_close_channel(&in);
      return;
    }
    default: {
      const kelvor_uim_power_in in{octet(), octet(), octet(), octet()};
      std::ignore = kelvor_esim_request_uicc_power_ex(&in);
    }
  }
}

}  // namespace

int fed::answer(qmi_client_type client, uint32_t message, const void* request, uint32_t length,
                void* response, uint32_t room) {
  if (client == nullptr) std::abort();
  return respond(client, message, request, length, response, room);
}
extern "C" {

int32_t kelvor_efs_write(uint32_t, const char*, uint32_t, const uint8_t*, uint32_t) {
  return octet() % 4 == 3 ? KELVOR_NVEFS_TRANSPORT : 0;
}
void kelvor_qmi_client_common_empty_unsol_ind_cb(qmi_client_type, uint32_t, const void*, uint32_t,
                                                 void*) {}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fed::g_input = {data, size};
  while (!fed::g_input.empty()) call_one(octet());
  return 0;
}

}  // extern "C"

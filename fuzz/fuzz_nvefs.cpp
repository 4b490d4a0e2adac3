// NV/EFS transfers with any responses. This file is the client library below them: it makes every
// response of the input.

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/idl/vendor.h"
#include "platform/qmi_client.h"
#include "qmi/kelvor_extend_nvefs.h"

namespace {

const uint8_t* g_data = nullptr;
size_t g_size = 0;

void take(void* to, size_t n) {
  std::memset(to, 0, n);
  const size_t have = std::min(n, g_size);
  std::memcpy(to, g_data, have);
  g_data += have;
  g_size -= have;
}

// A buffer of exactly its room, so that the sanitizer sees one octet too many.
void read(uint32_t room, bool nv) {
  std::vector<uint8_t> buf(room);
  uint32_t length = room;
  const int32_t result = nv ? kelvor_nv_read(0, 1, buf.data(), &length)
                            : kelvor_efs_read(0, "/f", 2, buf.data(), &length);
  if (length > room || (nv && result == 0 && length == 0)) std::abort();
}

}  // namespace

extern "C" {

int qmi_client_notifier_init(qmi_idl_service_object_type, qmi_client_os_params*, qmi_client_type*) {
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
                             qmi_client_os_params*, uint32_t, qmi_client_type*) {
  return -1;
}
int qmi_client_register_error_cb(qmi_client_type, qmi_client_error_cb, void*) { return 0; }
int qmi_client_message_decode(qmi_client_type, qmi_idl_message_type, uint32_t, const void*,
                              uint32_t, void*, uint32_t) {
  return -1;
}
int qmi_client_release(qmi_client_type) { return 0; }
int qmi_client_send_msg_sync(qmi_client_type, uint32_t, const void*, uint32_t, void* response,
                             uint32_t length, uint32_t) {
  if (g_size == 0 || length != sizeof(kelvor_vendor_msg)) return QMI_CLIENT_TIMED_OUT;
  uint8_t head[3];
  take(head, sizeof head);
  auto* message = static_cast<kelvor_vendor_msg*>(response);
  std::memset(message, 0, sizeof *message);
  message->id = head[0] == 0xFF ? 1 : 0;
  message->data_len = head[1] == 0xFF ? 0xFFFFFFF0 : static_cast<uint32_t>(head[1]) * 3;
  message->data_valid = head[2] & 1;
  take(message->data, 20 + head[2]);
  return 0;
}
qmi_idl_service_object_type kelvor_extend_get_service_object_internal_v01(int32_t, int32_t,
                                                                          int32_t) {
  return nullptr;
}
qmi_idl_service_object_type nas_get_service_object_internal_v01(int32_t, int32_t, int32_t) {
  return nullptr;
}
qmi_idl_service_object_type sar_get_service_object_internal_v01(int32_t, int32_t, int32_t) {
  return nullptr;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  g_data = data + 2;
  g_size = size - 2;
  const uint32_t room = data[1] * 8u;
  switch (data[0] % 3) {
    case 0:
      read(room, true);
      break;
    case 1:
      read(room, false);
      break;
    default: {
      const std::vector<uint8_t> file(room * 2);
      kelvor_efs_write(0, "/f", 2, file.data(), static_cast<uint32_t>(file.size()));
    }
  }
  return 0;
}

}  // extern "C"

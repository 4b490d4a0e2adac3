// NV/EFS transfers with any responses.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <tuple>
#include <vector>

#include "fed.h"
#include "platform/idl/vendor.h"
#include "qmi/kelvor_extend_nvefs.h"

namespace {

// A buffer of exactly its room, so that the sanitizer sees one octet too many.
void read(uint32_t room, bool nv) {
  std::vector<uint8_t> buf(room);
  uint32_t length = room;
  const int32_t result = nv ? kelvor_nv_read(0, 1, buf.data(), &length)
                            : kelvor_efs_read(0, "/f", 2, buf.data(), &length);
  if (length > room || (nv && result == 0 && length == 0)) std::abort();
}

}  // namespace

int fed::answer(qmi_client_type, uint32_t, const void*, uint32_t, void* response, uint32_t room) {
  if (g_input.empty() || room != sizeof(kelvor_vendor_msg)) return QMI_CLIENT_TIMED_OUT;
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
int fed::indication(uint32_t, std::span<const uint8_t>, void*, uint32_t) { return -1; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  fed::g_input = {data + 2, size - 2};
  const uint32_t room = data[1] * 8u;
  if (data[0] % 3 < 2) {
    read(room, data[0] % 3 == 0);
  } else {
    const std::vector<uint8_t> file(room * 2);
    std::ignore = kelvor_efs_write(0, "/f", 2, file.data(), static_cast<uint32_t>(file.size()));
  }
  return 0;
}

// The vendor service's operations, NV/EFS transfers and common requests, and
// SAR's: odd arguments, any responses and indications.

#include <cstdlib>
#include <tuple>
#include <vector>

#include "fed.h"
#include "platform/idl/vendor.h"
#include "qmi/kelvor_extend_api.h"
#include "qmi/kelvor_extend_cmn.h"
#include "qmi/kelvor_extend_nvefs.h"

namespace {

using fed::octet;

// A number that is an item's, a path's length and, when it is 0xFF, no buffer.
uint32_t number() { return fed::number({1, 2, 0, 7232, 7233, 0xFF}); }

// Buffers have exactly their room, so that the sanitizer sees one octet too many.
template <bool nv>
void read() {
  const uint32_t sub = octet() % 4, which = number();
  uint32_t length = octet() * 8u;
  std::vector<uint8_t> buf(length);
  uint32_t* const room = which == 0xFF ? nullptr : &length;
  const int32_t result = nv ? kelvor_nv_read(sub, which, buf.data(), room)
                            : kelvor_efs_read(sub, "/f", which, buf.data(), room);
  if (length > buf.size() || (nv && result == 0 && length == 0)) std::abort();
}

template <bool nv>
void write() {
  const uint32_t sub = octet() % 4, which = number();
  const uint32_t length = octet() * 16u;
  const std::vector<uint8_t> file(length);
  const uint8_t* const octets = which == 0xFF ? nullptr : file.data();
  std::ignore = nv ? kelvor_nv_write_ex(sub, which, octets, length)
                   : kelvor_efs_write(sub, "/f", which, octets, length);
}

void efs_delete() { std::ignore = kelvor_efs_delete(octet() % 4, "/f", number()); }

template <auto send>
void common() {
  const std::vector<uint8_t> value(octet() * 3u);
  std::vector<uint8_t> rsp(KELVOR_COMMON_RSP_SIZE);
  const uint32_t which = number();
  std::ignore = send(which, static_cast<uint32_t>(value.size()),
                     which == 1 ? nullptr : value.data(), which == 0xFF ? nullptr : rsp.data());
}

void indicate() { fed::deliver(qcci::idl::kVendorService, octet() % 16, kelvor_extend_qmi_ind_cb); }

void on_data(uint32_t, const uint8_t* data, uint32_t length) {
  const std::vector<uint8_t> seen(data, data + length);
}

constexpr void (*kCalls[])() = {
    read<true>,
    read<false>,
    write<true>,
    write<false>,
    efs_delete,
    indicate,
    common<kelvor_send_common_qmi_msg>,
    common<kelvor_common_qmi_req>,
    fed::with_numbers<kelvor_nv_delete>,
    fed::with_numbers<kelvor_nvefs_sync>,
    fed::with_numbers<kelvor_get_sar_dsi>,
};

}  // namespace

// A response of NV/EFS that is nearly right, or any.
int fed::answer(qmi_client_type client, uint32_t message, const void* request, uint32_t length,
                void* response, uint32_t room) {
  if (g_input.empty()) return QMI_CLIENT_TIMED_OUT;
  if (message != KELVOR_VENDOR_GENERIC || room != sizeof(kelvor_vendor_msg) || octet() == 0xFF) {
    return respond(client, message, request, length, response, room);
  }
  uint8_t head[3];
  take(head, sizeof head);
  auto* answered = static_cast<kelvor_vendor_msg*>(response);
  *answered = {};
  answered->id = head[0] == 0xFF ? 1 : 0;
  answered->data_len = head[1] == 0xFF ? 0xFFFFFFF0 : static_cast<uint32_t>(head[1]) * 3;
  answered->data_valid = head[2] & 1;
  take(answered->data, 20 + head[2]);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fed::g_input = {data, size};
  kelvor_extend_qmi_client_init();
  kelvor_extend_set_sub_id_handler(octet(), on_data);
  while (!fed::g_input.empty()) kCalls[octet() % std::size(kCalls)]();
  return 0;
}

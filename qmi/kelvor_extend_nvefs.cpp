#include "qmi/kelvor_extend_nvefs.h"

#include <algorithm>
#include <cstring>

#include "base/mutex.h"
#include "common/trace.h"
#include "platform/idl/vendor.h"
#include "platform/idl/vendor_payload.h"
#include "platform/kelvor_utils.h"
#include "qmi/kelvor_extend_api.h"
#include "qmi/kelvor_extend_cmn.h"

namespace {

// A customer's test reads this item of a third subscription.
constexpr uint32_t kCustomerSub = 2;
constexpr uint32_t kCustomerNvId = 550;

// Held from an operation's first check to its end, so that files are not transferred in turns.
base::Mutex g_mutex;

// What came back of one exchange.
struct Reply {
  static constexpr uint32_t kHead = offsetof(kelvor_nvefs_rsp, data);  // it ends with the result
  kelvor_nvefs_rsp rsp{};
  uint32_t octets = 0;  // how much of rsp the modem sent

  // Data octets that the modem sent, whatever it says of their number.
  uint32_t data_octets() const { return octets > kHead ? octets - kHead : 0; }
};

// Sends one request and maps the result of the sending.
template <class Request>
int32_t exchange(const Request& request, Reply* reply) {
  static_assert(sizeof request == KELVOR_VENDOR_DATA_MAX);
  *reply = {};
  reply->octets = sizeof reply->rsp;
  const int32_t result = kelvor_extend_qmi_send_sync(REQUEST_ID_EFS, &request, sizeof request,
                                                     &reply->rsp, &reply->octets);
  // The zeros in place of a result that was not sent are no success. In the read of an item there
  // are zeros in place of its length too, which have their own message.
  if (reply->octets < Reply::kHead && request.operation != KELVOR_NVEFS_NV_READ) {
    reply->rsp.result = KELVOR_NVEFS_BAD_LENGTH;
  }
  return kelvor_qmi_result_map(result);
}

// An exchange that is a whole operation: both results checked.
template <class Request>
int32_t exchange_checked(const Request& request, Reply* reply) {
  const int32_t result = exchange(request, reply);
  TRACE_DEBUG("result = %d, rsp.result = %d", result, reply->rsp.result);
  if (result != 0) return TRACED_ERROR(result, "kelvor_extend_qmi_send_sync fail");
  if (reply->rsp.result != 0) return TRACED_ERROR(reply->rsp.result, "qmi response fail");
  return KELVOR_NVEFS_OK;
}

int32_t check_nv_id(uint32_t nv_id) {
  if (nv_id <= KELVOR_NVEFS_NV_ID_MAX) return KELVOR_NVEFS_OK;
  // The message shows the limit, not the id.
  TRACE_ERROR("nv_id is out range(%d)", KELVOR_NVEFS_NV_ID_MAX);
  return KELVOR_NVEFS_BAD_NV_ID;
}

int32_t check_sub(uint32_t sub) {
  if (sub < KELVOR_SUBSCRIPTIONS) return KELVOR_NVEFS_OK;
  TRACE_ERROR("sub invalid");
  return KELVOR_NVEFS_BAD_SUB;
}

int32_t check_file(uint32_t sub, const char* efs_path, uint32_t path_len, uint32_t most) {
  if (const int32_t wrong = check_sub(sub); wrong != 0) return wrong;
  if (efs_path == nullptr) return TRACED_ERROR(KELVOR_NVEFS_NULL, "efs_path is null");
  if (path_len == 0 || path_len > most) return TRACED_ERROR(KELVOR_NVEFS_BAD_LENGTH, "len invalid");
  return KELVOR_NVEFS_OK;
}

// More octets are left than a transfer can carry.
int32_t too_long() {
  TRACE_ERROR("len invalid");
  return KELVOR_NVEFS_BAD_LENGTH;
}

kelvor_nvefs_req nv_request(uint8_t operation, uint32_t sub, uint32_t nv_id) {
  kelvor_nvefs_req request{};
  request.operation = operation;
  request.sub = static_cast<uint8_t>(sub);
  request.nv_id = static_cast<uint16_t>(nv_id);
  return request;
}

template <class Request>
Request efs_request(uint8_t operation, uint32_t sub, const char* efs_path, uint32_t path_len) {
  Request request{};
  request.operation = operation;
  request.sub = static_cast<uint8_t>(sub);
  request.path_len = static_cast<uint8_t>(path_len);
  std::memcpy(request.path, efs_path, strnlen(efs_path, path_len));
  return request;
}

// One chunk of a read, appended to buf; *recv counts the octets there. *result becomes the
// transfer's when the transfer is over.
bool efs_read_chunk(kelvor_nvefs_req& request, uint8_t* buf, uint32_t buf_len, uint32_t* recv,
                    int32_t* result) {
  Reply reply;
  request.data_done = *recv;
  *result = exchange(request, &reply);
  if (*result != 0) return TRACED_ERROR(false, "kelvor_extend_qmi_send_sync fail, ABORT");
  const int32_t chunk = reply.rsp.data_len_send;
  TRACE_DEBUG(
      "data_len_all = %d, data_len_send = %d, data_len_recv = %d, read_count = %d, "
      "data_len_cur = %d",
      reply.rsp.data_len_all, chunk, *recv, request.exchange, chunk);
  *result = reply.rsp.result;
  if (chunk <= 0) {
    TRACE_ERROR("abort, data_len_send <= 0");
    // An empty file has no octets at all; otherwise the modem stopped before the end that it named.
    const bool empty_file = *recv == 0 && chunk == 0 && reply.rsp.data_len_all == 0;
    if (*result == 0 && !empty_file) *result = KELVOR_NVEFS_BAD_LENGTH;
    return false;
  }
  if (*result != 0) return TRACED_ERROR(false, "qmi response fail");
  *result = KELVOR_NVEFS_BAD_LENGTH;
  if (buf_len <= *recv) return TRACED_ERROR(false, "abort, buf_len <= data_len_recv");
  const auto octets = static_cast<uint32_t>(chunk);
  if (octets > reply.data_octets()) {
    TRACE_ERROR("abort, data_len_send(%d) > data received(%d)", chunk, reply.data_octets());
    return false;
  }
  if (octets > buf_len - *recv) {
    return TRACED_ERROR(false, "errro, abort, buf_len <= req.data_len_cur");
  }
  std::memcpy(buf + *recv, reply.rsp.data, octets);
  *recv += octets;
  *result = KELVOR_NVEFS_OK;
  return *recv < reply.rsp.data_len_all;
}

// Every operation: entry and exit lines, and the lock from the first check to the end.
template <class Body>
int32_t operate(TraceSite site, Body body) EXCLUDES(g_mutex) {
  return traced(site, [&]() -> int32_t {
    const base::Lock lock(g_mutex);
    return body();
  });
}

}  // namespace

extern "C" {

int32_t kelvor_nv_read(uint32_t sub, uint32_t nv_id, uint8_t* buf, uint32_t* p_buf_len) {
  return operate(__func__, [&]() -> int32_t {
    TRACE_DEBUG("kelvor_nv_read, sub_id %d, nv_id: %d", sub, nv_id);
    int32_t result = KELVOR_NVEFS_OK;
    if (sub == kCustomerSub && nv_id == kCustomerNvId) {
      TRACE_DEBUG("sub cust case for tt");
    } else if ((result = check_sub(sub)) != 0) {
      return result;
    }
    if ((result = check_nv_id(nv_id)) != 0) return result;
    if (buf == nullptr) return TRACED_ERROR(KELVOR_NVEFS_NULL, "buf is null");
    if (p_buf_len == nullptr) return TRACED_ERROR(KELVOR_NVEFS_NULL, "p_buf_len is null");
    if (*p_buf_len == 0) return TRACED_ERROR(KELVOR_NVEFS_BAD_LENGTH, "buf_len is invalid");
    TRACE_DEBUG("buf_len: %d", *p_buf_len);

    Reply reply;
    result = exchange_checked(nv_request(KELVOR_NVEFS_NV_READ, sub, nv_id), &reply);
    if (result != 0) return result;
    TRACE_DEBUG("rsp.data_len_all = %d", reply.rsp.data_len_all);
    // What the modem did not send is not copied, whatever it says of the length.
    const uint32_t count = std::min(reply.rsp.data_len_all, *p_buf_len);
    if (count == 0 || count > reply.data_octets()) {
      return TRACED_ERROR(KELVOR_NVEFS_BAD_LENGTH, "rsp.data_len_all is invalid");
    }
    *p_buf_len = count;
    std::memcpy(buf, reply.rsp.data, count);
    return KELVOR_NVEFS_OK;
  });
}

int32_t kelvor_nv_write_ex(uint32_t sub, uint32_t nv_id, const uint8_t* buf, uint32_t buf_len) {
  return operate(__func__, [&]() -> int32_t {
    TRACE_DEBUG("kelvor_nv_write, sub_id %d, nv_id: %d, buf_len: %d", sub, nv_id, buf_len);
    int32_t result = check_sub(sub);
    if (result == 0) result = check_nv_id(nv_id);
    if (result != 0) return result;
    if (buf == nullptr) return TRACED_ERROR(KELVOR_NVEFS_NULL, "buf is null");
    if (buf_len == 0 || buf_len > KELVOR_NVEFS_CHUNK_MAX) {
      return TRACED_ERROR(KELVOR_NVEFS_BAD_LENGTH, "buf_len is invalid");
    }
    kelvor_nvefs_req request = nv_request(KELVOR_NVEFS_NV_WRITE, sub, nv_id);
    request.data_len = buf_len;
    std::memcpy(request.data, buf, buf_len);
    Reply reply;
    return exchange_checked(request, &reply);
  });
}

int32_t kelvor_nv_delete(uint32_t sub, uint32_t nv_id) {
  return operate(__func__, [&] {
    TRACE_DEBUG("kelvor_nv_delete, sub_id %d, nv_id: %d", sub, nv_id);
    int32_t result = check_sub(sub);
    if (result == 0) result = check_nv_id(nv_id);
    if (result != 0) return result;
    Reply reply;
    return exchange_checked(nv_request(KELVOR_NVEFS_NV_DELETE, sub, nv_id), &reply);
  });
}

int32_t kelvor_efs_read(uint32_t sub, const char* efs_path, uint32_t path_len, uint8_t* buf,
                        uint32_t* p_buf_len) {
  return operate(__func__, [&]() -> int32_t {
    TRACE_DEBUG("kelvor_efs_read, sub_id %d, path_len: %d", sub, path_len);
    int32_t result = check_file(sub, efs_path, path_len, KELVOR_NVEFS_TRANSFER_PATH_MAX);
    if (result != 0) return result;
    if (buf == nullptr || p_buf_len == nullptr) {
      return TRACED_ERROR(KELVOR_NVEFS_BAD_LENGTH, "len invalid");
    }
    TRACE_DEBUG("path_value: %.*s", static_cast<int>(path_len), efs_path);
    auto request = efs_request<kelvor_nvefs_req>(KELVOR_NVEFS_EFS_READ, sub, efs_path, path_len);
    uint32_t recv = 0;
    while (efs_read_chunk(request, buf, *p_buf_len, &recv, &result)) {
      if (++request.exchange == KELVOR_NVEFS_EXCHANGES_MAX) {
        result = too_long();
        break;
      }
    }
    *p_buf_len = recv;
    return result;
  });
}

int32_t kelvor_efs_write(uint32_t sub, const char* efs_path, uint32_t path_len, const uint8_t* buf,
                         uint32_t buf_len) {
  return operate(__func__, [&]() -> int32_t {
    TRACE_DEBUG("kelvor_efs_write, sub_id %d, path_len: %d, buf_len: %d", sub, path_len, buf_len);
    const int32_t wrong = check_file(sub, efs_path, path_len, KELVOR_NVEFS_TRANSFER_PATH_MAX);
    if (wrong != 0) return wrong;
    if (buf == nullptr) return TRACED_ERROR(KELVOR_NVEFS_BAD_LENGTH, "len invalid");
    TRACE_DEBUG("path_value: %.*s", static_cast<int>(path_len), efs_path);
    auto request = efs_request<kelvor_nvefs_req>(KELVOR_NVEFS_EFS_WRITE, sub, efs_path, path_len);
    request.data_len = buf_len;
    for (; request.data_done < buf_len; ++request.exchange) {
      const uint32_t left = buf_len - request.data_done;
      if (request.exchange == KELVOR_NVEFS_EXCHANGES_MAX) return too_long();
      TRACE_DEBUG("left_num(%d)", left);
      const uint32_t send = std::min<uint32_t>(left, KELVOR_NVEFS_CHUNK_MAX);
      TRACE_DEBUG("send_num(%d)", send);
      request.data_len_cur = static_cast<uint16_t>(send);
      std::memset(request.data, 0, sizeof request.data);
      std::memcpy(request.data, buf + request.data_done, send);
      Reply reply;
      const int32_t result = exchange(request, &reply);
      TRACE_DEBUG("result = %d, rsp.result[>=0 is instance id] = %d", result, reply.rsp.result);
      TRACE_DEBUG(
          "data_len_all = %d, data_len_send = %d, data_len_recv = %d, send_count = %d, "
          "data_len_cur = %d",
          buf_len, request.data_done, reply.rsp.data_len_recv, request.exchange, send);
      if (result != 0) return TRACED_ERROR(result, "kelvor_extend_qmi_send_sync fail");
      if (reply.rsp.result < 0) return TRACED_ERROR(reply.rsp.result, "qmi response fail");
      request.data_done += send;
    }
    return KELVOR_NVEFS_OK;
  });
}

int32_t kelvor_efs_delete(uint32_t sub, const char* efs_path, uint32_t path_len) {
  return operate(__func__, [&] {
    TRACE_DEBUG("kelvor_efs_delete, sub_id %d, path_len: %d", sub, path_len);
    const int32_t wrong = check_file(sub, efs_path, path_len, KELVOR_NVEFS_DELETE_PATH_MAX);
    if (wrong != 0) return wrong;
    Reply reply;
    return exchange_checked(
        efs_request<kelvor_efs_path_req>(KELVOR_NVEFS_EFS_DELETE, sub, efs_path, path_len), &reply);
  });
}

int32_t kelvor_nvefs_sync(void) {
  return operate(__func__, [] {
    kelvor_common_rsp rsp{};
    const auto ret_sync = static_cast<int32_t>(kelvor_send_common_qmi_msg(
        KELVOR_COMMON_ITEM_NV_SYNC, 0, nullptr, reinterpret_cast<uint8_t*>(&rsp)));
    TRACE_DEBUG("kelvor_send_common_qmi_msg, ret_sync: %d, rsp.result: %d", ret_sync, rsp.result);
    return ret_sync | rsp.result;
  });
}

int32_t kelvor_qmi_result_map(int32_t result) {
  const Operation operation(__func__);
  int32_t mapped = result;
  switch (result) {
    case QMI_CLIENT_INTERNAL:
      mapped = KELVOR_NVEFS_INTERNAL;
      break;
    case QMI_CLIENT_SERVICE_GONE:
      mapped = KELVOR_NVEFS_SERVICE;
      break;
    case QMI_CLIENT_TIMED_OUT:
      mapped = KELVOR_NVEFS_TRANSPORT;
      break;
    default:
      break;
  }
  TRACE_DEBUG("kelvor_qmi_result_map, old_result %d, new_result %d", result, mapped);
  return mapped;
}

}  // extern "C"

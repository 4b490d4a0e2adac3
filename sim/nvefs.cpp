#include "sim/nvefs.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace sim {
namespace {

constexpr uint8_t kSubMax = 2;              // the third one is for a customer's tests
constexpr uint32_t kFileMax = 1024 * 1024;  // octets

std::string nv_path(const kelvor_nvefs_req& request) {
  return nv_item_path(request.sub, request.nv_id);
}

// Below efs/: the path, which ends at its length or its first zero octet, in its subscription's
// folder. A path without a name is given none at all, and refused as that.
std::string efs_path(uint8_t sub, const char* path, size_t length) {
  const std::string_view name(path, strnlen(path, length));
  if (name.find_first_not_of('/') == std::string_view::npos) return "";
  return std::to_string(sub) + "/" + std::string(name);
}

std::string efs_path(const kelvor_nvefs_req& request) {
  return efs_path(request.sub, request.path,
                  std::min<size_t>(request.path_len, sizeof request.path));
}

// One chunk of `all`, from `from` on.
void put_chunk(const std::string& all, size_t from, kelvor_nvefs_rsp* reply) {
  const size_t n = std::min<size_t>(all.size() - from, sizeof reply->data);
  std::memcpy(reply->data, all.data() + from, n);
  reply->data_len_send = static_cast<int32_t>(n);
  reply->data_len_all = static_cast<uint32_t>(all.size());
}

}  // namespace

std::string nv_item_path(uint32_t sub, uint32_t id) {
  return std::to_string(sub) + "/" + std::to_string(id);
}

size_t NvEfs::handle(Address client, const uint8_t (&octets)[512], kelvor_nvefs_rsp* reply) {
  kelvor_nvefs_req request;
  std::memcpy(&request, octets, sizeof request);
  kelvor_efs_path_req path_only;
  std::memcpy(&path_only, octets, sizeof path_only);
  *reply = {};
  reply->exchange = request.exchange;
  if (request.sub > kSubMax) {
    reply->result = -EINVAL;
  } else {
    switch (request.operation) {
      case KELVOR_NVEFS_NV_READ:
        nv_read(request, reply);
        break;
      case KELVOR_NVEFS_NV_WRITE:
        nv_write(request, reply);
        break;
      case KELVOR_NVEFS_NV_DELETE:
        reply->result = -nv_.remove(nv_path(request));
        break;
      case KELVOR_NVEFS_EFS_READ:
        efs_read(client, request, reply);
        break;
      case KELVOR_NVEFS_EFS_WRITE:
        efs_write(client, request, reply);
        break;
      case KELVOR_NVEFS_EFS_DELETE:
        reply->exchange = 0;
        reply->result = -efs_.remove(efs_path(path_only.sub, path_only.path, path_only.path_len));
        break;
      default:
        reply->result = -ENOSYS;
        break;
    }
  }
  return offsetof(kelvor_nvefs_rsp, data) + static_cast<size_t>(reply->data_len_send);
}

void NvEfs::nv_read(const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply) {
  std::string item;
  reply->result = -nv_.read(nv_path(request), &item);
  if (reply->result == 0) put_chunk(item, 0, reply);
}

void NvEfs::nv_write(const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply) {
  if (request.nv_id > KELVOR_NVEFS_NV_ID_MAX || request.data_len == 0 ||
      request.data_len > sizeof request.data) {
    reply->result = -EINVAL;
    return;
  }
  const std::string item(reinterpret_cast<const char*>(request.data), request.data_len);
  reply->result = -nv_.write(nv_path(request), item);
}

void NvEfs::efs_read(Address client, const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply) {
  const std::string path = efs_path(request);
  const Key key{client, false, path};
  if (request.data_done == 0) {
    std::string file;
    reply->result = -efs_.read(path, &file);
    if (reply->result != 0) return;
    transfers_[key] = std::move(file);
  }
  const auto found = transfers_.find(key);
  if (found == transfers_.end() || request.data_done > found->second.size()) {
    reply->result = -EINVAL;
    return;
  }
  put_chunk(found->second, request.data_done, reply);
  const size_t end = request.data_done + static_cast<size_t>(reply->data_len_send);
  if (end == found->second.size()) transfers_.erase(found);
}

void NvEfs::efs_write(Address client, const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply) {
  const std::string path = efs_path(request);
  const Key key{client, true, path};
  if (request.data_len > kFileMax) {
    reply->result = -EFBIG;
    return;
  }
  if (request.data_done == 0) transfers_[key].clear();
  const auto found = transfers_.find(key);
  if (found == transfers_.end() || request.data_done != found->second.size() ||
      request.data_len_cur > sizeof request.data || request.data_done > request.data_len ||
      request.data_len - request.data_done < request.data_len_cur) {
    reply->result = -EINVAL;
    return;
  }
  found->second.append(reinterpret_cast<const char*>(request.data), request.data_len_cur);
  reply->data_len_all = request.data_len;
  reply->data_len_recv = static_cast<uint32_t>(found->second.size());
  if (found->second.size() != request.data_len) return;
  reply->result = -efs_.write(path, found->second);
  transfers_.erase(found);
}

void NvEfs::client_gone(Address client) {
  std::erase_if(transfers_,
                [&](const auto& transfer) { return std::get<0>(transfer.first) == client; });
}

}  // namespace sim

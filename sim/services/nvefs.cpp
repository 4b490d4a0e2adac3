#include "sim/services/nvefs.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace sim {
namespace {

constexpr uint8_t kSubMax = 2;              // the third one is for a customer's tests
constexpr uint32_t kFileMax = 1024 * 1024;  // octets; assumed, the tool writes a few KB
// Unfinished transfers of one client, so that a hostile one cannot fill the memory. The tool has
// one at a time.
constexpr size_t kTransfersMax = 8;
constexpr size_t kTransferOctetsMax = size_t{32} << 20;

std::string nv_path(const kelvor_nvefs_req& request) {
  return nv_item_path(request.sub, request.nv_id);
}

// The path below efs/: "<sub>/<path>". The request's path ends at its length or its first zero
// octet. Repeated, leading and trailing slashes are left out, so that a file has one spelling. A
// path of slashes only becomes empty, which Folder refuses with EINVAL.
std::string efs_path(uint8_t sub, const char* path, size_t length) {
  std::string names;
  for (const char c : std::string_view(path, strnlen(path, length))) {
    if (c != '/' || !names.ends_with('/')) names += c;
  }
  if (names.ends_with('/')) names.pop_back();
  if (names.starts_with('/')) names.erase(0, 1);
  return names.empty() ? "" : std::to_string(sub) + "/" + names;
}

std::string efs_path(const kelvor_nvefs_req& request) {
  return efs_path(request.sub, request.path,
                  std::min<size_t>(request.path_len, sizeof request.path));
}

// Puts as much of `all` as one reply takes, from `from` on.
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
  reply->result = -run(client, request, path_only, reply);
  return offsetof(kelvor_nvefs_rsp, data) + static_cast<size_t>(reply->data_len_send);
}

int NvEfs::run(Address client, const kelvor_nvefs_req& request,
               const kelvor_efs_path_req& path_only, kelvor_nvefs_rsp* reply) {
  if (request.sub > kSubMax) return EINVAL;
  switch (request.operation) {
    case KELVOR_NVEFS_NV_READ:
      return nv_read(request, reply);
    case KELVOR_NVEFS_NV_WRITE:
      return nv_write(request);
    case KELVOR_NVEFS_NV_DELETE:
      return nv_.remove(nv_path(request));
    case KELVOR_NVEFS_EFS_READ:
      return efs_read(client, request, reply);
    case KELVOR_NVEFS_EFS_WRITE:
      return efs_write(client, request, reply);
    case KELVOR_NVEFS_EFS_DELETE:
      reply->exchange = 0;
      return efs_.remove(efs_path(path_only.sub, path_only.path, path_only.path_len));
    default:
      return ENOSYS;
  }
}

int NvEfs::nv_read(const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply) {
  std::string item;
  const int error = nv_.read(nv_path(request), &item);
  if (error == 0) put_chunk(item, 0, reply);
  return error;
}

int NvEfs::nv_write(const kelvor_nvefs_req& request) {
  if (request.nv_id > KELVOR_NVEFS_NV_ID_MAX || request.data_len == 0 ||
      request.data_len > sizeof request.data) {
    return EINVAL;
  }
  const std::string item(reinterpret_cast<const char*>(request.data), request.data_len);
  return nv_.write(nv_path(request), item);
}

int NvEfs::efs_read(Address client, const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply) {
  const std::string path = efs_path(request);
  if (request.data_done == 0) {
    std::string file;
    if (const int error = efs_.read(path, &file); error != 0) return error;
    begin(client, {.writing = false, .path = path, .octets = std::move(file)});
  }
  const Transfer* const transfer = find(client, false, path);
  if (transfer == nullptr || request.data_done > transfer->octets.size()) return EINVAL;
  put_chunk(transfer->octets, request.data_done, reply);
  const size_t done = request.data_done + static_cast<size_t>(reply->data_len_send);
  if (done == transfer->octets.size()) end(client, transfer);
  return 0;
}

int NvEfs::efs_write(Address client, const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply) {
  const std::string path = efs_path(request);
  if (request.data_len > kFileMax) return EFBIG;
  if (request.data_done == 0) begin(client, {.writing = true, .path = path, .octets = {}});
  Transfer* const transfer = find(client, true, path);
  if (transfer == nullptr || request.data_done != transfer->octets.size() ||
      request.data_len_cur > sizeof request.data || request.data_done > request.data_len ||
      request.data_len - request.data_done < request.data_len_cur) {
    return EINVAL;
  }
  transfer->octets.append(reinterpret_cast<const char*>(request.data), request.data_len_cur);
  reply->data_len_all = request.data_len;
  reply->data_len_recv = static_cast<uint32_t>(transfer->octets.size());
  if (transfer->octets.size() != request.data_len) return 0;
  const int error = efs_.write(path, transfer->octets);
  end(client, transfer);
  return error;
}

void NvEfs::begin(Address client, Transfer transfer) {
  // A write counts with the size to which it may grow.
  const auto size = [](const Transfer& t) { return t.writing ? kFileMax : t.octets.size(); };
  end(client, find(client, transfer.writing, transfer.path));
  std::list<Transfer>& all = transfers_[client];
  all.push_back(std::move(transfer));
  size_t octets = 0;
  for (const Transfer& one : all) octets += size(one);
  while (all.size() > kTransfersMax || (octets > kTransferOctetsMax && all.size() > 1)) {
    octets -= size(all.front());
    all.pop_front();
  }
}

NvEfs::Transfer* NvEfs::find(Address client, bool writing, const std::string& path) {
  const auto all = transfers_.find(client);
  if (all == transfers_.end()) return nullptr;
  const auto found = std::ranges::find_if(all->second, [&](const Transfer& transfer) {
    return transfer.writing == writing && transfer.path == path;
  });
  return found != all->second.end() ? &*found : nullptr;
}

void NvEfs::end(Address client, const Transfer* transfer) {
  if (transfer == nullptr) return;
  transfers_[client].remove_if([=](const Transfer& one) { return &one == transfer; });
}

}  // namespace sim

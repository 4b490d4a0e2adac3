// NV items and EFS files as the vendor service's REQUEST_ID_EFS family has them.
//
// Items and files are in the modem's storage. A file that is written in chunks is collected in
// memory and stored when it is complete. A file that is read in chunks is read from the storage
// once, with its first chunk, so that no write shows in the middle. A client may have a few
// transfers at a time: one more ends its oldest, whose next chunk is refused with EINVAL.
//
// Not thread-safe: it belongs to one service.
#pragma once

#include <list>
#include <map>
#include <string>

#include "platform/idl/vendor_payload.h"
#include "sim/modem/bus.h"
#include "sim/phone/storage.h"

namespace sim {

// The path of an item below the phone's nv/.
std::string nv_item_path(uint32_t sub, uint32_t id);

class NvEfs {
 public:
  explicit NvEfs(const Storage& storage) : nv_(storage.nv), efs_(storage.efs) {}

  // Handles one request and fills the whole reply, whose `result` is 0 or a negated errno number.
  // Returns how many of its octets are meaningful.
  size_t handle(Address client, const uint8_t (&octets)[512], kelvor_nvefs_rsp* reply);
  // Drop the transfers of one client, and all.
  void client_gone(Address client) { transfers_.erase(client); }
  void forget_all() { transfers_.clear(); }

 private:
  // A file that a client reads or writes in chunks.
  struct Transfer {
    bool writing;
    std::string path;    // below efs/
    std::string octets;  // of a write: those received so far
  };

  // The operations. They return 0 or an errno number.
  [[nodiscard]] int run(Address client, const kelvor_nvefs_req& request,
                        const kelvor_efs_path_req& path_only, kelvor_nvefs_rsp* reply);
  [[nodiscard]] int nv_read(const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply);
  [[nodiscard]] int nv_write(const kelvor_nvefs_req& request);
  [[nodiscard]] int efs_read(Address client, const kelvor_nvefs_req& request,
                             kelvor_nvefs_rsp* reply);
  [[nodiscard]] int efs_write(Address client, const kelvor_nvefs_req& request,
                              kelvor_nvefs_rsp* reply);
  // Begins a transfer; replaces the client's earlier one of the same kind and path.
  void begin(Address client, Transfer transfer);
  // Null when there is none.
  Transfer* find(Address client, bool writing, const std::string& path);
  void end(Address client, const Transfer* transfer);

  Store nv_;
  Store efs_;
  std::map<Address, std::list<Transfer>> transfers_;  // by client, the oldest first
};

}  // namespace sim

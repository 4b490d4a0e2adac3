// The modem's NV items and EFS files, as the vendor service's REQUEST_ID_EFS family reaches them.
//
// Items and files are kept in the modem's storage. A file that is written in chunks is gathered
// in memory and kept when it is whole; a file that is read in chunks is read once, at its first
// chunk, so that nobody's write shows in the middle.
#ifndef SIM_NVEFS_H_
#define SIM_NVEFS_H_

#include <map>
#include <string>
#include <tuple>

#include "platform/idl/vendor_payload.h"
#include "sim/bus.h"
#include "sim/storage.h"

namespace sim {

// Below the phone's nv/.
std::string nv_item_path(uint32_t sub, uint32_t id);

class NvEfs {
 public:
  explicit NvEfs(const Storage& storage) : nv_(storage.nv), efs_(storage.efs) {}

  // The octets of the reply that are meaningful.
  size_t handle(Address client, const uint8_t (&request)[512], kelvor_nvefs_rsp* reply);
  // Transfers in progress are forgotten.
  void client_gone(Address client);
  void forget_all() { transfers_.clear(); }

 private:
  using Key = std::tuple<Address, bool, std::string>;  // client, writing, path below efs/

  void nv_read(const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply);
  void nv_write(const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply);
  void efs_read(Address client, const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply);
  void efs_write(Address client, const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply);

  Store nv_;
  Store efs_;
  std::map<Key, std::string> transfers_;
};

}  // namespace sim

#endif  // SIM_NVEFS_H_

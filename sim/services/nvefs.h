// The modem's NV items and EFS files, as the vendor service's REQUEST_ID_EFS family reaches them.
//
// Items and files are kept in the modem's storage. A file that is written in chunks is gathered
// in memory and kept when it is whole; a file that is read in chunks is read once, at its first
// chunk, so that nobody's write shows in the middle. A client has room for a few transfers at a
// time: one more ends its oldest, whose next chunk is refused.
#ifndef SIM_SERVICES_NVEFS_H_
#define SIM_SERVICES_NVEFS_H_

#include <list>
#include <map>
#include <string>

#include "platform/idl/vendor_payload.h"
#include "sim/modem/bus.h"
#include "sim/phone/storage.h"

namespace sim {

// Below the phone's nv/.
std::string nv_item_path(uint32_t sub, uint32_t id);

class NvEfs {
 public:
  explicit NvEfs(const Storage& storage) : nv_(storage.nv), efs_(storage.efs) {}

  // The octets of the reply that are meaningful.
  size_t handle(Address client, const uint8_t (&request)[512], kelvor_nvefs_rsp* reply);
  // Transfers in progress are forgotten.
  void client_gone(Address client) { transfers_.erase(client); }
  void forget_all() { transfers_.clear(); }

 private:
  // A file on its way to a client or from it.
  struct Transfer {
    bool writing;
    std::string path;    // below efs/
    std::string octets;  // of a write: those that have come
  };

  void nv_read(const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply);
  void nv_write(const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply);
  void efs_read(Address client, const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply);
  void efs_write(Address client, const kelvor_nvefs_req& request, kelvor_nvefs_rsp* reply);
  // Begins a transfer, in the place of the client's last one of the kind and path.
  void begin(Address client, Transfer transfer);
  Transfer* find(Address client, bool writing, const std::string& path);
  void end(Address client, const Transfer* transfer);

  Store nv_;
  Store efs_;
  std::map<Address, std::list<Transfer>> transfers_;  // by client, the oldest first
};

}  // namespace sim

#endif  // SIM_SERVICES_NVEFS_H_

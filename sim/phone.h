// The simulated phone's directory.
//
//   nv/<sub>/<id>        one NV item, raw octets
//   efs/<sub>/<path>     the modem's file system
//   pdc/                 which carrier configurations are selected (sim/carrier_configs.h)
//   properties           Android's properties (kept by the platform)
//   phone.toml           what a person may edit
//   log/system.log       the system log (kept by the platform)
//   dump/                what a full dump leaves
//   modem.sock           where a served modem listens
//   unsynced/            what nv/ and efs/ held at the last sync, when a restart loses the rest
//   tmp/                 files that are not whole yet
//
// Any number of processes may use it at once: every file is replaced as a whole.
#ifndef SIM_PHONE_H_
#define SIM_PHONE_H_

#include <string>

#include "sim/files.h"

namespace sim {

class Phone {
 public:
  // $VEX_PHONE, else below $XDG_STATE_HOME or ~/.local/state; empty when none of them says where.
  static std::string default_root();

  explicit Phone(std::string root);

  // Makes the directory and the default phone in it, unless that is done already. Two processes
  // that do so at once make one phone. False, and why, when it cannot be.
  bool prepare(std::string* why) const;

  const std::string& root() const { return root_; }
  std::string path(const char* name) const { return root_ + "/" + name; }
  Folder nv() const { return {path("nv"), path("tmp")}; }
  Folder efs() const { return {path("efs"), path("tmp")}; }
  Folder all() const { return {root_, path("tmp")}; }
  // Taken around a change that reads before it writes.
  FileLock lock() const { return FileLock(path(".lock")); }

 private:
  std::string root_;
};

}  // namespace sim

#endif  // SIM_PHONE_H_

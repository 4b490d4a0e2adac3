// The simulated phone's directory.
//
//   nv/<sub>/<id>        one NV item, raw octets
//   efs/<sub>/<path>     the modem's file system
//   pdc/                 which carrier configurations are selected (sim/phone/selection.h)
//   properties           Android's properties (kept by the platform)
//   phone.toml           what a person may edit
//   log/system.log       the system log (kept by the platform)
//   dump/                what a full dump leaves
//   modem.sock           where a served modem listens
//   unsynced/            what nv/ and efs/ held at the last sync, when a restart loses the rest
//   .vex-phone           the marker that makes a directory a phone (sim/phone/phone_root.h)
//   .vex-scratch/        files that are not whole yet
//   .lock                taken around a change that reads before it writes
//
// Any number of processes may use it at once: every file is replaced as a whole.
#ifndef SIM_PHONE_PHONE_H_
#define SIM_PHONE_PHONE_H_

#include <memory>
#include <string>

#include "sim/phone/file_lock.h"
#include "sim/phone/files.h"

namespace sim {

class Phone {
 public:
  // $VEX_PHONE, else below $XDG_STATE_HOME or ~/.local/state; empty when none of them says where.
  static std::string default_root();

  explicit Phone(std::string root);

  // Makes the directory and the default phone in it, unless that is done already. Two processes
  // that do so at once make one phone. False, and why, when it cannot be: a directory that has
  // files but is no phone is left as it is.
  bool prepare(std::string* why) const;
  // The same without making anything.
  bool is_there(std::string* why) const;

  const std::string& root() const { return root_->path(); }
  // For people to read, and for programs that cannot be given a descriptor.
  std::string path(const std::string& name) const { return root() + "/" + name; }
  // Through the root's descriptor: for sockets, which have names only.
  std::string path_for_system_calls(const std::string& name) const;
  int descriptor() const { return root_->descriptor(); }

  Folder nv() const { return folder("nv"); }
  Folder efs() const { return folder("efs"); }
  Folder all() const { return folder(""); }
  Folder folder(std::string path) const { return {root_, std::move(path)}; }
  FileLock lock() const { return {all(), kLock}; }

 private:
  static constexpr const char kLock[] = ".lock";

  std::shared_ptr<const PhoneRoot> root_;
};

}  // namespace sim

#endif  // SIM_PHONE_PHONE_H_

// The simulated phone's directory.
//
//   nv/<sub>/<id>        one NV item, raw octets
//   efs/<sub>/<path>     the modem's file system
//   pdc/                 which carrier configurations are selected (sim/phone/selection.h)
//   properties           Android's properties (kept by the platform)
//   phone.toml           the phone's configuration, for people to edit
//   log/system.log       the system log (kept by the platform)
//   dump/                the files of full dumps
//   modem.sock           the socket of a served modem
//   unsynced/            what nv/ and efs/ held at the last sync (sim/phone/storage.h)
//   .vex-phone           the marker that makes a directory a phone (sim/phone/phone_root.h)
//   .vex-scratch/        files that are not whole yet (sim/phone/scratch.h)
//   .lock                locked during a change that reads before it writes
//
// Any number of threads and processes may use it at once: every file is replaced as a whole.
#pragma once

#include <memory>
#include <string>

#include "sim/phone/file_lock.h"
#include "sim/phone/files.h"

namespace sim {

class Phone {
 public:
  // $VEX_PHONE, else vex/phone below $XDG_STATE_HOME or ~/.local/state; empty when none is set.
  static std::string default_root();

  // Copies share one descriptor of the directory, which is opened when it is first needed.
  explicit Phone(std::string root);

  // Makes the directory and the default phone in it, unless that is done already. Two processes
  // that do so at once make one phone. False, and why, when there can be none: a directory that has
  // files but is no phone is left as it is.
  [[nodiscard]] bool prepare(std::string* why) const;
  // Whether it is a phone; makes nothing. False, and why, when it is not.
  [[nodiscard]] bool is_there(std::string* why) const;

  const std::string& root() const { return root_->path(); }
  // The path of a file below it, for texts and for programs that cannot be given a descriptor.
  std::string path(const std::string& name) const { return root() + "/" + name; }
  // A path through the root's descriptor: for sockets, which cannot be opened beneath one.
  std::string path_for_system_calls(const std::string& name) const;
  // The directory's; -1 while it is no phone.
  int descriptor() const { return root_->descriptor(); }

  Folder nv() const { return folder("nv"); }
  Folder efs() const { return folder("efs"); }
  Folder all() const { return folder(""); }
  Folder folder(std::string path) const { return {root_, std::move(path)}; }
  // For a change that reads before it writes. The caller checks that it is held.
  FileLock lock() const { return {all(), kLock}; }

 private:
  static constexpr const char kLock[] = ".lock";

  std::shared_ptr<const PhoneRoot> root_;
};

}  // namespace sim

// The modem's storage: NV items and EFS files, in the phone's directory.
//
// A change is in its file at once. When the phone is one that loses what was not synced, the file
// as it was at the last sync is kept beside, below unsynced/, and comes back when the modem
// restarts; a sync, or a phone that loses nothing, drops it. Results are 0 or an errno number; any
// number of processes may use the storage at once.
#ifndef SIM_PHONE_STORAGE_H_
#define SIM_PHONE_STORAGE_H_

#include <functional>
#include <string>
#include <string_view>

#include "sim/phone/phone.h"

namespace sim {

// One of the two kinds, below its folder.
class Store {
 public:
  Store(const Phone& phone, const std::string& name, bool loses_unsynced);

  int read(std::string_view path, std::string* contents) const;
  int write(std::string_view path, std::string_view contents) const;
  int remove(std::string_view path) const;
  // Writes what `make` makes of the contents, empty when there is no file; nobody writes between.
  int update(std::string_view path,
             const std::function<std::string(const std::string& old)>& make) const;
  int sync() const;
  int restart() const;

 private:
  int change(std::string_view path, const std::function<int()>& change) const;
  int change_locked(std::string_view path, const std::function<int()>& change) const;
  int keep(std::string_view path) const;
  int for_each_kept(const std::function<int(const std::string& path)>& each) const;

  Phone phone_;
  Folder files_;
  Folder kept_;
  bool loses_unsynced_;
};

struct Storage {
  Storage(const Phone& phone, bool loses_unsynced);

  int sync() const;
  // Called while no service is there.
  int restart() const;

  Store nv;
  Store efs;
};

}  // namespace sim

#endif  // SIM_PHONE_STORAGE_H_

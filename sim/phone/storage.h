// The modem's storage: NV items and EFS files, in the phone's directory.
//
// A change is in its file at once. A phone that loses unsynced changes (phone.toml) first keeps the
// file as it was at the last sync, below unsynced/. A restart of the modem brings it back; a sync
// drops it, and so does a restart of a phone that no longer loses anything.
//
// Results are 0 or an errno number; ENOLCK: the phone's lock could not be taken. Any number of
// threads and processes may use the storage at once.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "sim/phone/phone.h"

namespace sim {

// The items or the files.
class Store {
 public:
  // `name`: of the folder below the phone's directory.
  // `loses_unsynced` is asked at every change, and must outlast the store and its copies.
  Store(const Phone& phone, const std::string& name, const bool& loses_unsynced);

  // As Folder's.
  [[nodiscard]] int read(std::string_view path, std::string* contents) const;
  [[nodiscard]] int write(std::string_view path, std::string_view contents) const;
  [[nodiscard]] int remove(std::string_view path) const;
  // Replaces the contents, empty when there is no file, by what `make` returns for them, with the
  // phone locked.
  [[nodiscard]] int update(std::string_view path,
                           const std::function<std::string(const std::string& old)>& make) const;
  // All kept files are handled even when one fails; the first failure is returned.
  [[nodiscard]] int sync() const;
  [[nodiscard]] int restart() const;

 private:
  using Change = std::function<int()>;

  // Runs `change`; keeps the file before, with the phone locked, when the phone loses changes.
  [[nodiscard]] int change(std::string_view path, const Change& change) const;
  [[nodiscard]] int change_locked(std::string_view path, const Change& change) const;
  [[nodiscard]] int keep(std::string_view path) const;
  [[nodiscard]] int for_each_kept(const std::function<int(const std::string& path)>& each) const;

  Phone phone_;
  Folder files_;
  Folder kept_;
  const bool& loses_unsynced_;
};

struct Storage {
  // As Store's.
  Storage(const Phone& phone, const bool& loses_unsynced);
  Storage(const Phone& phone, bool&& loses_unsynced) = delete;

  [[nodiscard]] int sync() const;
  // For the modem, while no service is up.
  [[nodiscard]] int restart() const;

  Store nv;
  Store efs;
};

}  // namespace sim

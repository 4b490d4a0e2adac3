// The directory of one phone, and whether it is one.
//
// A directory is a phone when it has the marker that the phone itself makes there, or a phone.toml.
// Nothing is read, made or removed in any other directory: a person may have named one by mistake.
// All files of the phone are reached from one descriptor of this directory, and no symbolic link
// below it is followed.
//
// Threads: any.
#pragma once

#include <deque>
#include <string>

#include "base/mutex.h"
#include "sim/phone/beneath.h"

namespace sim {

class PhoneRoot {
 public:
  // The directory need not exist.
  explicit PhoneRoot(std::string path);

  // 0 when the directory is a phone, ENOENT when it does not exist or is empty, ENOTEMPTY when it
  // has other files, else what opening it gave.
  [[nodiscard]] int find() const;
  // Makes the directory when there is none, and the marker when it is empty or has a phone.toml.
  // Results as find's, and those of mkdir(2) and the like.
  [[nodiscard]] int make() const;
  // A line about a failure of either.
  std::string explain(int error) const;

  // The directory's descriptor, which stays open as long as this object; -1 while it is no phone.
  int descriptor() const;
  const std::string& path() const { return path_; }

  // Reports `what` on the phone's file `name` on standard error, because the modem's answers have
  // room for an error number at most. A line that repeats one of the last 16 is left out.
  void report(const std::string& name, const std::string& what) const;

 private:
  const std::string path_;
  mutable base::Mutex mutex_;
  mutable Descriptor directory_ GUARDED_BY(mutex_);
  mutable std::deque<std::string> reported_ GUARDED_BY(mutex_);  // the last lines
};

}  // namespace sim

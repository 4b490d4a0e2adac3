// A lock between processes and between the threads of one: flock(2), on a descriptor of its own for
// each holder. The kernel releases it when its holder is destroyed or its process ends.
#pragma once

#include <string>

#include "sim/phone/files.h"

namespace sim {

class FileLock {
 public:
  // Takes the lock on the folder's file `name`, which it makes when there is none. Waits for at
  // most five seconds. A failure is reported on standard error, unless the folder is quiet.
  FileLock(const Folder& folder, const std::string& name);
  [[nodiscard]] bool held() const { return static_cast<bool>(file_); }
  // Why it is not held, with the process that holds it if it is known; empty when it is.
  const std::string& why() const { return why_; }

 private:
  std::string why_;
  Descriptor file_;
};

}  // namespace sim

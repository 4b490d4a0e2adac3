// A lock between processes, and between threads: each holder has a descriptor of its own.
#ifndef SIM_PHONE_FILE_LOCK_H_
#define SIM_PHONE_FILE_LOCK_H_

#include <string>

#include "sim/phone/files.h"

namespace sim {

class FileLock {
 public:
  // Waits for at most five seconds. When it cannot be had, that is reported (sim/phone/files.h),
  // with the process that holds it where that is known.
  FileLock(const Folder& folder, const std::string& name);
  bool held() const { return static_cast<bool>(file_); }
  // Why it is not held.
  const std::string& why() const { return why_; }

 private:
  std::string why_;
  Descriptor file_;
};

}  // namespace sim

#endif  // SIM_PHONE_FILE_LOCK_H_

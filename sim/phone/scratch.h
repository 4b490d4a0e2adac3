// Files that are not whole yet, in a folder of their own below the phone's directory.
#ifndef SIM_PHONE_SCRATCH_H_
#define SIM_PHONE_SCRATCH_H_

#include <string>

#include "sim/phone/beneath.h"

namespace sim {

// One file on its way to its place. Removed when it goes before it was moved there.
class ScratchFile {
 public:
  static constexpr const char kFolder[] = ".vex-scratch";

  ScratchFile() = default;
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  // Makes one below `root`, under a name that nobody else has. 0 or an errno number.
  int make(int root);
  int descriptor() const { return file_.get(); }
  int move_to(int folder, const std::string& name);

 private:
  Descriptor folder_;
  Descriptor file_;
  std::string name_;
};

// Removes what writers that crashed left there: regular files that bear a scratch file's name,
// belong to this user and have not been written to for ten minutes. Nothing else, and nothing in
// folders below.
void clear_scratch(int root);

}  // namespace sim

#endif  // SIM_PHONE_SCRATCH_H_

// Files that are being written, in a folder of their own below the phone's directory. On the same
// file system as the phone's files, so that rename(2) can put them into place.
//
// Results are 0 or an errno number.
#pragma once

#include <string>

#include "sim/phone/beneath.h"

namespace sim {

// One file, open for writing. Its destructor removes it unless it has been moved.
class ScratchFile {
 public:
  static constexpr const char kFolder[] = ".vex-scratch";

  ScratchFile() = default;
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  // Makes an empty one with a name of its own below `root`, a descriptor of the phone's directory.
  [[nodiscard]] int make(int root);
  int descriptor() const { return file_.get(); }
  // Gives it the name in a folder, in the place of any file that has it.
  [[nodiscard]] int move_to(int folder, const std::string& name);

 private:
  Descriptor folder_;
  Descriptor file_;
  std::string name_;
};

// Removes what writers that crashed left: regular files directly in that folder that have the name
// of a scratch file, belong to this user and have not been written to for ten minutes. Nothing
// else. Failures are ignored: the next modem tries again.
void clear_scratch(int root);

}  // namespace sim

// The directory of one phone, and whether it is one.
//
// A directory is a phone when it holds the marker that the phone itself makes there, or a
// phone.toml. Nothing is read, made or removed in any other directory: a person may have named one
// by mistake. Whatever the phone keeps is reached from one descriptor of this directory, and no
// symbolic link below it is followed.
#ifndef SIM_PHONE_PHONE_ROOT_H_
#define SIM_PHONE_PHONE_ROOT_H_

#include <mutex>
#include <string>

#include "sim/phone/beneath.h"

namespace sim {

class PhoneRoot {
 public:
  // The directory need not be there.
  explicit PhoneRoot(std::string path);

  // Makes the directory, and the marker in it when it is empty or holds a phone.toml. False, and
  // why, when there can be no phone.
  bool make(std::string* why) const;
  // The same, but makes nothing: ENOENT when there is neither a phone nor anything in its place.
  int find(std::string* why) const;

  // The directory's descriptor, which stays open as long as this object; -1 while it is no phone.
  int descriptor() const;
  const std::string& path() const { return path_; }

  // Tells standard error, behind the program's name, what became of the phone's file `name`: the
  // modem's answers have room for a number at most. The same line is not repeated.
  void report(const std::string& name, const std::string& what) const;

 private:
  // 0 when the opened directory is a phone, ENOENT when it may become one, ENOTEMPTY when it must
  // not.
  static int look(int directory);

  const std::string path_;
  mutable std::mutex mutex_;
  mutable Descriptor directory_;
  mutable std::string reported_;
};

}  // namespace sim

#endif  // SIM_PHONE_PHONE_ROOT_H_

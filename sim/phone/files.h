// The phone's files: whole or absent, whatever crashes and whoever else writes them.
//
// Results are 0 or an errno number (sim/phone/beneath.h has what they mean here). A failure that is
// not an ordinary answer to its caller (no such file, a name that cannot be) is also reported on
// standard error, with the path and the reason.
#ifndef SIM_PHONE_FILES_H_
#define SIM_PHONE_FILES_H_

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "sim/phone/phone_root.h"

namespace sim {

// A folder that files are kept below; it need not be there before the first write. Paths are
// relative to it and lead neither out of it nor through a symbolic link.
class Folder {
 public:
  // `path`: below the phone's directory; empty for that directory itself.
  Folder(std::shared_ptr<const PhoneRoot> root, std::string path)
      : root_(std::move(root)), path_(std::move(path)) {}

  // The same for a caller that says itself what failed: nothing goes to standard error.
  Folder quiet() const {
    Folder same = *this;
    same.quiet_ = true;
    return same;
  }

  // Regular files of at most 16 MiB.
  int read(std::string_view path, std::string* contents) const;
  // Makes the folders on the way. The contents are on the disk when this returns.
  int write(std::string_view path, std::string_view contents) const;
  // ENOENT when there is no such file.
  int remove(std::string_view path) const;
  // Opens a regular file to be appended to or locked, and makes it, and the folders on the way,
  // when it is not there. `flags`: O_RDWR, or O_WRONLY with O_APPEND.
  int open(std::string_view path, int flags, Descriptor* file) const;
  // Makes a folder, and those on the way.
  int make(std::string_view path) const;
  // Every file below, in the order of their paths.
  void list(const std::function<void(const std::string& path, size_t octets)>& each) const;

  // Says what became of a file, unless that is an ordinary answer; returns the error.
  int report(std::string_view path, int error) const;
  void report(std::string_view path, const std::string& what) const;

 private:
  struct Place;
  int find(std::string_view path, Place* place) const;
  std::string name_of(std::string_view path) const;  // below the phone's directory
  int read_quietly(std::string_view path, std::string* contents) const;
  int write_quietly(std::string_view path, std::string_view contents) const;
  int remove_quietly(std::string_view path) const;
  int open_quietly(std::string_view path, int flags, Descriptor* file) const;

  std::shared_ptr<const PhoneRoot> root_;
  std::string path_;
  bool quiet_ = false;
};

// A file that is not the phone's: links are followed.
int read_file(const std::string& path, std::string* contents);

}  // namespace sim

#endif  // SIM_PHONE_FILES_H_

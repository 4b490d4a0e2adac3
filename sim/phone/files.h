// The phone's files. A write is whole or absent, whatever crashes and whichever other process
// writes the same file: it goes to a scratch file, which then replaces the old one.
//
// Operations return 0 or an errno number (sim/phone/beneath.h). Besides:
//
//   EINVAL   a path that is empty or leaves its folder
//   EFBIG    a file of more than 16 MiB, which is not read
//
// A failure that a caller must expect (ENOENT, EINVAL, ENAMETOOLONG) is only returned; any other is
// also reported on standard error, with the path and the reason.
//
// Threads: any; nothing but the root's descriptor is kept between calls.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "sim/phone/phone_root.h"

namespace sim {

// A folder of the phone, which need not exist before the first write. Paths are relative to it;
// they lead neither out of it nor through a symbolic link.
class Folder {
 public:
  // `path`: below the phone's directory; empty: that directory itself.
  Folder(std::shared_ptr<const PhoneRoot> root, std::string path)
      : root_(std::move(root)), path_(std::move(path)) {}

  // The same folder for a caller that reports failures itself: nothing goes to standard error.
  Folder quiet() const {
    Folder same = *this;
    same.quiet_ = true;
    return same;
  }

  // Reads a regular file. On failure `*contents` is unspecified; for ENOENT it is empty.
  [[nodiscard]] int read(std::string_view path, std::string* contents) const;
  // Replaces or makes a regular file, and makes the folders on the way. The contents are on the
  // disk when this returns.
  [[nodiscard]] int write(std::string_view path, std::string_view contents) const;
  [[nodiscard]] int remove(std::string_view path) const;
  // Opens a regular file to append to it or lock it; makes it, and the folders on the way, when
  // there is none. `flags`: O_RDWR, or O_WRONLY with O_APPEND.
  [[nodiscard]] int open(std::string_view path, int flags, Descriptor* file) const;
  // Makes a folder and those on the way; one that exists is no error.
  [[nodiscard]] int make(std::string_view path) const;
  // Calls `each` for every regular file below, sorted by name folder by folder. What cannot be read
  // is left out.
  void list(const std::function<void(const std::string& path, size_t octets)>& each) const;

  // Reports a failure on a file, unless it is 0 or one that a caller must expect; returns `error`.
  int report(std::string_view path, int error) const;
  // Reports `what` on a file.
  void report(std::string_view path, const std::string& what) const;

 private:
  struct Place;
  [[nodiscard]] int find(std::string_view path, Place* place) const;

  std::shared_ptr<const PhoneRoot> root_;
  std::string path_;
  bool quiet_ = false;
};

// Reads a file outside of the phone; follows symbolic links.
[[nodiscard]] int read_file(const std::string& path, std::string* contents);

}  // namespace sim

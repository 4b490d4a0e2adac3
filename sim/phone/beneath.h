// Opening and finding what is below a directory, without following a symbolic link on the way.
//
// The kernel walks the path (openat2). Where it has no such call, the path is walked here, one
// component at a time, with the same results.
//
// File operations of the simulated phone, here and in the files that include this one, return 0 or
// an errno number: what open(2) and its like give, and
//
//   ELOOP    a symbolic link, on the way or at the end
//   ENXIO    at the end something that is neither a regular file nor a directory
//   EISDIR   at the end a directory, where a file was asked for
#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace sim {

// Owns an open descriptor, or none.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor();
  int get() const { return fd_; }  // -1 when there is none
  explicit operator bool() const { return fd_ >= 0; }

 private:
  int fd_;
};

// Opens `path`, which is relative to the directory `folder` and has neither "." nor ".." in it.
// `flags` and `mode` are open(2)'s; O_NOFOLLOW, O_NONBLOCK, O_NOCTTY and O_CLOEXEC are added.
// `*opened` changes on success only.
[[nodiscard]] int open_beneath(int folder, const std::string& path, int flags, mode_t mode,
                               Descriptor* opened);

// The same for a regular file. A pipe or a device in its place is refused without waiting for it.
[[nodiscard]] int open_file_beneath(int folder, const std::string& path, int flags, mode_t mode,
                                    Descriptor* opened);

// The type and permissions of what the directory has under that name, itself when it is a link; 0
// when there is nothing, or it cannot be looked at.
[[nodiscard]] mode_t mode_of(int folder, const std::string& name);

// The names in a directory but "." and "..", sorted.
[[nodiscard]] int names_in(int folder, std::vector<std::string>* names);

// The text for an errno number, to stand after a path and a colon.
std::string reason(int error);

}  // namespace sim

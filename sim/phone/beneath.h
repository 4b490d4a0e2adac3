// Opening what is below a directory without following a symbolic link on the way.
//
// The kernel does the walk (openat2); where it has no such call, the path is walked here, one
// component at a time. Results are 0 or an errno number:
//
//   ELOOP    a symbolic link, on the way or at the end
//   ENXIO    at the end stands something that is neither a regular file nor a directory
//   EISDIR   at the end stands a directory, where a file was asked for
//
// and whatever else open(2) gives.
#ifndef SIM_PHONE_BENEATH_H_
#define SIM_PHONE_BENEATH_H_

#include <sys/types.h>

#include <string>
#include <string_view>
#include <utility>

namespace sim {

// An open descriptor, closed with its owner.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor();
  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }

 private:
  int fd_;
};

// `path` is relative, without "." and "..". `flags` are open(2)'s; O_NOFOLLOW, O_NONBLOCK,
// O_NOCTTY and O_CLOEXEC are added.
int open_beneath(int folder, const std::string& path, int flags, mode_t mode, Descriptor* opened);

// The same for a regular file: a pipe, a device or a directory in its place is refused, at once.
int open_file_beneath(int folder, const std::string& path, int flags, mode_t mode,
                      Descriptor* opened);

// An errno number as a person reads it behind a path.
std::string reason(int error);

}  // namespace sim

#endif  // SIM_PHONE_BENEATH_H_

#include "sim/phone/beneath.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

namespace sim {
namespace {

constexpr int kAlways = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

// openat of one component. A link where a directory was wanted is ELOOP, as openat2 has it.
int open_component(int folder, const std::string& name, int flags, mode_t mode,
                   Descriptor* opened) {
  *opened = Descriptor(::openat(folder, name.c_str(), flags | kAlways, mode));
  if (*opened) return 0;
  const int error = errno;
  return error == ENOTDIR && S_ISLNK(mode_of(folder, name)) ? ELOOP : error;
}

int open_by_steps(int folder, std::string_view path, int flags, mode_t mode, Descriptor* opened) {
  Descriptor at;
  for (size_t slash = 0; (slash = path.find('/')) != std::string_view::npos;
       path.remove_prefix(slash + 1)) {
    Descriptor next;
    const std::string name(path.substr(0, slash));
    if (const int error = open_component(folder, name, O_PATH | O_DIRECTORY, 0, &next);
        error != 0) {
      return error;
    }
    at = std::move(next);
    folder = at.get();
  }
  return open_component(folder, std::string(path), flags, mode, opened);
}

}  // namespace

Descriptor::~Descriptor() {
  if (fd_ >= 0) ::close(fd_);
}

int open_beneath(int folder, const std::string& path, int flags, mode_t mode, Descriptor* opened) {
  open_how how{};
  // Without O_NOFOLLOW, with which a link where a directory is wanted is ENOTDIR.
  how.flags = static_cast<unsigned>(flags | (kAlways & ~O_NOFOLLOW));
  how.mode = (flags & O_CREAT) != 0 ? mode : 0;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
  const long fd = ::syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how);
  if (fd < 0) {
    // A container's filter for system calls that does not know openat2 refuses it with EPERM.
    if (errno != ENOSYS && errno != EPERM) return errno;
    return open_by_steps(folder, path, flags, mode, opened);
  }
  *opened = Descriptor(static_cast<int>(fd));
  return 0;
}

int open_file_beneath(int folder, const std::string& path, int flags, mode_t mode,
                      Descriptor* opened) {
  Descriptor file;
  if (const int error = open_beneath(folder, path, flags, mode, &file); error != 0) return error;
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  if (!S_ISREG(status.st_mode)) return ENXIO;
  *opened = std::move(file);
  return 0;
}

mode_t mode_of(int folder, const std::string& name) {
  struct stat status {};
  return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? status.st_mode : 0;
}

int names_in(int folder, std::vector<std::string>* names) {
  // A descriptor of its own, because readdir moves the position of the one that it reads from.
  const int fd = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::fdopendir(fd), ::closedir);
  if (stream == nullptr) {
    const int error = errno;
    if (fd >= 0) ::close(fd);
    return error;
  }
  while (const dirent* entry = ::readdir(stream.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names->emplace_back(name);
  }
  std::ranges::sort(*names);
  return 0;
}

std::string reason(int error) {
  switch (error) {
    case ELOOP:
      return "a symbolic link, which is not followed";
    case ENXIO:
      return "not a regular file";
    default:
      return std::strerror(error);
  }
}

}  // namespace sim

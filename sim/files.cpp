#include "sim/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <vector>

namespace sim {
namespace {

constexpr size_t kMaxName = 255;
constexpr off_t kLargestFile = 16 * 1024 * 1024;
constexpr time_t kScratchAge = 600;  // seconds; nobody is that long about one file

int split(std::string_view path, std::vector<std::string>* names) {
  while (!path.empty()) {
    const size_t slash = std::min(path.find('/'), path.size());
    const std::string_view name = path.substr(0, slash);
    path.remove_prefix(std::min(slash + 1, path.size()));
    if (name.empty()) continue;
    if (name == "." || name == ".." || name.find('\0') != std::string_view::npos) return EINVAL;
    if (name.size() > kMaxName) return ENAMETOOLONG;
    names->emplace_back(name);
  }
  return names->empty() ? EINVAL : 0;
}

int open_folder_at(int parent, const char* name) {
  return ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// The folder of the path's last name.
int open_parent(const std::string& root, std::string_view path, bool make, Descriptor* parent,
                std::string* leaf) {
  std::vector<std::string> names;
  if (const int error = split(path, &names); error != 0) return error;
  Descriptor at(::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!at) return errno;
  for (size_t i = 0; i + 1 < names.size(); ++i) {
    const char* name = names[i].c_str();
    int next = open_folder_at(at.get(), name);
    if (next < 0 && errno == ENOENT && make) {
      if (::mkdirat(at.get(), name, 0700) != 0 && errno != EEXIST) return errno;
      ::fsync(at.get());
      next = open_folder_at(at.get(), name);
    }
    if (next < 0) return errno;
    at = Descriptor(next);
  }
  *parent = std::move(at);
  *leaf = names.back();
  return 0;
}

int write_all(int fd, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t n = ::write(fd, contents.data(), contents.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno;
    contents.remove_prefix(static_cast<size_t>(n));
  }
  return 0;
}

// Of a regular file: anything else might never end, or never begin.
int read_all(int fd, std::string* contents) {
  struct stat status {};
  if (::fstat(fd, &status) != 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  if (!S_ISREG(status.st_mode)) return EINVAL;
  if (status.st_size > kLargestFile) return EFBIG;
  char buffer[65536];
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno;
    if (n == 0) return 0;
    contents->append(buffer, static_cast<size_t>(n));
  }
}

void list_below(int folder, const std::string& prefix,
                const std::function<void(const std::string&, size_t)>& each) {
  DIR* stream = ::fdopendir(folder);
  if (stream == nullptr) {
    ::close(folder);
    return;
  }
  std::vector<std::string> names;
  while (const dirent* entry = ::readdir(stream)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    struct stat status {};
    if (::fstatat(::dirfd(stream), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    if (S_ISREG(status.st_mode)) each(prefix + name, static_cast<size_t>(status.st_size));
    if (!S_ISDIR(status.st_mode)) continue;
    const int next = open_folder_at(::dirfd(stream), name.c_str());
    if (next >= 0) list_below(next, prefix + name + "/", each);
  }
  ::closedir(stream);
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  std::swap(fd_, other.fd_);
  return *this;
}

Descriptor::~Descriptor() {
  if (fd_ >= 0) ::close(fd_);
}

FileLock::FileLock(const std::string& path)
    : file_(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
  if (!file_) return;
  int result = 0;
  do {
    result = ::flock(file_.get(), LOCK_EX);
  } while (result != 0 && errno == EINTR);
  if (result != 0) file_ = Descriptor();
}

Folder::Folder(std::string root, std::string scratch)
    : root_(std::move(root)), scratch_(std::move(scratch)) {}

int Folder::read(std::string_view path, std::string* contents) const {
  contents->clear();
  Descriptor parent;
  std::string leaf;
  if (const int error = open_parent(root_, path, false, &parent, &leaf); error != 0) return error;
  const Descriptor file(
      ::openat(parent.get(), leaf.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  return file ? read_all(file.get(), contents) : errno;
}

int Folder::write(std::string_view path, std::string_view contents) const {
  Descriptor parent;
  std::string leaf;
  if (const int error = open_parent(root_, path, true, &parent, &leaf); error != 0) return error;
  // A name of nobody else's: process ids are not unique between containers on one directory.
  std::string beside = scratch_ + "/XXXXXX";
  int error = 0;
  {
    const Descriptor file(::mkostemp(beside.data(), O_CLOEXEC));
    if (!file) return errno;
    error = write_all(file.get(), contents);
    if (error == 0 && ::fsync(file.get()) != 0) error = errno;
  }
  if (error == 0 && ::renameat(AT_FDCWD, beside.c_str(), parent.get(), leaf.c_str()) != 0) {
    error = errno;
  }
  if (error != 0) {
    ::unlink(beside.c_str());
    return error;
  }
  return ::fsync(parent.get()) == 0 ? 0 : errno;
}

int Folder::remove(std::string_view path) const {
  Descriptor parent;
  std::string leaf;
  if (const int error = open_parent(root_, path, false, &parent, &leaf); error != 0) return error;
  if (::unlinkat(parent.get(), leaf.c_str(), 0) != 0) return errno;
  return ::fsync(parent.get()) == 0 ? 0 : errno;
}

void Folder::list(const std::function<void(const std::string&, size_t)>& each) const {
  const int folder = ::open(root_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder >= 0) list_below(folder, "", each);
}

int read_file(const std::string& path, std::string* contents) {
  contents->clear();
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  return file ? read_all(file.get(), contents) : errno;
}

int make_folders(const std::string& path) {
  for (size_t at = 1; at != std::string::npos;) {
    at = path.find('/', at);
    const std::string part = path.substr(0, at);
    if (::mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) return errno;
    if (at != std::string::npos) ++at;
  }
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return errno;
  return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
}

void clear_scratch(const std::string& scratch) {
  const int folder = ::open(scratch.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  const time_t now = ::time(nullptr);
  list_below(folder, "", [&](const std::string& name, size_t) {
    struct stat status {};
    const std::string path = scratch + "/" + name;
    if (::stat(path.c_str(), &status) == 0 && now - status.st_mtime > kScratchAge) {
      ::unlink(path.c_str());
    }
  });
}

}  // namespace sim

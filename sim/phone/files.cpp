#include "sim/phone/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "sim/phone/scratch.h"

namespace sim {
namespace {

constexpr size_t kMaxName = 255;  // NAME_MAX of Linux's file systems
// The largest file that the modem writes has 1 MiB; a person may have put any other there.
constexpr off_t kLargestFile = off_t{16} << 20;
// Folders within folders that are listed, so that the stack has an end. The modem's own paths have
// 71 octets at most.
constexpr int kDeepest = 128;

// Drops empty components. EINVAL for a path that has no name or would leave its folder.
[[nodiscard]] int normalise(std::string_view path, std::string* names) {
  names->clear();
  while (!path.empty()) {
    const size_t slash = std::min(path.find('/'), path.size());
    const std::string_view name = path.substr(0, slash);
    path.remove_prefix(std::min(slash + 1, path.size()));
    if (name.empty()) continue;
    if (name == "." || name == ".." || name.find('\0') != std::string_view::npos) return EINVAL;
    if (name.size() > kMaxName) return ENAMETOOLONG;
    names->append(names->empty() ? "" : "/").append(name);
  }
  return names->empty() ? EINVAL : 0;
}

[[nodiscard]] int open_folder(int root, const std::string& path, Descriptor* folder) {
  return open_beneath(root, path, O_RDONLY | O_DIRECTORY, 0, folder);
}

// Each new folder is on the disk before anything is put into it.
[[nodiscard]] int make_folder(int root, const std::string& path, Descriptor* folder) {
  const int error = open_folder(root, path, folder);
  if (error != ENOENT) return error;
  const size_t slash = path.rfind('/');
  Descriptor parent;
  const int found = slash == std::string::npos ? open_folder(root, ".", &parent)
                                               : make_folder(root, path.substr(0, slash), &parent);
  if (found != 0) return found;
  const std::string name = path.substr(slash == std::string::npos ? 0 : slash + 1);
  if (::mkdirat(parent.get(), name.c_str(), 0700) != 0 && errno != EEXIST) return errno;
  if (::fsync(parent.get()) != 0) return errno;
  return open_folder(parent.get(), name, folder);
}

[[nodiscard]] int sync(int fd) { return ::fsync(fd) == 0 ? 0 : errno; }

[[nodiscard]] int write_all(int fd, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t n = ::write(fd, contents.data(), contents.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno;
    contents.remove_prefix(static_cast<size_t>(n));
  }
  return 0;
}

// For regular files only: a pipe or a device might never end, or never begin.
[[nodiscard]] int read_all(int fd, std::string* contents) {
  struct stat status {};
  if (::fstat(fd, &status) != 0) return errno;
  if (status.st_size > kLargestFile) return EFBIG;
  char buffer[65536];
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno;
    if (n == 0) return 0;
    contents->append(buffer, static_cast<size_t>(n));
    if (contents->size() > static_cast<size_t>(kLargestFile)) return EFBIG;
  }
}

// 0 for a regular file or none: only these are replaced or removed.
[[nodiscard]] int replaceable(int folder, const std::string& name) {
  struct stat status {};
  if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT ? 0 : errno;
  }
  if (S_ISLNK(status.st_mode)) return ELOOP;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  return S_ISREG(status.st_mode) ? 0 : ENXIO;
}

void list_below(Descriptor folder, const std::string& prefix, int depth,
                const std::function<void(const std::string&, size_t)>& each) {
  std::vector<std::string> names;
  if (names_in(folder.get(), &names) != 0) return;
  for (const std::string& name : names) {
    struct stat status {};
    if (::fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    if (S_ISREG(status.st_mode)) each(prefix + name, static_cast<size_t>(status.st_size));
    if (!S_ISDIR(status.st_mode) || depth == kDeepest) continue;
    Descriptor next;
    if (open_folder(folder.get(), name, &next) != 0) continue;
    list_below(std::move(next), prefix + name + "/", depth + 1, each);
  }
}

}  // namespace

// A path below the phone's directory, taken apart.
struct Folder::Place {
  int root = -1;       // the directory's descriptor
  std::string folder;  // "." for the root
  std::string name;
  std::string path() const { return folder == "." ? name : folder + "/" + name; }
};

int Folder::find(std::string_view path, Place* place) const {
  std::string names;
  if (const int error = normalise(path, &names); error != 0) return error;
  if ((place->root = root_->descriptor()) < 0) return ENOENT;
  const std::string all = path_.empty() ? names : path_ + "/" + names;
  const size_t slash = all.rfind('/');
  place->folder = slash == std::string::npos ? "." : all.substr(0, slash);
  place->name = all.substr(slash == std::string::npos ? 0 : slash + 1);
  return 0;
}

int Folder::read(std::string_view path, std::string* contents) const {
  contents->clear();
  Place place;
  Descriptor file;
  int error = find(path, &place);
  if (error == 0) error = open_file_beneath(place.root, place.path(), O_RDONLY, 0, &file);
  if (error == 0) error = read_all(file.get(), contents);
  return report(path, error);
}

int Folder::write(std::string_view path, std::string_view contents) const {
  Place place;
  Descriptor folder;
  ScratchFile scratch;
  int error = find(path, &place);
  if (error == 0) error = make_folder(place.root, place.folder, &folder);
  if (error == 0) error = replaceable(folder.get(), place.name);
  if (error == 0) {
    error = scratch.make(place.root);
    if (error != 0 && !quiet_) root_->report(ScratchFile::kFolder, reason(error));
  }
  if (error == 0) error = write_all(scratch.descriptor(), contents);
  if (error == 0) error = sync(scratch.descriptor());
  if (error == 0) error = scratch.move_to(folder.get(), place.name);
  if (error == 0) error = sync(folder.get());
  return report(path, error);
}

int Folder::remove(std::string_view path) const {
  Place place;
  Descriptor folder;
  int error = find(path, &place);
  if (error == 0) error = open_folder(place.root, place.folder, &folder);
  if (error == 0) error = replaceable(folder.get(), place.name);
  if (error == 0 && ::unlinkat(folder.get(), place.name.c_str(), 0) != 0) error = errno;
  if (error == 0) error = sync(folder.get());
  return report(path, error);
}

int Folder::open(std::string_view path, int flags, Descriptor* file) const {
  const auto open_in = [&](int folder, const std::string& name) {
    return open_file_beneath(folder, name, flags | O_CREAT, 0600, file);
  };
  Place place;
  Descriptor folder;
  int error = find(path, &place);
  if (error != 0) return report(path, error);
  error = open_in(place.root, place.path());
  if (error == ENOENT) {
    error = make_folder(place.root, place.folder, &folder);
    if (error == 0) error = open_in(folder.get(), place.name);
  }
  return report(path, error);
}

int Folder::make(std::string_view path) const {
  Place place;
  Descriptor folder;
  const int error = find(path, &place);
  return report(path, error != 0 ? error : make_folder(place.root, place.path(), &folder));
}

void Folder::list(const std::function<void(const std::string&, size_t)>& each) const {
  const int root = root_->descriptor();
  Descriptor folder;
  if (root < 0 || open_folder(root, path_.empty() ? "." : path_, &folder) != 0) return;
  list_below(std::move(folder), "", 1, each);
}

int Folder::report(std::string_view path, int error) const {
  if (error != 0 && error != ENOENT && error != EINVAL && error != ENAMETOOLONG) {
    report(path, reason(error));
  }
  return error;
}

void Folder::report(std::string_view path, const std::string& what) const {
  if (!quiet_) root_->report((path_.empty() ? "" : path_ + "/") + std::string(path), what);
}

int read_file(const std::string& path, std::string* contents) {
  contents->clear();
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  return file ? read_all(file.get(), contents) : errno;
}

}  // namespace sim

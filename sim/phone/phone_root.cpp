#include "sim/phone/phone_root.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "sim/phone/report.h"

namespace sim {
namespace {

constexpr char kMarker[] = ".vex-phone";
constexpr char kPhoneToml[] = "phone.toml";
// Lines that are remembered, so that none of them is reported again. More than one damaged phone
// gives.
constexpr size_t kRemembered = 16;
constexpr char kMarkerText[] = "This directory is a simulated phone of vex.\n";

Descriptor open_directory(const std::string& path) {
  return Descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

bool has_file(int directory, const char* name) { return S_ISREG(mode_of(directory, name)); }

// Makes the directories of the path; the entry of each is on the disk before the next is made.
[[nodiscard]] int make_directories(const std::string& path) {
  for (size_t at = 1; at != std::string::npos;) {
    at = path.find('/', at);
    const std::string part = path.substr(0, at);
    if (::mkdir(part.c_str(), 0700) == 0) {
      const size_t slash = part.rfind('/');
      const std::string parent = slash == std::string::npos ? "." : part.substr(0, slash + 1);
      if (const Descriptor entry = open_directory(parent); entry) ::fsync(entry.get());
    } else if (errno != EEXIST) {
      return errno;
    }
    if (at != std::string::npos) ++at;
  }
  return 0;
}

[[nodiscard]] int make_marker(int directory) {
  const Descriptor marker(
      ::openat(directory, kMarker, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!marker) return errno == EEXIST ? 0 : errno;
  // Only its existence matters; the text is for people, and may fail.
  [[maybe_unused]] const ssize_t written =
      ::write(marker.get(), kMarkerText, sizeof kMarkerText - 1);
  ::fsync(marker.get());
  ::fsync(directory);
  return 0;
}

// 0 when the directory is a phone, ENOENT when it is empty, ENOTEMPTY when it has other files.
[[nodiscard]] int look(int directory) {
  const auto is_phone = [directory] {
    return has_file(directory, kMarker) || has_file(directory, kPhoneToml);
  };
  if (is_phone()) return 0;
  std::vector<std::string> names;
  if (names_in(directory, &names) == 0 && names.empty()) return ENOENT;
  // Another process may have made it a phone meanwhile.
  return is_phone() ? 0 : ENOTEMPTY;
}

}  // namespace

PhoneRoot::PhoneRoot(std::string path) : path_(std::move(path)) {}

int PhoneRoot::find() const {
  const Descriptor directory = open_directory(path_);
  return directory ? look(directory.get()) : errno;
}

std::string PhoneRoot::explain(int error) const {
  if (error != ENOTEMPTY) return path_ + ": " + std::strerror(error);
  const mode_t toml = mode_of(open_directory(path_).get(), kPhoneToml);
  if (toml == 0) return path_ + " is no phone: it has files but no phone.toml";
  return path_ + "/" + kPhoneToml + ": " + reason(S_ISLNK(toml) ? ELOOP : ENXIO);
}

int PhoneRoot::make() const {
  if (descriptor() >= 0 && has_file(descriptor(), kMarker)) return 0;
  if (const int error = make_directories(path_); error != 0) return error;
  const int found = find();
  if (found != 0 && found != ENOENT) return found;
  const Descriptor directory = open_directory(path_);
  const int error = directory ? make_marker(directory.get()) : errno;
  // Without a marker, where files cannot be made, a phone.toml is enough.
  return found == 0 && directory ? 0 : error;
}

int PhoneRoot::descriptor() const {
  const base::Lock lock(mutex_);
  if (!directory_) {
    Descriptor directory = open_directory(path_);
    if (!directory || look(directory.get()) != 0) return -1;
    directory_ = std::move(directory);
  }
  return directory_.get();
}

void PhoneRoot::report(const std::string& name, const std::string& what) const {
  const std::string line = path_ + "/" + name + ": " + what;
  const base::Lock lock(mutex_);
  if (std::ranges::find(reported_, line) != reported_.end()) return;
  if (reported_.size() == kRemembered) reported_.pop_front();
  reported_.push_back(line);
  sim::report(line);
}

}  // namespace sim

#include "sim/phone/scratch.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace sim {
namespace {

constexpr std::string_view kPrefix = "write-";
constexpr size_t kDigits = 16;      // hexadecimal, of a random number of 64 bits
constexpr time_t kAbandoned = 600;  // seconds; no writer takes that long for one file
constexpr int kNames = 16;          // tried before giving up; a second one is hardly ever needed

[[nodiscard]] int open_folder(int root, Descriptor* folder) {
  const int flags = O_RDONLY | O_DIRECTORY;
  const int error = open_beneath(root, ScratchFile::kFolder, flags, 0, folder);
  if (error != ENOENT) return error;
  if (::mkdirat(root, ScratchFile::kFolder, 0700) != 0 && errno != EEXIST) return errno;
  ::fsync(root);
  return open_beneath(root, ScratchFile::kFolder, flags, 0, folder);
}

std::string random_name() {
  uint64_t number = 0;
  // Early in a system's start there may be no random numbers: O_EXCL keeps names apart all the
  // same.
  if (::getrandom(&number, sizeof number, GRND_NONBLOCK) != sizeof number) {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    number = static_cast<uint64_t>(now.tv_nsec) << 32 | static_cast<uint32_t>(::getpid());
  }
  char digits[kDigits + 1];
  std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(number));
  return std::string(kPrefix) + digits;
}

bool is_scratch_name(std::string_view name) {
  return name.starts_with(kPrefix) && name.size() == kPrefix.size() + kDigits &&
         std::ranges::all_of(name.substr(kPrefix.size()),
                             [](unsigned char c) { return std::isxdigit(c) != 0; });
}

bool is_abandoned(int folder, const char* name) {
  struct stat status {};
  return ::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
         status.st_uid == ::geteuid() && ::time(nullptr) - status.st_mtime > kAbandoned;
}

}  // namespace

ScratchFile::~ScratchFile() {
  if (!name_.empty()) ::unlinkat(folder_.get(), name_.c_str(), 0);
}

int ScratchFile::make(int root) {
  if (const int error = open_folder(root, &folder_); error != 0) return error;
  for (int i = 0; i < kNames; ++i) {
    const std::string name = random_name();
    file_ = Descriptor(::openat(folder_.get(), name.c_str(),
                                O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (file_) {
      name_ = name;
      return 0;
    }
    if (errno != EEXIST) return errno;
  }
  return EEXIST;
}

int ScratchFile::move_to(int folder, const std::string& name) {
  if (::renameat(folder_.get(), name_.c_str(), folder, name.c_str()) != 0) return errno;
  name_.clear();
  return 0;
}

void clear_scratch(int root) {
  Descriptor folder;
  if (open_beneath(root, ScratchFile::kFolder, O_RDONLY | O_DIRECTORY, 0, &folder) != 0) return;
  std::vector<std::string> names;
  if (names_in(folder.get(), &names) != 0) return;
  for (const std::string& name : names) {
    if (!is_scratch_name(name) || !is_abandoned(folder.get(), name.c_str())) continue;
    ::unlinkat(folder.get(), name.c_str(), 0);
  }
}

}  // namespace sim

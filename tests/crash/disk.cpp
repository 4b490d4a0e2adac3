#include "crash/disk.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "support/desk.h"

namespace crash {
namespace {

namespace fs = std::filesystem;

ino_t number_of(const fs::path& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

std::map<std::string, ino_t> entries_of(const fs::path& folder) {
  std::map<std::string, ino_t> entries;
  for (const auto& entry : fs::directory_iterator(folder)) {
    entries[entry.path().filename()] = number_of(entry);
  }
  return entries;
}

fs::path path_of(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

}  // namespace

Disk::Disk(const std::string& root) : root_(root) {
  entries_[number_of(root)] = entries_of(root);
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    const ino_t number = number_of(entry);
    if (entry.is_directory()) entries_[number] = entries_of(entry);
    if (entry.is_regular_file()) contents_[number] = desk::read(entry.path());
  }
}

void Disk::made(int fd) {
  const fs::path path = path_of(fd);
  const ino_t number = number_of(path);
  contents_.erase(number);
  entries_.erase(number);
  if (fs::is_directory(path)) {
    entries_[number];
  } else {
    contents_[number];
  }
}

void Disk::synced(int fd) {
  const fs::path path = path_of(fd);
  if (fs::is_directory(path)) {
    entries_[number_of(path)] = entries_of(path);
  } else {
    contents_[number_of(path)] = desk::read(path);
  }
}

void Disk::leave(const std::string& to, bool names_kept) const {
  leave_folder(number_of(root_), root_, to, names_kept);
}

void Disk::leave_folder(ino_t folder, const std::string& from, const std::string& to,
                        bool names_kept) const {
  fs::create_directory(to);
  for (const auto& [name, number] : names_kept ? entries_of(from) : entries_.at(folder)) {
    if (entries_.contains(number)) {
      leave_folder(number, from + "/" + name, to + "/" + name, names_kept);
    } else {
      const auto contents = contents_.find(number);  // none: a log, whose octets nobody syncs
      std::ofstream(to + "/" + name, std::ios::binary)
          << (contents == contents_.end() ? "" : contents->second);
    }
  }
}

}  // namespace crash

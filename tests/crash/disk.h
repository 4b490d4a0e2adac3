// What a disk keeps of a directory when the power is lost: only what was synced.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>

namespace crash {

class Disk {
 public:
  // All that is below the directory is on the disk.
  explicit Disk(const std::string& root);

  // A file or folder was made: it has nothing yet, whatever had its number before.
  void made(int fd);
  void synced(int fd);
  // Writes what is left to `to`. `names_kept`: names were all kept, and octets alone were lost.
  void leave(const std::string& to, bool names_kept) const;

 private:
  using Entries = std::map<std::string, ino_t>;

  void leave_folder(ino_t folder, const std::string& from, const std::string& to,
                    bool names_kept) const;

  std::string root_;
  std::map<ino_t, std::string> contents_;
  std::map<ino_t, Entries> entries_;
};

}  // namespace crash

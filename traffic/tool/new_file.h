// A file that a command makes: whole or absent, mode 0600, and never written over one that is
// there.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace traffic {

class NewFile {
 public:
  explicit NewFile(std::string path);
  // Without keep there is no file.
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  // False when there is a file at the path, or none can be made.
  explicit operator bool() const { return file_ != nullptr; }
  [[nodiscard]] bool write(std::string_view octets);
  // Gives it its name.
  [[nodiscard]] bool keep();

  // Reports the last failure, and returns the exit status.
  [[nodiscard]] int failed() const;

 private:
  bool note_error(bool good);

  const std::string path_;
  std::string scratch_;  // its name until it is whole
  std::FILE* file_ = nullptr;
  int error_ = 0;
};

}  // namespace traffic

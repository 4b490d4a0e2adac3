// Files that are whole or absent, whatever crashes and whoever else writes them.
//
// Results are 0 or an errno number. Paths below a folder are taken apart here and walked one
// component at a time, so that neither ".." nor a symbolic link leads out of the folder.
#ifndef SIM_FILES_H_
#define SIM_FILES_H_

#include <functional>
#include <string>
#include <string_view>

namespace sim {

// An open descriptor, closed with its owner.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor();
  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }

 private:
  int fd_;
};

// Holds an exclusive lock between processes (and threads: each holder has its own descriptor).
class FileLock {
 public:
  explicit FileLock(const std::string& path);
  bool held() const { return static_cast<bool>(file_); }

 private:
  Descriptor file_;
};

// A folder that files are kept below, with a folder on the same file system for what is not whole
// yet.
class Folder {
 public:
  Folder(std::string root, std::string scratch);

  // Regular files of at most 16 MiB.
  int read(std::string_view path, std::string* contents) const;
  // Makes the folders on the way. The contents are on the disk when this returns.
  int write(std::string_view path, std::string_view contents) const;
  // ENOENT when there is no such file.
  int remove(std::string_view path) const;
  // Every file below, in the order of their paths.
  void list(const std::function<void(const std::string& path, size_t octets)>& each) const;

  const std::string& root() const { return root_; }

 private:
  std::string root_;
  std::string scratch_;
};

// A file that is no modem's: links are followed.
int read_file(const std::string& path, std::string* contents);
int make_folders(const std::string& path);
// Removes what writers that crashed left behind.
void clear_scratch(const std::string& scratch);

}  // namespace sim

#endif  // SIM_FILES_H_

#include "new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "frames.h"

namespace traffic {

NewFile::NewFile(std::string path) : path_(std::move(path)), scratch_(path_ + ".XXXXXX") {
  struct stat there {};
  if (::lstat(path_.c_str(), &there) == 0) {
    error_ = EEXIST;
    return;
  }
  const int fd = ::mkostemp(scratch_.data(), O_CLOEXEC);
  file_ = fd < 0 ? nullptr : ::fdopen(fd, "wb");
  (void)note_error(file_ != nullptr);
}

NewFile::~NewFile() {
  if (file_ == nullptr) return;
  std::fclose(file_);
  ::unlink(scratch_.c_str());
}

bool NewFile::note_error(bool good) {
  if (!good) error_ = errno;
  return good;
}

bool NewFile::write(std::string_view octets) {
  return note_error(std::fwrite(octets.data(), 1, octets.size(), file_) == octets.size());
}

bool NewFile::keep() {
  const bool kept = note_error(std::fflush(file_) == 0) &&
                    note_error(::renameat2(AT_FDCWD, scratch_.c_str(), AT_FDCWD, path_.c_str(),
                                           RENAME_NOREPLACE) == 0);
  if (!kept) return false;
  std::fclose(std::exchange(file_, nullptr));
  return true;
}

int NewFile::failed() const { return fail(path_ + ": " + std::strerror(error_)); }

}  // namespace traffic

#include "traffic/file/capture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "traffic/file/pcapng.h"

namespace traffic {
namespace {

// Whether the file is empty or ends with a whole block of a pcapng file; `*why` otherwise.
[[nodiscard]] bool can_be_continued(int fd, std::string* why) {
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    *why = "not a regular file";
    return false;
  }
  if (status.st_size == 0) return true;
  uint32_t first = 0, last = 0, length = 0;
  const off_t size = status.st_size;
  const auto number = [fd](off_t at, uint32_t* to) {
    return ::pread(fd, to, sizeof *to, at) == static_cast<ssize_t>(sizeof *to);
  };
  if (!number(0, &first) || first != kSectionBlock) {
    *why = "has other contents than a capture";
    return false;
  }
  if (!number(size - 4, &last) || last > size || !number(size - last + 4, &length) ||
      length != last) {
    *why = "ends within a block, as when its writer was killed";
    return false;
  }
  return true;
}

}  // namespace

std::unique_ptr<Capture> Capture::open(const std::string& path, const std::string& program,
                                       const std::string& comment, Report report) {
  const auto fail = [&](const std::string& why) {
    report("no capture: " + path + ": " + why);
    return nullptr;
  };
  // O_NONBLOCK: a pipe must not make this wait for its reader.
  const int fd =
      ::open(path.c_str(),
             O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600);
  if (fd < 0) {
    return fail(errno == ELOOP ? "a symbolic link, which is not followed" : std::strerror(errno));
  }
  std::unique_ptr<Capture> capture(new Capture(fd, path, report));
  std::string why;
  if (!can_be_continued(fd, &why)) return fail(why);
  return capture->append(section_of(program, comment)) ? std::move(capture) : nullptr;
}

Capture::Capture(int fd, std::string path, Report report)
    : fd_(fd), path_(std::move(path)), report_(std::move(report)) {}

Capture::~Capture() { ::close(fd_); }

void Capture::write(FrameHead head, std::span<const uint8_t> octets) { write(head, octets, {}); }

void Capture::note(const std::string& comment) {
  FrameHead head;
  head.kind = Kind::kNote;
  write(head, {}, {&comment, 1});
}

void Capture::write(FrameHead head, std::span<const uint8_t> octets,
                    std::span<const std::string> comments) {
  if (ended_) return;
  head.time_ns = now_ns();
  (void)append(packet_of(head, octets, comments));
}

bool Capture::append(const std::string& blocks) {
  ssize_t written = 0;
  do {
    written = ::write(fd_, blocks.data(), blocks.size());
  } while (written < 0 && errno == EINTR);
  if (written == static_cast<ssize_t>(blocks.size())) return true;
  const int error = written < 0 ? errno : ENOSPC;
  if (ended_.exchange(true)) return false;
  // The part of a block that there was room for goes again, unless somebody has appended to it.
  const off_t end = ::lseek(fd_, 0, SEEK_CUR);
  struct stat status {};
  if (written > 0 && ::fstat(fd_, &status) == 0 && status.st_size == end) {
    [[maybe_unused]] const int cut = ::ftruncate(fd_, end - written);
  }
  report_("the capture ends here: " + path_ + ": " + std::strerror(error));
  return false;
}

}  // namespace traffic

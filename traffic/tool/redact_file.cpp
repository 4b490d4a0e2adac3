#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <utility>

#include "commands.h"
#include "frames.h"
#include "traffic/redact/redactor.h"

namespace traffic {
namespace {

// A new file, which goes again unless it is kept.
class NewFile {
 public:
  explicit NewFile(std::string path) : path_(std::move(path)) {
    const int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    file_ = fd < 0 ? nullptr : ::fdopen(fd, "wb");
  }
  ~NewFile() {
    if (file_ == nullptr) return;
    std::fclose(file_);
    ::unlink(path_.c_str());
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  explicit operator bool() const { return file_ != nullptr; }
  [[nodiscard]] bool write(const std::string& octets) {
    return std::fwrite(octets.data(), 1, octets.size(), file_) == octets.size();
  }
  [[nodiscard]] bool keep() { return std::fclose(std::exchange(file_, nullptr)) == 0 || drop(); }

 private:
  bool drop() {
    ::unlink(path_.c_str());
    return false;
  }

  const std::string path_;
  std::FILE* file_;
};

// Calls `begin` for each section and `each` for each frame; false when one of them does.
template <class Begin, class Each>
bool read_all(FrameFile& file, Begin begin, Each each) {
  Frame frame;
  uint64_t section = 0;
  while (file.next(&frame)) {
    if (file.reader().sections() != section && !begin(file.reader())) return false;
    section = file.reader().sections();
    if (!each(frame)) return false;
  }
  return true;
}

}  // namespace

int redact_file(const std::string& path, const std::string& output) {
  if (path == "-") return fail("a capture to redact is read twice, and must be a file");
  Redactor redactor;
  {
    FrameFile file;
    if (!file.open(path)) return file.status();
    (void)read_all(
        file,
        [&](const Reader& reader) {
          redactor.learn(reader.section_comment());
          return true;
        },
        [&](const Frame& frame) {
          redactor.learn(frame);
          return true;
        });
    if (file.status() != 0) return file.status();
  }
  FrameFile file;
  if (!file.open(path)) return file.status();
  NewFile copy(output);
  if (!copy) return fail(output + ": " + std::strerror(errno));
  const bool written = read_all(
                           file,
                           [&](const Reader& reader) {
                             std::string comment = reader.section_comment(),
                                         program = reader.section_program();
                             redactor.redact(&comment);
                             redactor.redact(&program);
                             return copy.write(section_of(program, comment));
                           },
                           [&](Frame& frame) {
                             redactor.redact(&frame);
                             return copy.write(packet_of(frame, frame.octets, frame.comments));
                           }) &&
                       copy.keep();
  if (!written) return fail(output + ": " + std::strerror(errno));
  for (const auto& [kind, count] : redactor.counts()) {
    std::printf("%-32s %" PRIu64 "\n", kind.c_str(), count);
  }
  return file.status();
}

}  // namespace traffic

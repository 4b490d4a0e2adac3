// What the commands of vex-traffic share.
#pragma once

#include <functional>
#include <string>

#include "traffic/file/pcapng.h"

namespace traffic {

inline constexpr int kFailed = 1;
inline constexpr int kUsage = 2;

// One line on standard error, behind the program's name.
void say(const std::string& line);
int fail(const std::string& why);

// The frames of one file. What cannot be read is reported, after all that can.
class FrameFile {
 public:
  // False after a failure, which has been reported.
  [[nodiscard]] bool open(const std::string& path);
  // Wait for more at the end of the file, until the process is ended.
  void follow(std::function<void()> before_wait) { before_wait_ = std::move(before_wait); }

  // False at the end.
  [[nodiscard]] bool next(Frame* frame);
  [[nodiscard]] const Reader& reader() const { return reader_; }
  // 0, or kFailed for a file that could not be read to its end.
  [[nodiscard]] int status() const { return status_; }

 private:
  void finish();

  std::string path_;
  Reader reader_;
  std::function<void()> before_wait_;
  int status_ = 0;
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

}  // namespace traffic

// A capture that is being written: frames appended to a file, one write(2) each, so that the file
// is whole however the process ends and whoever else appends to it.
//
// The first failure is reported on standard error, and ends the capture: what is captured never
// fails because of it.
//
// Threads: any.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "traffic/file/frame.h"

namespace traffic {

class Capture {
 public:
  // Takes one line without a line end.
  using Report = std::function<void(const std::string& line)>;

  // Appends to the file, or makes it (mode 0600), and begins a section of it that says which
  // program writes, and in its comment what it does. A file that is there must be a capture, and is
  // not reached through a symbolic link. Null after a failure, which has been reported.
  [[nodiscard]] static std::unique_ptr<Capture> open(const std::string& path,
                                                     const std::string& program,
                                                     const std::string& comment, Report report);
  ~Capture();
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  // The frame's time is set here: now. `octets`: the datagram.
  void write(FrameHead head, std::span<const uint8_t> octets);
  // A frame that has nothing but a comment.
  void note(const std::string& comment);

 private:
  Capture(int fd, std::string path, Report report);
  void write(FrameHead head, std::span<const uint8_t> octets,
             std::span<const std::string> comments);
  [[nodiscard]] bool append(const std::string& blocks);

  const int fd_;
  const std::string path_;
  const Report report_;
  std::atomic<bool> ended_{false};
};

}  // namespace traffic

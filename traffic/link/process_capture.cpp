#include "traffic/link/process_capture.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "traffic/link/capture_link.h"

namespace traffic {

std::string command_line() {
  std::string words(4096, '\0');  // what is beyond is of no use to a reader
  const int fd = ::open("/proc/self/cmdline", O_RDONLY | O_CLOEXEC);
  const ssize_t got = fd < 0 ? 0 : ::read(fd, words.data(), words.size());
  if (fd >= 0) ::close(fd);
  words.resize(static_cast<size_t>(std::max<ssize_t>(got, 0)));
  if (!words.empty() && words.back() == '\0') words.pop_back();
  std::replace(words.begin(), words.end(), '\0', ' ');
  return words;
}

void report(const std::string& line) {
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, line.c_str());
}

Capture* process_capture() {
  static Capture* const capture = []() -> Capture* {
    const char* const path = std::getenv("VEX_CAPTURE");
    if (path == nullptr || *path == '\0') return nullptr;
    return Capture::open(path, program_invocation_short_name, command_line(), report).release();
  }();
  return capture;
}

std::unique_ptr<qcci::Link> captured(std::unique_ptr<qcci::Link> link) {
  Capture* const capture = process_capture();
  if (capture == nullptr) return link;
  return std::make_unique<CaptureLink>(std::move(link), *capture);
}

void note(const std::string& line) {
  if (Capture* const capture = process_capture()) capture->note(line);
}

void note_formatted(const char* format, va_list arguments) {
  Capture* const capture = process_capture();
  char* text = nullptr;
  if (capture == nullptr || ::vasprintf(&text, format, arguments) < 0) return;
  capture->note(text);
  std::free(text);
}

}  // namespace traffic

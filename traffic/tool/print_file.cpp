#include <cstdio>

#include "commands.h"
#include "frames.h"

namespace traffic {
namespace {

// False when standard output takes no more.
bool write_out(const std::string& text) {
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
}

}  // namespace

int print_file(const std::string& path, const PrintOptions& options, bool follow) {
  FrameFile file;
  if (!file.open(path)) return file.status();
  if (follow) file.follow([] { std::fflush(stdout); });
  Printer printer(options);
  Frame frame;
  uint64_t section = 0;
  while (file.next(&frame)) {
    const Reader& reader = file.reader();
    if (reader.sections() != section && !write_out("# " + reader.section_comment() + "\n")) break;
    section = reader.sections();
    if (!write_out(printer.lines(frame))) break;
  }
  return file.status();
}

}  // namespace traffic

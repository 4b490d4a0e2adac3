#include "commands.h"
#include "frames.h"
#include "new_file.h"
#include "traffic/report/report.h"

namespace traffic {

int report_file(const std::string& path, const std::string& output) {
  FrameFile file;
  if (!file.open(path)) return file.status();
  NewFile page(output);
  if (!page) return page.failed();
  Report report(path == "-" ? "standard input" : path.substr(path.rfind('/') + 1));
  const bool read = read_all(
      file,
      [&](const Reader& reader) { return page.write(report.section(reader.section_comment())); },
      [&](const Frame& frame) { return page.write(report.frame(frame)); });
  // Nothing could be read.
  if (file.status() != 0 && file.reader().sections() == 0) return file.status();
  if (!read || !page.write(report.end(file.reader().what())) || !page.keep()) return page.failed();
  if (report.left_out() != 0) {
    say(output + ": has the first " + std::to_string(Report::kMostEvents) +
        " messages and notes; " + std::to_string(report.left_out()) + " more are left out");
  }
  return file.status();
}

}  // namespace traffic

#include <cinttypes>
#include <cstdio>

#include "commands.h"
#include "frames.h"
#include "new_file.h"
#include "traffic/redact/redactor.h"

namespace traffic {
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
  if (!copy) return copy.failed();
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
  if (!written) return copy.failed();
  for (const auto& [kind, count] : redactor.counts()) {
    std::printf("%-32s %" PRIu64 "\n", kind.c_str(), count);
  }
  return file.status();
}

}  // namespace traffic

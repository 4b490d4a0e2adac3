// The part of pcapng that captures have: sections, interfaces and packets, and of their options
// the comments and the direction. (draft-ietf-opsawg-pcapng; the numbers are the draft's.)
//
// A library was looked for: Debian has libpcap, which writes no pcapng and reads no comments, and
// libwiretap, which has no stable interface. What is needed is three kinds of blocks.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "traffic/file/frame.h"

namespace traffic {

// What a section, and so a file, begins with. It reads the same in both byte orders.
inline constexpr uint32_t kSectionBlock = 0x0A0D0D0A;

// The blocks that a run of a program begins with: a section, which may follow another one in the
// same file, and its interface. `comment`: of the section, for a person; may be empty.
[[nodiscard]] std::string section_of(std::string_view program, std::string_view comment);
// `octets`: the datagram. A comment may be empty.
[[nodiscard]] std::string packet_of(const FrameHead& head, std::span<const uint8_t> octets,
                                    std::span<const std::string> comments);

// Reads the frames of a file, one after the other, in constant memory.
//
// Threads: one.
class Reader {
 public:
  enum class [[nodiscard]] Result{
      kFrame, kEnd,
      kTorn,  // the file ends within a block, as when its writer was killed; all before was read
      kBad,   // this and what follows cannot be read; what() says why
  };

  Reader() = default;
  // False, and errno, when the file cannot be opened. "-" is standard input.
  [[nodiscard]] bool open(const std::string& path);

  // Packets of other link types and of other dissectors are skipped and counted.
  Result next(Frame* frame);
  // After kTorn, which may be a block that is being written: the next call tries it again.
  [[nodiscard]] const std::string& what() const { return what_; }
  // Of packets that were no frames.
  [[nodiscard]] uint64_t skipped() const { return skipped_; }
  // How many sections there were so far, and of the last one its program and comment.
  [[nodiscard]] uint64_t sections() const { return sections_; }
  [[nodiscard]] const std::string& section_program() const { return section_program_; }
  [[nodiscard]] const std::string& section_comment() const { return section_comment_; }

 private:
  struct Interface {
    uint16_t link_type = 0;
    uint64_t ticks_per_second = 1000000;
  };
  struct Block;
  struct Closer {
    void operator()(std::FILE* file) const {
      if (file != stdin) std::fclose(file);
    }
  };

  [[nodiscard]] Result read_block(Block* block);
  Result bad(const std::string& what);
  void begin_section(const Block& block);
  void add_interface(const Block& block);
  [[nodiscard]] bool take_packet(const Block& block, Frame* frame);

  std::unique_ptr<std::FILE, Closer> file_;
  uint64_t at_ = 0;  // of the next block
  bool in_section_ = false;
  bool swapped_ = false;  // the section has the other byte order
  std::vector<Interface> interfaces_;
  uint64_t sections_ = 0;
  std::string section_program_;
  std::string section_comment_;
  std::string what_;
  uint64_t skipped_ = 0;
  std::vector<uint8_t> block_;
};

}  // namespace traffic

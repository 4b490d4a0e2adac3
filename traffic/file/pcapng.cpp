#include "traffic/file/pcapng.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace traffic {
namespace {

enum BlockType : uint32_t {
  kSection = kSectionBlock,
  kInterface = 1,
  kPacket = 6,
};
constexpr uint32_t kByteOrder = 0x1A2B3C4D;
constexpr uint16_t kUpperPdu = 252;
enum Option : uint16_t {
  kEnd = 0,
  kComment = 1,
  kName = 2,         // of an interface
  kFlags = 2,        // of a packet
  kResolution = 9,   // of an interface
  kApplication = 4,  // of a section
};
constexpr uint8_t kNanoseconds = 9;
constexpr uint32_t kInbound = 1, kOutbound = 2;
// Tags of the upper PDU's head, big-endian.
constexpr uint16_t kDissectorName = 12;
constexpr std::string_view kDissector = "vexqmi";

// Octets. A frame has at most 64 KiB and its comments; a block that says more is no capture of ours
// and is not worth the memory.
constexpr uint32_t kLargestBlock = 16u << 20;
constexpr uint32_t kSmallestBlock = 12;
constexpr size_t kPacketHead = 20;

class Block {
 public:
  // `octets`: about how many it will have.
  explicit Block(uint32_t type, size_t octets = 0) {
    constexpr size_t kOptions = 64;
    octets_.reserve(octets + kOptions);
    number(type);
    number(uint32_t{0});
  }
  template <class T>
  void number(T value) {
    octets_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void append(std::string_view octets) { octets_ += octets; }
  void padded(std::string_view octets) {
    append(octets);
    octets_.append((4 - octets_.size() % 4) % 4, '\0');
  }
  void option(Option code, std::string_view value) {
    value = value.substr(0, UINT16_MAX);
    number(static_cast<uint16_t>(code));
    number(static_cast<uint16_t>(value.size()));
    padded(value);
  }
  std::string end() {
    number(uint32_t{kEnd});
    const uint32_t length = static_cast<uint32_t>(octets_.size()) + 4;
    std::memcpy(octets_.data() + 4, &length, sizeof length);
    number(length);
    return std::move(octets_);
  }

 private:
  std::string octets_;
};

// The tags before a frame: the dissector's name, and the end.
constexpr auto kTags = [] {
  constexpr size_t kPadded = (kDissector.size() + 3) / 4 * 4;
  std::array<char, 4 + kPadded + 4> tags{};
  tags[1] = kDissectorName;
  tags[3] = kPadded;
  std::copy(kDissector.begin(), kDissector.end(), tags.begin() + 4);
  return tags;
}();

template <class Octets>
std::string_view characters(const Octets& octets) {
  return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

}  // namespace

std::string section_of(std::string_view program, std::string_view comment) {
  Block section(kSection);
  section.number(kByteOrder);
  section.number(uint16_t{1});
  section.number(uint16_t{0});
  section.number(int64_t{-1});
  if (!comment.empty()) section.option(kComment, comment);
  section.option(kApplication, program);
  Block interface(kInterface);
  interface.number(kUpperPdu);
  interface.number(uint16_t{0});
  interface.number(uint32_t{0});
  interface.option(kName, "qmi");
  interface.option(kResolution, std::string_view(reinterpret_cast<const char*>(&kNanoseconds), 1));
  return section.end() + interface.end();
}

std::string packet_of(const FrameHead& head, std::span<const uint8_t> octets,
                      std::span<const std::string> comments) {
  const auto time = static_cast<uint64_t>(head.time_ns);
  const auto length = static_cast<uint32_t>(kTags.size() + kEncodedHead + octets.size());
  Block packet(kPacket, kPacketHead + length);
  packet.number(uint32_t{0});  // the interface
  packet.number(static_cast<uint32_t>(time >> 32));
  packet.number(static_cast<uint32_t>(time));
  packet.number(length);
  packet.number(length);
  packet.append(characters(kTags));
  packet.append(characters(encode(head)));
  packet.padded(characters(octets));
  for (const std::string& comment : comments) {
    if (!comment.empty()) packet.option(kComment, comment);
  }
  const uint32_t flags = head.to_client ? kInbound : kOutbound;
  packet.option(kFlags, std::string_view(reinterpret_cast<const char*>(&flags), sizeof flags));
  return packet.end();
}

// A block that was read, without its type and lengths; numbers are in the section's byte order.
struct Reader::Block {
  uint32_t type = 0;
  std::span<const uint8_t> body;
  bool swapped = false;

  // Zero beyond the end.
  template <class T>
  T number(size_t at) const {
    T value = 0;
    if (at > body.size() || sizeof value > body.size() - at) return value;
    std::memcpy(&value, body.data() + at, sizeof value);
    if (swapped) {
      auto* const first = reinterpret_cast<uint8_t*>(&value);
      std::reverse(first, first + sizeof value);
    }
    return value;
  }

  // Calls `each` for every option from `at` on, up to the first that is cut.
  template <class Each>
  void options(size_t at, Each each) const {
    while (at + 4 <= body.size()) {
      const auto code = number<uint16_t>(at), length = number<uint16_t>(at + 2);
      at += 4;
      if (code == kEnd || length > body.size() - at) return;
      each(code, body.subspan(at, length));
      at += (size_t{length} + 3) / 4 * 4;
    }
  }
};

bool Reader::open(const std::string& path) {
  file_.reset(path == "-" ? stdin : std::fopen(path.c_str(), "rbe"));
  return file_ != nullptr;
}

Reader::Result Reader::bad(const std::string& what) {
  what_ = "at octet " + std::to_string(at_) + ": " + what;
  return Result::kBad;
}

Reader::Result Reader::read_block(Block* block) {
  uint8_t head[12] = {};
  std::clearerr(file_.get());
  const size_t got = std::fread(head, 1, sizeof head, file_.get());
  const auto torn = [&] {
    if (file_.get() != stdin) std::fseek(file_.get(), static_cast<long>(at_), SEEK_SET);
    what_ = "at octet " + std::to_string(at_) + ": the file ends within a block";
    return Result::kTorn;
  };
  if (got == 0) return Result::kEnd;
  std::memcpy(&block->type, head, 4);
  if (!in_section_ && got >= 4 && block->type != kSection) return bad("not a pcapng file");
  if (got < sizeof head) return torn();
  if (block->type == kSection) {
    uint32_t order = 0;
    std::memcpy(&order, head + 8, sizeof order);
    if (order != kByteOrder && order != __builtin_bswap32(kByteOrder)) {
      return bad("not a pcapng file");
    }
    swapped_ = order != kByteOrder;
    in_section_ = true;
  }
  block->swapped = swapped_;
  block->body = head;
  block->type = block->number<uint32_t>(0);
  const auto length = block->number<uint32_t>(4);
  if (length < kSmallestBlock || length % 4 != 0 || length > kLargestBlock) {
    return bad("a block says that it has " + std::to_string(length) + " octets");
  }
  block_.assign(head + 8, head + sizeof head);
  block_.resize(length - 8);
  const size_t rest = length - sizeof head;
  if (std::fread(block_.data() + 4, 1, rest, file_.get()) < rest) return torn();
  block->body = block_;
  if (block->number<uint32_t>(block_.size() - 4) != length) {
    return bad("a block's two lengths differ");
  }
  block->body = block->body.first(block_.size() - 4);
  at_ += length;
  return Result::kFrame;
}

void Reader::begin_section(const Block& block) {
  interfaces_.clear();
  section_comment_.clear();
  section_program_.clear();
  ++sections_;
  block.options(16, [this](uint16_t code, std::span<const uint8_t> value) {
    if (code == kComment) section_comment_.assign(value.begin(), value.end());
    if (code == kApplication) section_program_.assign(value.begin(), value.end());
  });
}

void Reader::add_interface(const Block& block) {
  Interface interface { .link_type = block.number<uint16_t>(0) };
  block.options(8, [&](uint16_t code, std::span<const uint8_t> value) {
    if (code != kResolution || value.empty()) return;
    const unsigned power = value[0] & 0x7F;
    // More than 64 bits have is nobody's resolution; such times are as good as none.
    interface.ticks_per_second = (value[0] & 0x80) != 0
                                     ? uint64_t{1} << std::min(power, 63u)
                                     : static_cast<uint64_t>(std::pow(10.0, std::min(power, 18u)));
  });
  interfaces_.push_back(interface);
}

bool Reader::take_packet(const Block& block, Frame* frame) {
  const auto interface = block.number<uint32_t>(0);
  const auto captured = block.number<uint32_t>(12);
  if (interface >= interfaces_.size() || interfaces_[interface].link_type != kUpperPdu ||
      block.body.size() < kPacketHead || captured > block.body.size() - kPacketHead) {
    return false;
  }
  std::span<const uint8_t> pdu = block.body.subspan(kPacketHead, captured);
  bool ours = false;
  for (bool head = true; head;) {
    if (pdu.size() < 4) return false;
    const auto tag = static_cast<unsigned>(pdu[0] << 8 | pdu[1]);
    const auto length = static_cast<size_t>(pdu[2] << 8 | pdu[3]);
    pdu = pdu.subspan(4);
    if (length > pdu.size()) return false;
    const std::string_view value(reinterpret_cast<const char*>(pdu.data()), length);
    if (tag == kDissectorName) ours = value.substr(0, value.find('\0')) == kDissector;
    pdu = pdu.subspan(length);
    head = tag != kEnd;
  }
  if (!ours || !decode(pdu, frame)) return false;
  const uint64_t ticks = uint64_t{block.number<uint32_t>(4)} << 32 | block.number<uint32_t>(8);
  const uint64_t per_second = interfaces_[interface].ticks_per_second;
  __extension__ using Wide = unsigned __int128;
  frame->time_ns = static_cast<int64_t>(Wide{ticks} * 1000000000 / per_second);
  frame->to_client = false;
  frame->comments.clear();
  block.options(kPacketHead + (size_t{captured} + 3) / 4 * 4,
                [&](uint16_t code, std::span<const uint8_t> value) {
                  if (code == kComment) frame->comments.emplace_back(value.begin(), value.end());
                  if (code == kFlags && !value.empty()) {
                    // Its lowest two bits, in the first octet or the last by the byte order.
                    const uint8_t flags = block.swapped ? value.back() : value.front();
                    frame->to_client = (flags & 3) == kInbound;
                  }
                });
  return true;
}

Reader::Result Reader::next(Frame* frame) {
  for (;;) {
    Block block;
    const Result result = read_block(&block);
    if (result != Result::kFrame) return result;
    if (block.type == kSection) begin_section(block);
    if (block.type == kInterface) add_interface(block);
    if (block.type != kPacket) continue;
    if (take_packet(block, frame)) return Result::kFrame;
    ++skipped_;
  }
}

}  // namespace traffic

#include "qcci/idl/codec.h"

#include <algorithm>
#include <cstring>

namespace qcci::idl {
namespace {

constexpr size_t kTlvHeader = 3;

uint64_t load(const uint8_t* from, size_t width) {
  uint64_t v = 0;
  std::memcpy(&v, from, width);
  return v;
}

void store(uint8_t* to, uint64_t v, size_t width) { std::memcpy(to, &v, width); }

// Appends to a span; refuses what does not fit.
class Writer {
 public:
  explicit Writer(std::span<uint8_t> out) : out_(out) {}

  bool put(const void* from, size_t n) {
    if (n > out_.size() - at_) return false;
    std::memcpy(out_.data() + at_, from, n);
    at_ += n;
    return true;
  }
  bool number(uint64_t v, size_t width) { return put(&v, width); }
  void patch(size_t at, uint64_t v, size_t width) { store(out_.data() + at, v, width); }
  size_t at() const { return at_; }

 private:
  std::span<uint8_t> out_;
  size_t at_ = 0;
};

CodecError encode_elements(const Element* elements, size_t count, const uint8_t* c, Writer& out);

CodecError encode_items(const Element& e, const uint8_t* c, size_t items, Writer& out) {
  const uint8_t* item = c + e.offset;
  if (e.record_count == 0 && e.wire_width == e.stride) {
    return out.put(item, items * e.stride) ? CodecError::kOk : CodecError::kNoRoom;
  }
  for (size_t i = 0; i < items; ++i, item += e.stride) {
    if (e.record_count != 0) {
      const CodecError error = encode_elements(e.record, e.record_count, item, out);
      if (error != CodecError::kOk) return error;
      continue;
    }
    const uint64_t v = load(item, e.stride);
    if (v >> (8 * e.wire_width) != 0) return CodecError::kValueTooLarge;
    if (!out.number(v, e.wire_width)) return CodecError::kNoRoom;
  }
  return CodecError::kOk;
}

CodecError encode_elements(const Element* elements, size_t count, const uint8_t* c, Writer& out) {
  for (const Element* e = elements; e != elements + count; ++e) {
    size_t items = e->max;
    if (e->shape == Shape::kCounted) items = load(c + e->count_offset, 4);
    if (e->shape == Shape::kText) {
      items = strnlen(reinterpret_cast<const char*>(c) + e->offset, e->max + 1);
    }
    if (items > e->max) return CodecError::kCountTooLarge;
    if (e->count_width != 0 && !out.number(items, e->count_width)) return CodecError::kNoRoom;
    const CodecError error = encode_items(*e, c, items, out);
    if (error != CodecError::kOk) return error;
  }
  return CodecError::kOk;
}

// Reads one TLV's value, and nothing beyond it.
class Reader {
 public:
  explicit Reader(std::span<const uint8_t> in) : in_(in) {}

  bool take(size_t n, const uint8_t** from) {
    if (n > in_.size()) return false;
    *from = in_.data();
    in_ = in_.subspan(n);
    return true;
  }
  bool empty() const { return in_.empty(); }

 private:
  std::span<const uint8_t> in_;
};

CodecError decode_elements(const Element* elements, size_t count, Reader& in, uint8_t* c) {
  for (const Element* e = elements; e != elements + count; ++e) {
    const uint8_t* from = nullptr;
    size_t items = e->max;
    if (e->count_width != 0) {
      if (!in.take(e->count_width, &from)) return CodecError::kTooShort;
      items = load(from, e->count_width);
      if (items > e->max && !e->truncating) return CodecError::kCountTooLarge;
      if (e->shape == Shape::kCounted) store(c + e->count_offset, items, 4);
    }
    uint8_t* item = c + e->offset;
    if (e->record_count == 0 && e->wire_width == e->stride) {
      if (!in.take(items * e->stride, &from)) return CodecError::kTooShort;
      std::memcpy(item, from, std::min<size_t>(items, e->max) * e->stride);
      continue;
    }
    for (size_t i = 0; i < items; ++i, item += e->stride) {
      if (e->record_count != 0) {
        const CodecError error = decode_elements(e->record, e->record_count, in, item);
        if (error != CodecError::kOk) return error;
        continue;
      }
      if (!in.take(e->wire_width, &from)) return CodecError::kTooShort;
      store(item, load(from, e->wire_width), e->stride);
    }
  }
  return CodecError::kOk;
}

}  // namespace

const char* codec_error_text(CodecError error) {
  static constexpr struct {
    CodecError error;
    const char* text;
  } kTexts[] = {
      {CodecError::kOk, "ok"},
      {CodecError::kWrongStructSize, "wrong structure size"},
      {CodecError::kNoRoom, "no room"},
      {CodecError::kCountTooLarge, "count too large"},
      {CodecError::kValueTooLarge, "value too large for its wire width"},
      {CodecError::kCutHeader, "cut TLV header"},
      {CodecError::kBeyondMessage, "TLV beyond the message"},
      {CodecError::kTooShort, "TLV too short"},
      {CodecError::kTooLong, "TLV too long"},
      {CodecError::kDuplicate, "duplicate TLV"},
      {CodecError::kMissingMandatory, "mandatory TLV missing"},
      {CodecError::kUnknownMandatory, "unknown mandatory TLV"},
  };
  const auto* const row = std::ranges::find(kTexts, error, [](const auto& r) { return r.error; });
  return row != std::end(kTexts) ? row->text : "?";
}

Encoded encode(const Message& message, const void* c, size_t c_size, std::span<uint8_t> out) {
  if (c_size != message.c_size || (c == nullptr && c_size != 0)) {
    return {CodecError::kWrongStructSize, 0};
  }
  const auto* octets = static_cast<const uint8_t*>(c);
  Writer writer(out);
  for (const Tlv& tlv : std::span(message.tlvs, message.tlv_count)) {
    if (tlv.is_optional && octets[tlv.flag_offset] == 0) continue;
    const size_t header = writer.at();
    if (!writer.number(tlv.type, 1) || !writer.number(0, 2)) return {CodecError::kNoRoom, 0};
    const CodecError error = encode_elements(tlv.elements, tlv.count, octets, writer);
    if (error != CodecError::kOk) return {error, 0};
    const size_t length = writer.at() - header - kTlvHeader;
    if (length > UINT16_MAX) return {CodecError::kNoRoom, 0};
    writer.patch(header + 1, length, 2);
  }
  return {CodecError::kOk, writer.at()};
}

CodecError decode(const Message& message, std::span<const uint8_t> wire, void* c, size_t c_size) {
  if (c_size != message.c_size || (c == nullptr && c_size != 0)) {
    return CodecError::kWrongStructSize;
  }
  auto* octets = static_cast<uint8_t*>(c);
  if (c_size != 0) std::memset(octets, 0, c_size);
  const std::span<const Tlv> rows(message.tlvs, message.tlv_count);
  uint64_t seen = 0;
  while (!wire.empty()) {
    if (wire.size() < kTlvHeader) return CodecError::kCutHeader;
    const uint8_t type = wire[0];
    const size_t length = load(wire.data() + 1, 2);
    if (length > wire.size() - kTlvHeader) return CodecError::kBeyondMessage;
    const auto value = wire.subspan(kTlvHeader, length);
    wire = wire.subspan(kTlvHeader + length);

    size_t i = 0;
    while (i < rows.size() && rows[i].type != type) ++i;
    if (i == rows.size()) {
      if (type < 0x10) return CodecError::kUnknownMandatory;
      continue;
    }
    if ((seen >> i & 1) != 0) return CodecError::kDuplicate;
    seen |= uint64_t{1} << i;
    Reader reader(value);
    const CodecError error = decode_elements(rows[i].elements, rows[i].count, reader, octets);
    if (error != CodecError::kOk) return error;
    if (!reader.empty()) return CodecError::kTooLong;
    if (rows[i].is_optional) octets[rows[i].flag_offset] = 1;
  }
  for (size_t i = 0; i < rows.size(); ++i) {
    if (!rows[i].is_optional && (seen >> i & 1) == 0) return CodecError::kMissingMandatory;
  }
  return CodecError::kOk;
}

}  // namespace qcci::idl

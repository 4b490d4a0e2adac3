#include "sim/control/indication.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "qcci/wire/octets.h"

namespace sim {
namespace {

using qcci::idl::Element;
using qcci::idl::Shape;

void set_count(const Element& e, uint8_t* c, size_t count) {
  if (e.shape != Shape::kCounted) return;
  uint32_t before = 0;
  std::memcpy(&before, c + e.count_offset, sizeof before);
  const uint32_t now = std::max(before, static_cast<uint32_t>(count));
  std::memcpy(c + e.count_offset, &now, sizeof now);
}

bool put_number(const Element& e, std::string_view text, uint8_t* to) {
  const bool minus = text.starts_with('-');
  const size_t sign = minus ? 1 : 0;
  const bool hex = text.substr(sign).starts_with("0x");
  const char* const end = text.data() + text.size();
  uint64_t value = 0;
  const auto read = std::from_chars(text.data() + sign + (hex ? 2 : 0), end, value, hex ? 16 : 10);
  if (read.ec != std::errc() || read.ptr != end || (minus && !e.is_signed)) return false;
  const uint64_t most = UINT64_MAX >> (64 - 8 * e.wire_width + (e.is_signed ? 1 : 0));
  if (value > most + (minus ? 1 : 0)) return false;
  if (minus) value = 0 - value;
  std::memcpy(to, &value, e.stride);
  return true;
}

bool put_octets(const Element& e, std::span<const uint8_t> octets, uint8_t* c) {
  const bool all = e.shape == Shape::kValue;
  if (octets.size() > e.max || (all && octets.size() != e.max)) return false;
  std::ranges::copy(octets, c + e.offset);
  set_count(e, c, octets.size());
  return true;
}

// The value at `path`, which begins behind the element's name.
bool put(const Element& e, std::string_view path, std::string_view value, uint8_t* c);

bool put_in(std::span<const Element> elements, std::string_view path, std::string_view value,
            uint8_t* c) {
  const std::string_view name = path.substr(0, path.find_first_of(".["));
  const auto found =
      std::ranges::find(elements, name, [](const Element& e) { return std::string_view(e.name); });
  return found != elements.end() && put(*found, path.substr(name.size()), value, c);
}

bool put(const Element& e, std::string_view path, std::string_view value, uint8_t* c) {
  size_t index = 0;
  const bool one = e.shape == Shape::kValue && e.max == 1;
  if (path.starts_with('[')) {
    const auto read = std::from_chars(path.data() + 1, path.data() + path.size(), index);
    if (one || read.ec != std::errc() || index >= e.max || e.shape == Shape::kText) return false;
    path.remove_prefix(static_cast<size_t>(read.ptr - path.data()));
    if (!path.starts_with(']')) return false;
    path.remove_prefix(1);
  } else if (e.shape == Shape::kText) {
    if (!path.empty() || value.size() > e.max) return false;
    std::ranges::copy(value, c + e.offset);
    return true;
  } else if (!one) {
    const auto octets = qcci::from_hex(std::string(value));
    const bool plain = path.empty() && e.record_count == 0 && e.stride == 1;
    return plain && octets && put_octets(e, *octets, c);
  }
  uint8_t* const item = c + e.offset + index * e.stride;
  set_count(e, c, index + 1);
  if (e.record_count == 0) return path.empty() && put_number(e, value, item);
  return path.starts_with('.') && put_in({e.record, e.record_count}, path.substr(1), value, item);
}

bool put_field(const qcci::idl::Message& message, const FieldText& field, uint8_t* c) {
  for (const qcci::idl::Tlv& tlv : std::span(message.tlvs, message.tlv_count)) {
    if (!put_in({tlv.elements, tlv.count}, field.name, field.value, c)) continue;
    if (tlv.is_optional) c[tlv.flag_offset] = 1;
    return true;
  }
  return false;
}

}  // namespace

bool fill(const qcci::idl::Message& message, std::span<const FieldText> fields,
          std::vector<uint8_t>* c, std::string* why) {
  c->assign(message.c_size, 0);
  for (const FieldText& field : fields) {
    if (put_field(message, field, c->data())) continue;
    *why = field.name + "=" + field.value + ": the message has no such field, or not that value";
    return false;
  }
  return true;
}

}  // namespace sim

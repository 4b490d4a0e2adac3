#include "qcci/idl/fields.h"

#include <algorithm>
#include <cstring>

namespace qcci::idl {
namespace {

uint64_t load(const uint8_t* from, size_t width) {
  uint64_t value = 0;
  std::memcpy(&value, from, width);
  return value;
}

int64_t load_signed(const uint8_t* from, size_t width) {
  const size_t above = 64 - 8 * width;
  return static_cast<int64_t>(load(from, width) << above) >> above;
}

void visit_elements(std::span<const Element> elements, uint8_t* c, FieldVisitor& visitor);

void visit_item(const Element& e, const char* name, uint8_t* item, FieldVisitor& visitor) {
  if (e.record_count == 0) {
    const uint64_t value =
        e.is_signed ? static_cast<uint64_t>(load_signed(item, e.stride)) : load(item, e.stride);
    visitor.number(name, value, e.is_signed);
    return;
  }
  visitor.begin_record(name);
  visit_elements({e.record, e.record_count}, item, visitor);
  visitor.end_record();
}

void visit_element(const Element& e, uint8_t* c, FieldVisitor& visitor) {
  uint8_t* const first = c + e.offset;
  if (e.shape == Shape::kText) {
    auto* const text = reinterpret_cast<char*>(first);
    visitor.text(e.name, {text, strnlen(text, e.max)});
    return;
  }
  if (e.shape == Shape::kValue && e.max == 1) {
    visit_item(e, e.name, first, visitor);
    return;
  }
  const size_t count = e.shape == Shape::kCounted ? load(c + e.count_offset, 4) : e.max;
  const size_t kept = std::min<size_t>(count, e.max);
  if (e.record_count == 0 && e.stride == 1) {
    visitor.octets(e.name, {first, kept}, count);
    return;
  }
  visitor.begin_array(e.name, count);
  for (size_t i = 0; i < kept; ++i) {
    visitor.item(i);
    visit_item(e, "", first + i * e.stride, visitor);
  }
  visitor.end_array();
}

void visit_elements(std::span<const Element> elements, uint8_t* c, FieldVisitor& visitor) {
  for (const Element& e : elements) visit_element(e, c, visitor);
}

}  // namespace

void visit(const Message& message, void* c, FieldVisitor& visitor) {
  auto* const octets = static_cast<uint8_t*>(c);
  for (const Tlv& tlv : std::span(message.tlvs, message.tlv_count)) {
    if (tlv.is_optional && octets[tlv.flag_offset] == 0) continue;
    visitor.tlv(tlv.type);
    visit_elements({tlv.elements, tlv.count}, octets, visitor);
  }
}

}  // namespace qcci::idl

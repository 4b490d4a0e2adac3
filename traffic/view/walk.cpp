#include "traffic/view/walk.h"

#include <charconv>
#include <cstring>

#include "traffic/view/names.h"
#include "vireo/records/layouts.h"

namespace traffic {
namespace {

// Follows the rows, and says for each value where it stands.
class Walker final : public qcci::idl::FieldVisitor {
 public:
  Walker(Decoded& decoded, Visitor& visitor) : decoded_(decoded), visitor_(visitor) {}

  void number(const char* name, uint64_t value, bool is_signed) override {
    if (std::strcmp(name, "id") == 0) id_ = value;
    give(name, {.bits = value, .is_signed = is_signed, .meaning = nullptr, .failure = false});
  }
  void octets(const char* name, std::span<uint8_t> octets, size_t count) override {
    if (around_.empty() && !decoded_.payload.empty() && std::strcmp(name, "data") == 0) {
      walk_payload(name);
    } else if (const auto layout = record_layout(name); !layout.empty() && !octets.empty()) {
      walk_record(name, layout, octets, count);
    } else {
      visitor_.octets(name, octets, count);
    }
  }
  void text(const char* name, std::span<char> text) override {
    visitor_.text(name, {text.data(), text.size()});
  }
  void begin_array(const char* name, size_t count) override {
    around_.push_back(name);
    visitor_.begin_array(name, count);
  }
  void item(size_t /*index*/) override {}
  void end_array() override {
    around_.pop_back();
    visitor_.end_array();
  }
  void begin_record(const char* name) override {
    // An item's record is known by its array's name.
    around_.push_back(*name == '\0' && !around_.empty() ? around_.back() : name);
    visitor_.begin_record(name);
  }
  void end_record() override {
    around_.pop_back();
    visitor_.end_record();
  }

 private:
  Place place(const char* name) const {
    return {.service = decoded_.service->id,
            .type = decoded_.header.type,
            .around = around_.empty() ? "" : around_.back(),
            .name = name};
  }

  void give(const char* name, Number number) {
    const Place here = place(name);
    const auto value = static_cast<int64_t>(number.bits);
    const Names names = names_at(here);
    if (!names.empty()) {
      number.meaning = name_of(names, value);
      number.failure = is_failure(here, value);
    }
    visitor_.number(name, number);
  }

  void walk_payload(const char* name) {
    const std::span<const uint8_t> payload = vendor_payload(decoded_);
    begin_record(name);
    for (const PayloadField& field : decoded_.payload) {
      if (field.offset < payload.size()) give_field(field, payload);
    }
    end_record();
  }

  void give_field(const PayloadField& field, std::span<const uint8_t> payload) {
    const size_t items = items_in(field, payload);
    const auto octets = payload.subspan(field.offset, items * field.width);
    switch (field.shape) {
      case FieldShape::kNumber:
        if (items != 0) give(field.name, payload_number(field, payload, field.offset));
        return;
      case FieldShape::kOctets:
        visitor_.octets(field.name, octets, items);
        return;
      case FieldShape::kText:
        visitor_.text(field.name, {reinterpret_cast<const char*>(octets.data()), octets.size()});
        return;
      case FieldShape::kNumbers:
        begin_array(field.name, items);
        for (size_t i = 0; i < items; ++i) {
          give("", payload_number(field, payload, field.offset + i * field.width));
        }
        end_array();
    }
  }

  // Of the octets of that name; none when they are no statistics record.
  std::span<const vireo::Field> record_layout(const char* name) const {
    if (!is_record(place(name))) return {};
    return vireo::layout_of(static_cast<uint32_t>(id_));
  }

  void walk_record(const char* name, std::span<const vireo::Field> layout,
                   std::span<const uint8_t> octets, size_t count) {
    begin_record(name);
    for (const vireo::Field& field : layout) {
      if (octets.size() < field.width) break;
      give_record_field(field, octets);
      octets = octets.subspan(field.width);
      count -= field.width;
    }
    if (count != 0) visitor_.octets("rest", octets, count);
    end_record();
  }

  void give_record_field(const vireo::Field& field, std::span<const uint8_t> octets) {
    if (field.type == vireo::FieldType::kDecimal) {
      float value = 0;
      std::memcpy(&value, octets.data(), sizeof value);
      visitor_.decimal(field.name, value);
    } else {
      give(field.name, number_in(octets, 0, field.width, field.type == vireo::FieldType::kSigned));
    }
  }

  static Number number_in(std::span<const uint8_t> octets, size_t at, size_t width,
                          bool is_signed) {
    Number number;
    number.bits = number_at(octets, at, width);
    number.is_signed = is_signed;
    const unsigned unused = 64 - 8u * static_cast<unsigned>(width);
    if (is_signed) {
      number.bits = static_cast<uint64_t>(static_cast<int64_t>(number.bits << unused) >> unused);
    }
    return number;
  }

  static Number payload_number(const PayloadField& field, std::span<const uint8_t> payload,
                               size_t at) {
    return number_in(payload, at, field.width, field.is_signed);
  }

  Decoded& decoded_;
  Visitor& visitor_;
  std::vector<const char*> around_;
  uint64_t id_ = 0;  // of the record that the next octets are
};

}  // namespace

std::string to_string(const Number& number) {
  return number.is_signed ? std::to_string(static_cast<int64_t>(number.bits))
                          : std::to_string(number.bits);
}

std::string to_string(float value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value).ptr;
  return {text, end};
}

void walk(Decoded& decoded, Visitor& visitor) {
  if (decoded.message == nullptr) return;
  Walker walker(decoded, visitor);
  qcci::idl::visit(*decoded.message, decoded.c.data(), walker);
}

}  // namespace traffic

// The values of a message, one after the other, with their names: for whatever prints, plots,
// compares or replaces them.
//
// Threads: any. Nothing is allocated but by the visitor.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "qcci/idl/element.h"

namespace qcci::idl {

// Names are those of the C structure's members. `count`: how many the sender says there are; only
// where the row keeps the first ones alone can it be more than come.
class FieldVisitor {
 public:
  virtual ~FieldVisitor() = default;

  // Before the values of a TLV, with its type.
  virtual void tlv(uint8_t /*type*/) {}
  // One number that is not part of an array; sign-extended when it is signed.
  virtual void number(const char* name, uint64_t value, bool is_signed) = 0;
  // An array of octets. They may be replaced.
  virtual void octets(const char* name, std::span<uint8_t> octets, size_t count) = 0;
  // Characters, without what ends them. They may be replaced.
  virtual void text(const char* name, std::span<char> text) = 0;
  // An array of wider numbers, or of records: `item` before each of them, from 0, then a number
  // without a name, or the values of the record.
  virtual void begin_array(const char* name, size_t count) = 0;
  virtual void item(size_t index) = 0;
  virtual void end_array() = 0;
  // A record.
  virtual void begin_record(const char* name) = 0;  // empty for an item of an array
  virtual void end_record() = 0;
};

// `c`: the message's C structure, as decode leaves it. Optional TLVs that are absent are left out.
void visit(const Message& message, void* c, FieldVisitor& visitor);

}  // namespace qcci::idl

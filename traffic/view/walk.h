// One walk over the values of a decoded message, with the names of those that have one: for what
// prints, compares, plots or replaces them.
#pragma once

#include <string>

#include "qcci/idl/fields.h"
#include "traffic/view/decoder.h"

namespace traffic {

struct Number {
  uint64_t bits = 0;  // sign-extended when is_signed
  bool is_signed = false;
  const char* meaning = nullptr;  // its name; null when it has none
  bool failure = false;           // it says that something failed
};
[[nodiscard]] std::string to_string(const Number& number);
// As few digits as tell it from every other.
[[nodiscard]] std::string to_string(float value);

// As qcci::idl::FieldVisitor, which see. The name of an item of an array is empty.
class Visitor {
 public:
  virtual ~Visitor() = default;
  virtual void number(const char* name, const Number& number) = 0;
  virtual void decimal(const char* name, float value) = 0;
  // `count`: how many there were, when not all have come.
  virtual void octets(const char* name, std::span<const uint8_t> octets, size_t count) = 0;
  virtual void text(const char* name, std::string_view text) = 0;
  virtual void begin_array(const char* name, size_t count) = 0;
  virtual void end_array() = 0;
  virtual void begin_record(const char* name) = 0;
  virtual void end_record() = 0;
};

// Nothing for a message whose values cannot be shown. The vendor service's octets are a record
// called "data" when its request is known, and so are those of a statistics record whose layout is
// known; what is behind or cuts its fields is called "rest".
void walk(Decoded& decoded, Visitor& visitor);

}  // namespace traffic

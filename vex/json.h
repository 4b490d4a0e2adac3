// One line of JSON, written as it comes: all that a record needs, and small enough for a phone.
#pragma once

#include <string>
#include <string_view>

namespace vex {

class JsonLine {
 public:
  void begin(char bracket) {
    separate();
    text_ += bracket;
    first_ = true;
  }
  void end(char bracket) {
    text_ += bracket;
    first_ = false;
  }
  void key(std::string_view name) {
    separate();
    string(name);
    text_ += ':';
    first_ = true;  // what follows is the value
  }
  // A number, or another value that is JSON already.
  void raw(std::string_view value) {
    separate();
    text_ += value;
  }
  // Octets that are no UTF-8 become U+FFFD.
  void string_value(std::string_view value) {
    separate();
    string(value);
  }

  const std::string& text() const { return text_; }

 private:
  void separate() {
    if (!first_) text_ += ',';
    first_ = false;
  }
  void string(std::string_view value);

  std::string text_;
  bool first_ = true;
};

}  // namespace vex

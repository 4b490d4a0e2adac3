// Reading of TOML tables, in which every key is known and every mistake has a line.
//
// Reading throws BadToml, which parse_phone_config catches. A Table refers to a table of the parsed
// text, which must outlast it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#define TOML_EXCEPTIONS 1
#define TOML_HEADER_ONLY 0  // toml_parser.cpp has the parser
#include <toml++/toml.h>

namespace sim {

// Thrown for a value that is not what its key takes, and for an unknown key: where it stands in the
// text, and a message that names the key.
struct BadToml {
  toml::source_region where;
  std::string what;
};

// A text that a key takes, and the number that it stands for.
struct Choice {
  const char* name = nullptr;
  int64_t value = 0;

  constexpr Choice() = default;
  template <class T>
  constexpr Choice(const char* n, T v) : name(n), value(static_cast<int64_t>(v)) {}
};

// A table that knows which of its keys have been read; the rest is an error. Values are read of
// keys that are there; keys outlive the table.
class Table {
 public:
  // `name`: as messages have it; empty for the text's top.
  Table(const toml::table& table, std::string name) : table_(table), name_(std::move(name)) {}

  // Whether the key is there; it counts as read from then on.
  [[nodiscard]] bool has(std::string_view key);
  // The names of all keys, read or not.
  std::vector<std::string_view> keys() const;
  [[nodiscard]] bool is_number(std::string_view key) const;
  // Values. Limits are inclusive; `most` of a text and of octets is a length in octets, `exactly`
  // a number of items. Each fails for a value of another type or beyond its limits.
  int64_t number(std::string_view key, int64_t least, int64_t most) const;
  bool flag(std::string_view key) const;
  std::string text(std::string_view key, size_t most) const;
  float decimal(std::string_view key) const;
  std::vector<float> decimals(std::string_view key, size_t exactly) const;
  std::vector<int64_t> numbers(std::string_view key, int64_t least, int64_t most) const;
  std::vector<std::string> texts(std::string_view key) const;
  std::vector<uint8_t> octets(std::string_view key, size_t most) const;
  // The value of the choice that the key names. `others`: what else the caller takes.
  int64_t choice(std::string_view key, std::span<const Choice> choices,
                 const char* others = "") const;
  // Empty when they are not there.
  Table table(std::string_view key);
  std::vector<Table> tables(std::string_view key);

  // Nothing else is read: what has not been is unknown.
  void done() const;
  // Throws BadToml at the key, or at the table for a key that is not there. `what` follows the key:
  // "must be true or false".
  [[noreturn]] void fail(std::string_view key, const std::string& what) const;
  // The table on one line, behind its place; the keys in alphabetical order.
  std::string written() const;

 private:
  const toml::array& list(std::string_view key, const std::string& what) const;
  float decimal_of(const toml::node& node, std::string_view key) const;
  std::string name_of(std::string_view key) const;  // as messages have it

  const toml::table& table_;
  std::string name_;
  std::vector<std::string_view> known_;
};

}  // namespace sim

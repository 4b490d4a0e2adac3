// Reading of TOML tables, in which every key is known and every mistake has a line.
#ifndef SIM_CONFIG_TOML_TABLE_H_
#define SIM_CONFIG_TOML_TABLE_H_

#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

#define TOML_EXCEPTIONS 1
#define TOML_HEADER_ONLY 0  // toml_table.cpp holds the parser, so that it is compiled once
#include <toml++/toml.h>

namespace sim {

// Thrown for a value that is not what its key takes.
struct BadToml {
  toml::source_region where;
  std::string what;
};

// A table that knows which of its keys have been read; the rest is an error. A key that is not
// there has its fallback.
class Table {
 public:
  // `name`: as messages have it; empty for the text's top.
  Table(const toml::table& table, std::string name) : table_(table), name_(std::move(name)) {}

  bool has(const std::string& key);
  std::vector<std::string> keys() const;
  bool is_number(const std::string& key);
  int64_t integer(const std::string& key, int64_t fallback, int64_t least, int64_t most);
  uint32_t number(const std::string& key, uint32_t fallback, uint32_t least, uint32_t most);
  bool flag(const std::string& key, bool fallback);
  std::string text(const std::string& key, const char* fallback, size_t most);
  float decimal(const std::string& key);                                // fallback: 0
  std::vector<float> decimals(const std::string& key, size_t exactly);  // fallback: zeros
  std::vector<int64_t> integers(const std::string& key, int64_t least, int64_t most);
  std::vector<std::string> texts(const std::string& key);
  std::vector<uint8_t> octets(const std::string& key, size_t most);
  template <class Number>
  std::vector<Number> numbers(const std::string& key) {
    const auto all = integers(key, 0, std::numeric_limits<Number>::max());
    return {all.begin(), all.end()};
  }
  // The value that stands beside the text. `others`: what else the caller takes.
  template <class T, size_t N>
  T one_of(const std::string& key, const char* fallback, const std::pair<const char*, T> (&rows)[N],
           const char* others = "") {
    const auto value =
        has(key) ? table_[key].template value_exact<std::string>() : std::string(fallback);
    std::string names;
    for (const auto& [name, result] : rows) {
      if (value == name) return result;
      names += std::string(names.empty() ? "" : ", ") + name;
    }
    fail(key, "must be one of " + names + others);
  }
  Table table(const std::string& key);
  std::vector<Table> tables(const std::string& key);

  // Nothing else is read: what has not been is unknown.
  void done() const;
  [[noreturn]] void fail(const std::string& key, const std::string& what) const;
  // A key without which the table says nothing.
  void need(const std::string& key);
  // The table on one line, behind its place; the keys in alphabetical order.
  std::string written() const;

 private:
  const toml::array& list(const std::string& key, const char* what) const;
  float decimal_of(const toml::node& node, const std::string& key) const;
  std::string name_of(const std::string& key) const;  // as messages have it

  const toml::table& table_;
  std::string name_;
  std::set<std::string> known_;
};

}  // namespace sim

#endif  // SIM_CONFIG_TOML_TABLE_H_

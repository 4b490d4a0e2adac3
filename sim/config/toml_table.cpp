#include "sim/config/toml_table.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "qcci/wire/octets.h"

namespace sim {

bool Table::has(std::string_view key) {
  known_.push_back(key);
  return table_.contains(key);
}

std::vector<std::string_view> Table::keys() const {
  std::vector<std::string_view> all;
  for (const auto& [key, node] : table_) all.push_back(key.str());
  return all;
}

bool Table::is_number(std::string_view key) const { return table_[key].is_integer(); }

int64_t Table::number(std::string_view key, int64_t least, int64_t most) const {
  const auto value = table_[key].value_exact<int64_t>();
  if (!value || *value < least || *value > most) {
    fail(key,
         "must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  }
  return *value;
}

bool Table::flag(std::string_view key) const {
  const auto value = table_[key].value_exact<bool>();
  if (!value) fail(key, "must be true or false");
  return *value;
}

std::string Table::text(std::string_view key, size_t most) const {
  const auto value = table_[key].value_exact<std::string>();
  if (!value || value->size() > most) {
    fail(key, "must be a text of at most " + std::to_string(most) + " octets");
  }
  return *value;
}

float Table::decimal(std::string_view key) const { return decimal_of(*table_.get(key), key); }

std::vector<float> Table::decimals(std::string_view key, size_t exactly) const {
  std::vector<float> all;
  for (const toml::node& node : list(key, "numbers")) all.push_back(decimal_of(node, key));
  if (all.size() != exactly) fail(key, "must be a list of " + std::to_string(exactly));
  return all;
}

std::vector<int64_t> Table::numbers(std::string_view key, int64_t least, int64_t most) const {
  std::vector<int64_t> all;
  for (const toml::node& node : list(key, "numbers")) {
    const auto value = node.value_exact<int64_t>();
    if (!value || *value < least || *value > most) {
      fail(key, "must be a list of whole numbers from " + std::to_string(least) + " to " +
                    std::to_string(most));
    }
    all.push_back(*value);
  }
  return all;
}

std::vector<uint8_t> Table::octets(std::string_view key, size_t most) const {
  const auto octets = qcci::from_hex(text(key, UINT16_MAX));
  if (!octets) fail(key, "must be octets in hex, like \"01 A0\"");
  if (octets->size() > most) fail(key, "has more than " + std::to_string(most) + " octets");
  return *octets;
}

std::vector<std::string> Table::texts(std::string_view key) const {
  std::vector<std::string> all;
  for (const toml::node& node : list(key, "texts")) {
    const auto value = node.value_exact<std::string>();
    if (!value) fail(key, "must be a list of texts");
    all.push_back(*value);
  }
  return all;
}

int64_t Table::choice(std::string_view key, std::span<const Choice> choices,
                      const char* others) const {
  const auto value = table_[key].value_exact<std::string>();
  std::string names;
  for (const Choice& one : choices) {
    if (value == one.name) return one.value;
    names += std::string(names.empty() ? "" : ", ") + one.name;
  }
  fail(key, "must be one of " + names + others);
}

Table Table::table(std::string_view key) {
  static const toml::table kNone;
  if (!has(key)) return {kNone, name_of(key)};
  const toml::table* found = table_[key].as_table();
  if (found == nullptr) fail(key, "must be a table");
  return {*found, name_of(key)};
}

std::vector<Table> Table::tables(std::string_view key) {
  std::vector<Table> all;
  if (!has(key)) return all;
  const std::string what = "tables, each under [[" + name_of(key) + "]]";
  for (const toml::node& node : list(key, what)) {
    if (!node.is_table()) fail(key, "must be a list of " + what);
    all.emplace_back(*node.as_table(), name_of(key));
  }
  return all;
}

void Table::done() const {
  for (const auto& [key, node] : table_) {
    if (std::ranges::find(known_, key.str()) == known_.end()) {
      throw BadToml{node.source(), (name_.empty() ? "" : name_ + ": ") + "unknown key \"" +
                                       std::string(key.str()) + "\""};
    }
  }
}

void Table::fail(std::string_view key, const std::string& what) const {
  const toml::node* node = table_.get(key);
  throw BadToml{node != nullptr ? node->source() : table_.source(), name_of(key) + " " + what};
}

std::string Table::written() const {
  std::ostringstream out;
  // A rule that was given to a running modem has no line.
  const auto line = table_.source().begin.line;
  out << (line != 0 ? "phone.toml:" + std::to_string(line) : "control") << ": "
      << toml::toml_formatter(table_, toml::format_flags::allow_hexadecimal_integers);
  std::string text = out.str();
  for (char& c : text) c = c == '\n' ? ' ' : c;
  return text;
}

std::string Table::name_of(std::string_view key) const {
  return (name_.empty() ? "" : name_ + ".") + std::string(key);
}

const toml::array& Table::list(std::string_view key, const std::string& what) const {
  const toml::array* array = table_[key].as_array();
  if (array == nullptr) fail(key, "must be a list of " + what);
  return *array;
}

// inf and nan are passed through: a modem reports them.
float Table::decimal_of(const toml::node& node, std::string_view key) const {
  const auto value = node.is_number() ? node.value<double>() : std::nullopt;
  if (!value) fail(key, "holds something that is not a number");
  if (std::isfinite(*value) && std::abs(*value) > std::numeric_limits<float>::max()) {
    fail(key, "holds a number that does not fit");
  }
  return static_cast<float>(*value);
}

}  // namespace sim

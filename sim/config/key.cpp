#include "sim/config/key.h"

#include <cstdio>

#include "qcci/services/services.h"

namespace sim {
namespace {

std::string range_text(const Range& range) {
  if (range.most >= INT32_MAX && range.least == 0) return "0 or more";
  if (range.most >= INT32_MAX) return "a whole number";
  std::string text = std::to_string(range.most);
  if (range.least != range.most) text = std::to_string(range.least) + " to " + text;
  return range.unit[0] == '\0' ? text : text + " " + range.unit;
}

// "a", "b" or "c"
std::string names_text(const Key& key) {
  std::vector<std::string> names;
  if (key.names != nullptr) names = key.names();
  for (const Choice& one : key.choices) names.emplace_back(one.name);
  std::string text;
  for (size_t i = 0; i < names.size(); ++i) {
    const bool last = i + 1 == names.size();
    text += (i == 0 ? "" : last ? " or " : ", ") + toml_text(names[i]);
  }
  return text;
}

}  // namespace

std::string limits(const Key& key) {
  std::string text;
  if (key.list) {
    const std::string most = std::to_string(key.items.most);
    text = key.items.most == 0                 ? "a list, each "
           : key.items.least == key.items.most ? "a list of " + most + ", each "
                                               : "a list of at most " + most + ", each ";
  }
  switch (key.type) {
    case KeyType::kNumber:
      return text + range_text(key.range);
    case KeyType::kDecimal:
      return text + "in " + key.range.unit;
    case KeyType::kFlag:
      return text + "true or false";
    case KeyType::kText:
      return text + "at most " + std::to_string(key.range.most) + " octets of text";
    case KeyType::kChoice:
      return text + names_text(key);
    case KeyType::kOctets:
      return text + range_text(key.range) + " octets in hex";
  }
  return text;
}

std::string toml_text(std::string_view text) { return '"' + std::string(text) + '"'; }

const char* name_of(std::span<const Choice> choices, int64_t value) {
  const auto found = std::ranges::find(choices, value, &Choice::value);
  return found == choices.end() ? "?" : found->name;
}

std::string literal(const Key& key, int64_t value) {
  if (key.type == KeyType::kFlag) return value != 0 ? "true" : "false";
  if (key.type == KeyType::kChoice) return toml_text(name_of(key.choices, value));
  if (value < key.range.least) return "";  // a member without a value
  char hex[20];
  std::snprintf(hex, sizeof hex, "0x%08llX", static_cast<unsigned long long>(value));
  return key.hex ? hex : std::to_string(value);
}

int64_t read_number(const Table& table, const Key& key) {
  if (key.type == KeyType::kFlag) return table.flag(key.name) ? 1 : 0;
  if (key.type == KeyType::kChoice) return table.choice(key.name, key.choices);
  return table.number(key.name, key.range.least, key.range.most);
}

std::vector<int64_t> read_list(const Table& table, const Key& key) {
  if (key.type == KeyType::kOctets) {
    const auto octets = table.octets(key.name, static_cast<size_t>(key.range.most));
    if (std::cmp_less(octets.size(), key.range.least)) table.fail(key.name, key.check.refusal);
    return {octets.begin(), octets.end()};
  }
  auto all = table.numbers(key.name, key.range.least, key.range.most);
  if (key.items.most != 0 && std::cmp_greater(all.size(), key.items.most)) {
    table.fail(key.name, "has room for " + std::to_string(key.items.most));
  }
  return all;
}

std::string read_text(const Table& table, const Key& key) {
  std::string text = table.text(key.name, static_cast<size_t>(key.range.most));
  if (!key.check.sound(text)) {
    table.fail(key.name, key.check.refusal);
  }
  return text;
}

std::vector<std::string> service_names() {
  std::vector<std::string> names;
  for (const auto known : qcci::idl::all_services()) names.emplace_back(known->name);
  return names;
}

std::optional<uint32_t> service_id(std::string_view name) {
  for (const auto known : qcci::idl::all_services()) {
    if (name == known->name) return known->id;
  }
  return std::nullopt;
}

std::string service_list() {
  std::string list;
  for (const std::string& name : service_names()) list += (list.empty() ? "" : ", ") + name;
  return list;
}

void read_keys(Table& table, std::span<const Key> keys, void* structure) {
  for (const Key& key : keys) {
    if (table.has(key.name)) {
      key.read(table, key, structure);
    } else if (key.required) {
      table.fail(key.name, key.check.refusal);
    }
  }
}

}  // namespace sim

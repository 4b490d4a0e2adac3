// Ways through a TOML text: "network[1].name".
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/config/toml_table.h"

namespace sim {

// Deeper than any key; what is deeper is refused before it costs anything.
constexpr size_t kKeyDepth = 12;

// A name, and for an item of a list its place.
struct KeyStep {
  std::string name;
  std::optional<size_t> index = {};
};
// Empty for what is no key.
std::vector<KeyStep> key_steps(std::string_view key);

// What the steps lead to; null when it is not there.
toml::node* node_at(toml::table& root, const std::vector<KeyStep>& steps);

// A value from a text: TOML, else a text of these characters. An owned node by itself in a table.
toml::table value_of_text(std::string_view text);
constexpr const char kValueName[] = "value";

// Puts the value of value_of_text at the place, with the tables on the way. False when an item of
// a list or a table on the way is not there and cannot be made.
[[nodiscard]] bool put_at(toml::table& root, const std::vector<KeyStep>& steps,
                          const toml::table& value);

// A value, or a table as an inline one, as TOML on one line.
std::string toml_of(const toml::node& node);

}  // namespace sim

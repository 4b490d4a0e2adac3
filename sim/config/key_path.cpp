#include "sim/config/key_path.h"

#include <charconv>
#include <sstream>

namespace sim {
namespace {

std::optional<KeyStep> step_of(std::string_view text) {
  const size_t bracket = text.find('[');
  KeyStep step{std::string(text.substr(0, bracket))};
  if (step.name.empty()) return std::nullopt;
  if (bracket == std::string_view::npos) return step;
  size_t index = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data() + bracket + 1, end, index);
  if (read.ec != std::errc() || read.ptr + 1 != end || *read.ptr != ']') return std::nullopt;
  step.index = index;
  return step;
}

toml::node* item_of(toml::node* node, const KeyStep& step) {
  if (node == nullptr || !step.index) return node;
  toml::array* const list = node->as_array();
  return list == nullptr ? nullptr : list->get(*step.index);
}

}  // namespace

std::vector<KeyStep> key_steps(std::string_view key) {
  std::vector<KeyStep> steps;
  for (;;) {
    const size_t dot = key.find('.');
    const auto step = step_of(key.substr(0, dot));
    if (!step || steps.size() == kKeyDepth) return {};
    steps.push_back(*step);
    if (dot == std::string_view::npos) return steps;
    key.remove_prefix(dot + 1);
  }
}

toml::node* node_at(toml::table& root, const std::vector<KeyStep>& steps) {
  toml::node* node = &root;
  for (const KeyStep& step : steps) {
    toml::table* const table = node->as_table();
    node = table == nullptr ? nullptr : item_of(table->get(step.name), step);
    if (node == nullptr) return nullptr;
  }
  return node;
}

toml::table value_of_text(std::string_view text) {
  try {
    toml::table read = toml::parse(std::string(kValueName) + " = " + std::string(text));
    if (read.size() == 1 && read.contains(kValueName)) return read;
  } catch (const toml::parse_error&) {
    // A text without its quotes.
  }
  toml::table plain;
  plain.insert(kValueName, std::string(text));
  return plain;
}

bool put_at(toml::table& root, const std::vector<KeyStep>& steps, const toml::table& value) {
  toml::table* table = &root;
  for (size_t i = 0; i + 1 < steps.size(); ++i) {
    if (!steps[i].index) table->insert(steps[i].name, toml::table());  // unless it is there
    toml::node* const node = item_of(table->get(steps[i].name), steps[i]);
    table = node == nullptr ? nullptr : node->as_table();
    if (table == nullptr) return false;
  }
  const KeyStep& last = steps.back();
  value.get(kValueName)->visit([&](const auto& node) {
    if (!last.index) {
      table->insert_or_assign(last.name, node);
      return;
    }
    toml::array* const list = table->get_as<toml::array>(last.name);
    if (list == nullptr || *last.index >= list->size()) {
      table = nullptr;
    } else {
      list->replace(list->cbegin() + static_cast<ptrdiff_t>(*last.index), node);
    }
  });
  return table != nullptr;
}

std::string toml_of(const toml::node& node) {
  std::ostringstream text;
  node.visit([&](const auto& value) {
    if constexpr (toml::is_table<decltype(value)>) {
      toml::table copy(value);
      copy.is_inline(true);
      text << copy;
    } else {
      text << toml::toml_formatter(value, toml::format_flags::none);
    }
  });
  std::string line = text.str();
  for (char& c : line) c = c == '\n' ? ' ' : c;
  return line;
}

}  // namespace sim

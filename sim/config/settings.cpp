#include "sim/config/settings.h"

#include <algorithm>

#include "sim/config/ascii.h"
#include "sim/config/key.h"
#include "sim/config/key_path.h"

namespace sim {
namespace {

using Values = std::map<std::string, std::string>;

void add_values(const std::string& key, const toml::node& node, Values* all) {
  if (const toml::table* table = node.as_table()) {
    for (const auto& [name, value] : *table) {
      add_values(key.empty() ? std::string(name.str()) : key + "." + std::string(name.str()), value,
                 all);
    }
    return;
  }
  const toml::array* list = node.as_array();
  if (list == nullptr || list->empty() || !list->is_homogeneous<toml::table>()) {
    (*all)[key] = toml_of(node);
    return;
  }
  for (size_t i = 0; i < list->size(); ++i) {
    add_values(key + "[" + std::to_string(i) + "]", (*list)[i], all);
  }
}

void add_fallbacks(const std::string& path, std::span<const Key> keys, Values* all) {
  for (const Key& key : keys) {
    if (key.required) continue;
    if (std::string value = key.fallback(key); !value.empty())
      (*all)[path + "." + key.name] = value;
  }
}

bool same_but_for_text(FaultRule a, const FaultRule& b) {
  a.text = b.text;
  return a == b;
}

}  // namespace

bool Settings::read(std::string* why) {
  try {
    config_ = read_phone_config(root_);
    return true;
  } catch (const BadToml& bad) {
    *why = bad.what;
    return false;
  }
}

bool Settings::parse(std::string_view written, std::string* why) {
  // What is read here has been checked, with the lines of its mistakes.
  if (!parse_phone_config(written, &config_, why)) return false;
  std::string text(written);
  std::ignore = line_not_ascii(text);
  root_ = toml::parse(text);
  return true;
}

std::map<std::string, std::string> Settings::all() const {
  Values values;
  for (const Section& section : sections()) {
    const auto found = root_.at_path(section.path);
    if (section.kind == Section::Kind::kTable ||
        (section.kind == Section::Kind::kRecord && found)) {
      add_fallbacks(section.path, section.keys, &values);
    }
    const toml::array* const list = found.as_array();
    for (size_t i = 0; section.kind == Section::Kind::kList && list != nullptr && i < list->size();
         ++i) {
      add_fallbacks(section.path + "[" + std::to_string(i) + "]", section.keys, &values);
    }
  }
  add_values("", root_, &values);
  return values;
}

bool Settings::with(std::span<Setting> settings, Settings* next, std::string* why) const {
  next->root_ = root_;
  for (Setting& setting : settings) {
    std::string written = setting.key + setting.value;
    const std::vector<KeyStep> steps = key_steps(setting.key);
    if (steps.empty() || line_not_ascii(written) || setting.value.find('\n') != std::string::npos) {
      *why = setting.key + ": not a key of phone.toml and a value in ASCII";
      return false;
    }
    const toml::table value = value_of_text(setting.value);
    if (!put_at(next->root_, steps, value)) {
      *why = setting.key + ": nothing is there";
      return false;
    }
    setting.value = toml_of(*value.get(kValueName));
  }
  if (!next->read(why)) return false;
  next->keep_rule_texts(config_.faults);
  return true;
}

bool Settings::with_fault(std::string_view rule, Settings* next, std::string* why) const {
  std::string written(rule);
  const toml::table value = value_of_text(rule);
  const toml::table* const table = value.get_as<toml::table>(kValueName);
  if (table == nullptr || line_not_ascii(written)) {
    *why = "a fault rule is a table: {service = \"nas\", action = \"drop\"}";
    return false;
  }
  next->root_ = root_;
  next->root_.insert("fault", toml::array());
  if (toml::array* faults = next->root_.get_as<toml::array>("fault")) faults->push_back(*table);
  if (!next->read(why)) return false;
  next->keep_rule_texts(config_.faults);
  return true;
}

bool Settings::without_faults(Settings* next, std::string* why) const {
  next->root_ = root_;
  next->root_.erase("fault");
  return next->read(why);
}

void Settings::keep_rule_texts(const std::vector<FaultRule>& before) {
  std::vector<FaultRule> left = before;
  for (FaultRule& rule : config_.faults) {
    const auto same = std::ranges::find_if(
        left, [&](const FaultRule& one) { return same_but_for_text(rule, one); });
    if (same == left.end()) continue;
    rule.text = same->text;
    left.erase(same);
  }
}

}  // namespace sim

// Changes of the text of a phone.toml that leave the rest of it as it is.
//
// A value is replaced where it stands. A missing key is written behind the head of the innermost
// table that there is, or, failing that, in a new table at the end of the text. What comes of it
// counts only when it reads as the text before with the change made: a way of writing that is not
// thought of here is refused, not spoiled.

#include <sstream>

#include "sim/config/ascii.h"
#include "sim/config/key_path.h"
#include "sim/config/settings.h"

namespace sim {
namespace {

std::string canonical(const toml::table& table) {
  std::ostringstream text;
  text << toml::json_formatter(table);
  return text.str();
}

// Null for a text that is not TOML. Octets of comments outside ASCII are replaced, one by one.
std::optional<toml::table> parsed(std::string text) {
  if (line_not_ascii(text)) return std::nullopt;
  try {
    return toml::parse(text);
  } catch (const toml::parse_error&) {
    return std::nullopt;
  }
}

size_t line_begin(const std::string& text, size_t line) {
  size_t at = 0;
  for (; line > 1 && at != std::string::npos; --line) {
    at = text.find('\n', at);
    at = at == std::string::npos ? text.size() : at + 1;
  }
  return at;
}

size_t offset_of(const std::string& text, const toml::source_position& position) {
  return std::min(text.size(), line_begin(text, position.line) + position.column - 1);
}

std::string replaced(const std::string& text, const toml::source_region& region,
                     const std::string& value) {
  const size_t begin = offset_of(text, region.begin);
  const size_t end = std::max(begin, offset_of(text, region.end));
  return text.substr(0, begin) + value + text.substr(end);
}

std::string dotted(std::span<const KeyStep> steps) {
  std::string text;
  for (const KeyStep& step : steps) text += (text.empty() ? "" : ".") + step.name;
  return text;
}

// Behind the head of the table, when it has one.
std::optional<std::string> behind_head(const std::string& text, const toml::node& table,
                                       std::span<const KeyStep> rest, const std::string& value) {
  const size_t head = line_begin(text, table.source().begin.line);
  if (head >= text.size() || text[text.find_first_not_of(" \t", head)] != '[') return std::nullopt;
  const size_t end = text.find('\n', head);
  const std::string line = dotted(rest) + " = " + value + "\n";
  return end == std::string::npos ? text + "\n" + line
                                  : text.substr(0, end + 1) + line + text.substr(end + 1);
}

// The texts that the setting may come to, the best first.
std::vector<std::string> candidates(const std::string& text, toml::table& root,
                                    const std::vector<KeyStep>& steps, const toml::table& value) {
  const std::string written = toml_of(*value.get(kValueName));
  std::vector<std::string> texts;
  if (const toml::node* there = node_at(root, steps)) {
    texts.push_back(replaced(text, there->source(), written));
    return texts;
  }
  for (size_t depth = steps.size() - 1; depth > 0; --depth) {
    const std::span rest = std::span(steps).subspan(depth);
    toml::node* const node = node_at(root, {steps.begin(), steps.begin() + ptrdiff_t(depth)});
    const toml::table* const table = node == nullptr ? nullptr : node->as_table();
    if (table == nullptr) continue;
    if (table->is_inline()) {
      toml::table copy(*table);
      if (put_at(copy, {rest.begin(), rest.end()}, value)) {
        texts.push_back(replaced(text, table->source(), toml_of(copy)));
      }
    } else if (auto longer = behind_head(text, *table, rest, written)) {
      texts.push_back(std::move(*longer));
    }
  }
  const std::span above = std::span(steps).first(steps.size() - 1);
  texts.push_back(text + "\n[" + dotted(above) + "]\n" + steps.back().name + " = " + written +
                  "\n");
  return texts;
}

bool write_one(const Setting& setting, std::string* text) {
  std::optional<toml::table> root = parsed(*text);
  const std::vector<KeyStep> steps = key_steps(setting.key);
  if (!root || steps.empty()) return false;
  const toml::table value = value_of_text(setting.value);
  const std::vector<std::string> texts = candidates(*text, *root, steps, value);
  if (!put_at(*root, steps, value)) return false;
  const std::string wanted = canonical(*root);
  for (const std::string& candidate : texts) {
    const std::optional<toml::table> read = parsed(candidate);
    if (!read || canonical(*read) != wanted) continue;
    *text = candidate;
    return true;
  }
  return false;
}

}  // namespace

bool write_settings(std::span<const Setting> settings, std::string* text, std::string* why) {
  PhoneConfig checked;
  if (!parse_phone_config(*text, &checked, why)) return false;
  std::string changed = *text;
  for (const Setting& setting : settings) {
    if (write_one(setting, &changed)) continue;
    *why = "phone.toml: no place was found for " + setting.key + "; it has to be edited by hand";
    return false;
  }
  if (!parse_phone_config(changed, &checked, why)) return false;
  *text = std::move(changed);
  return true;
}

}  // namespace sim

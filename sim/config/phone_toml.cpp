#include "sim/config/phone_toml.h"

#include <set>
#include <sstream>

#include "sim/config/config.h"
#include "sim/config/key.h"

namespace sim {
namespace {

constexpr size_t kColumns = 100;  // of a line of the default file

// `text` in lines that begin with `first`, and further ones with `rest`.
std::string wrapped(const std::string& first, const std::string& rest, const std::string& text) {
  std::istringstream words(text);
  std::string all, line = first;
  for (std::string word; words >> word;) {
    if (line.size() + 1 + word.size() > kColumns) {
      all += line + "\n";
      line = rest;
    }
    line += (line.empty() || line.ends_with(' ') ? "" : " ") + word;
  }
  return all + line + "\n";
}

// Whether the values are worth a word beside the comment.
bool limited(const Key& key) {
  const bool whole = key.type == KeyType::kNumber && key.range.most >= INT32_MAX;
  return key.list || (key.type != KeyType::kFlag && !whole);
}

std::string explained(const Key& key) {
  std::string text = limited(key) ? limits(key) : "";
  if (key.required) text += text.empty() ? "needed" : ", needed";
  return text.empty() ? key.comment : key.comment + (" (" + text + ")");
}

std::string literal(const toml::node& node, const Key& key) {
  if (const toml::array* list = node.as_array()) {
    std::string all;
    for (const toml::node& one : *list) all += (all.empty() ? "" : ", ") + literal(one, key);
    return "[" + all + "]";
  }
  if (node.is_integer()) return sim::literal(key, *node.value<int64_t>());
  std::ostringstream text;
  node.visit([&](const auto& value) {
    if constexpr (toml::is_string<decltype(value)>) {
      text << toml_text(*value);
    } else if constexpr (toml::is_value<decltype(value)>) {
      text << value;
    }
  });
  return text.str();
}

// The sections that have the same parent and the same keys, by the last part of their paths or,
// with brackets around, by the whole.
std::string names_beside(const std::vector<Section>& all, const Section& section,
                         const std::string& open, const std::string& close) {
  const size_t parent = section.path.rfind('.') + 1;
  std::string names;
  for (const Section& one : all) {
    if (one.keys.data() != section.keys.data() || one.path.rfind('.') + 1 != parent ||
        one.path.compare(0, parent, section.path, 0, parent) != 0) {
      continue;
    }
    names.append(names.empty() ? "" : ", ").append(open);
    names.append(one.path, open.empty() ? parent : 0).append(close);
  }
  return names;
}

// A record's name, those of the records beside it that have the same keys, and the keys.
std::string record_text(const std::vector<Section>& all, const Section& record) {
  std::string text = names_beside(all, record, "", "") + ":";
  for (const Key& key : record.keys) {
    std::string said = key.comment;
    said += limited(key) ? (said.empty() ? "" : "; ") + limits(key) : "";
    text += (&key == &record.keys.front() ? " " : ", ") + std::string(key.name);
    if (!said.empty()) text += " (" + said + ")";
  }
  return text;
}

class Writer {
 public:
  explicit Writer(const toml::table& values) : values_(values) {}

  std::string write() {
    for (at_ = 0; at_ < all_.size(); ++at_) {
      const Section& section = all_[at_];
      const auto found = values_.at_path(section.path);
      if (section.kind == Section::Kind::kTable) {
        write_table(found.as_table());
      } else if (section.kind == Section::Kind::kRecord && found) {
        text_ += "\n[" + section.path + "]\n";
        write_rows(found.as_table(), false);
      } else if (section.kind == Section::Kind::kList) {
        write_list(found.as_array());
      }
    }
    return text_;
  }

 private:
  void write_table(const toml::table* values) {
    const Section& section = all_[at_];
    const bool alike = std::ranges::count(all_, section.keys.data(),
                                          [](const Section& one) { return one.keys.data(); }) > 1;
    text_ += "\n";
    if (!alike) {
      if (!section.comment.empty()) text_ += wrapped("#", "#", section.comment);
    } else if (described_.insert(section.keys.data()).second) {
      describe();
    }
    text_ += "[" + section.path + "]\n";
    write_rows(values, !alike);
  }

  void write_list(const toml::array* list) {
    text_ += "\n";
    describe();
    if (list == nullptr) return;
    for (const toml::node& one : *list) {
      text_ += std::string(&one == &list->front() ? "" : "\n") + "[[" + all_[at_].path + "]]\n";
      write_rows(one.as_table(), false);
    }
  }

  // The section's comment and keys, and those of the records and parts that follow it.
  void describe() {
    const Section& section = all_[at_];
    text_ += wrapped("#", "#", section.comment);
    describe_keys(section, "#   ");
    for (size_t i = at_ + 1; i < all_.size(); ++i) {
      const Section& one = all_[i];
      if (one.kind == Section::Kind::kPart) {
        text_ += wrapped("#   " + one.title + ":", "#       ", one.comment);
        describe_keys(one, "#       ");
      } else if (one.kind == Section::Kind::kRecord) {
        if (described_.insert(one.keys.data()).second)
          text_ += wrapped("#   ", "#       ", record_text(all_, one));
      } else {
        break;
      }
    }
  }

  void describe_keys(const Section& section, const std::string& margin) {
    for (const Key& key : section.keys) {
      std::string name = margin + key.name + " ";
      name.resize(std::max(name.size(), margin.size() + 12), ' ');
      text_ += wrapped(name, margin + std::string(12, ' '), explained(key));
    }
  }

  void write_rows(const toml::table* values, bool comments) {
    for (const Key& key : all_[at_].keys) {
      if (comments) text_ += wrapped("#", "#", explained(key));
      const toml::node* value = values != nullptr ? values->get(key.name) : nullptr;
      if (value == nullptr && key.left_out) continue;
      text_ += std::string(key.name) + " = " +
               (value != nullptr ? literal(*value, key) : key.fallback(key)) + "\n";
    }
  }

  const toml::table& values_;
  const std::vector<Section> all_ = sections();
  size_t at_ = 0;
  std::string text_;
  std::set<const Key*> described_;
};

}  // namespace

std::string phone_toml(std::string_view values) { return Writer(toml::parse(values)).write(); }

std::string keys_page() {
  const std::vector<Section> all = sections();
  std::string page =
      "# The keys of phone.toml\n\nPrinted by `vex-phone keys`. [The simulated phone](phone.md) "
      "tells what the phone does with "
      "them.\n";
  std::set<const Key*> written;
  for (const Section& section : all) {
    const bool part = section.kind == Section::Kind::kPart;
    if (!part && !written.insert(section.keys.data()).second) continue;
    const bool list = section.kind == Section::Kind::kList;
    if (section.kind == Section::Kind::kRecord) {
      page.append("\n").append(wrapped("-", "  ", record_text(all, section)));
      continue;
    }
    const std::string places =
        part ? "`[[" + section.path + "]]` with `" + section.title + "`"
             : names_beside(all, section, list ? "`[[" : "`[", list ? "]]`" : "]`");
    const std::string comment = section.comment.empty() ? "" : ": " + section.comment;
    page.append("\n").append(wrapped("", "", places + comment));
    if (section.keys.empty()) continue;
    page += "\n| key | takes | without it | |\n|---|---|---|---|\n";
    for (const Key& key : section.keys) {
      const std::string without = key.required ? "refused" : key.fallback(key);
      page += std::string("| `") + key.name + "` | " + limits(key) + " | " +
              (without.empty() || key.required ? without : "`" + without + "`") + " | " +
              key.comment + " |\n";
    }
  }
  return page;
}

}  // namespace sim

// The keys of phone.toml, one row each. A row says what a key takes and which member of the
// configuration it sets; the reader, the default file and the table of docs/phone-keys.md all come
// from it. What a missing key means is the member's initialiser, and is written nowhere else.
//
// To add a key, give the structure a member and the source's KeyTable a row:
//
//   number<&ModemConfig::restart>("restart_ms", {0, 3600000, "ms"}, "How long a restart takes"),
//
// Rows are constants. What contradicts itself does not compile: a range that the member cannot
// hold, or an initialiser outside of it. A value of the file that a row refuses throws BadToml with
// its place (toml_table.h). Nothing here keeps state.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sim/config/toml_table.h"

namespace sim {

// What a key's value is in TOML: a whole number, a number, true or false, a text, one of a set of
// texts, a text of octets in hex.
enum class KeyType : uint8_t { kNumber, kDecimal, kFlag, kText, kChoice, kOctets };

// Both ends are allowed. The unit is shown to people and changes nothing.
struct Range {
  int64_t least = 0;
  int64_t most = 0;
  const char* unit = "";
};

// What a value has to be beyond its type and range. (The functions of a row are never null: a
// sanitizer's build cannot compare them in a constant expression.)
constexpr bool any_text(std::string_view /*text*/) { return true; }
struct Check {
  bool (*sound)(std::string_view text) = any_text;
  const char* refusal = "is missing";  // the message for a value that is not
};

// A row. Written with the builders below, which fill the functions; a key that fits none of them
// fills its own.
struct Key {
  const char* name = nullptr;
  KeyType type = KeyType::kFlag;
  const char* comment = "";
  Range range = {};  // of a number, or of the length of a text or of octets
  bool list = false;
  Range items = {};                               // how many a list has; most = 0: any number
  std::span<const Choice> choices = {};           // of kChoice, but for the services' names
  std::vector<std::string> (*names)() = nullptr;  // in the place of choices
  bool required = false;
  bool left_out = false;  // of the default file, which explains it only
  bool hex = false;       // in the default file
  Check check = {};
  void (*read)(const Table& table, const Key& key, void* structure) = nullptr;
  std::string (*fallback)(const Key& key) = nullptr;  // what a missing key means, as TOML
  bool (*fallback_fits)(const Key& key) = [](const Key& /*key*/) { return true; };
};

// What the key takes, for people: "0 to 3600000 ms".
std::string limits(const Key& key);
// `value` as TOML.
std::string literal(const Key& key, int64_t value);
std::string toml_text(std::string_view text);
// The choice of that value; "?" when there is none.
const char* name_of(std::span<const Choice> choices, int64_t value);

// The services' names; no id for a name that none has.
std::vector<std::string> service_names();
std::optional<uint32_t> service_id(std::string_view name);
// "vendor, nas, ..."
std::string service_list();

// A key of a table that is read into an S: a row of one structure does not fit another's table.
template <class S>
struct KeyOf : Key {};

// The structure and the type of a pointer to member.
template <class S, class T>
S structure_of(T S::*);
template <class S, class T>
T value_of(T S::*);
template <auto M>
using StructureOf = decltype(structure_of(M));
template <auto M>
using ValueOf = decltype(value_of(M));

// Between a member and TOML's whole numbers; -1 stands for a member that has no value.
template <class T>
constexpr int64_t to_number(const T& value) {
  if constexpr (requires { value.count(); }) {
    return value.count();
  } else if constexpr (requires { value.has_value(); }) {
    return value ? static_cast<int64_t>(*value) : -1;
  } else {
    return static_cast<int64_t>(value);
  }
}

// The value of a key that is there, checked against its row; throw BadToml for one that is not what
// the key takes. read_list: numbers, or octets.
int64_t read_number(const Table& table, const Key& key);
std::vector<int64_t> read_list(const Table& table, const Key& key);
std::string read_text(const Table& table, const Key& key);

// Reads the key into a member of whatever type.
template <class T>
void read_value(const Table& table, const Key& key, T* value) {
  if constexpr (std::same_as<T, std::string>) {
    *value = read_text(table, key);
  } else if constexpr (requires { value->push_back({}); }) {
    const std::vector<int64_t> all = read_list(table, key);
    value->assign(all.begin(), all.end());
  } else if constexpr (requires { value->has_value(); }) {
    *value = static_cast<typename T::value_type>(read_number(table, key));
  } else {
    *value = static_cast<T>(read_number(table, key));
  }
}

// A member's initialiser as TOML, and whether it is one that the key takes.
template <class T>
std::string fallback_text(const Key& key, const T& value) {
  if constexpr (std::same_as<T, std::string>) {
    return toml_text(value);
  } else if constexpr (requires { value.begin(); }) {
    return key.list ? "[]" : "\"\"";
  } else {
    return literal(key, to_number(value));
  }
}
template <class T>
constexpr bool fits(const Key& key, const T& value) {
  if constexpr (std::same_as<T, std::string>) {
    return std::cmp_less_equal(value.size(), key.range.most) && key.check.sound(value);
  } else if constexpr (requires { value.begin(); }) {
    return key.list || key.range.least == 0;
  } else if (key.type == KeyType::kChoice) {
    return std::ranges::find(key.choices, to_number(value), &Choice::value) != key.choices.end();
  } else {
    const int64_t number = to_number(value);
    if constexpr (requires { value.has_value(); }) {
      if (!value.has_value()) return true;
    }
    return number >= key.range.least && number <= key.range.most;
  }
}

// The key of a member.
template <auto M>
constexpr KeyOf<StructureOf<M>> row(Key key) {
  using S = StructureOf<M>;
  key.read = [](const Table& table, const Key& k, void* s) {
    read_value(table, k, &(static_cast<S*>(s)->*M));
  };
  key.fallback = [](const Key& k) { return fallback_text(k, S().*M); };
  key.fallback_fits = [](const Key& k) {
    S fresh;
    return fits(k, fresh.*M);
  };
  return {key};
}

// Does not compile with a range that the member cannot hold.
template <class T>
constexpr bool holds(Range range) {
  if constexpr (std::integral<T>) {
    return std::in_range<T>(range.least) && std::in_range<T>(range.most);
  } else if constexpr (requires { typename T::value_type; }) {
    return holds<typename T::value_type>(range);
  } else {
    return holds<typename T::rep>(range);
  }
}
template <auto M>
constexpr auto number(const char* name, Range range, const char* comment) {
  if (!holds<ValueOf<M>>(range)) throw "a range that the member cannot hold";
  return row<M>({.name = name, .type = KeyType::kNumber, .comment = comment, .range = range});
}
// All that the member can hold and TOML can write.
template <class T>
constexpr Range whole() {
  constexpr T kMost = std::numeric_limits<T>::max();
  return {0, std::in_range<int64_t>(kMost) ? static_cast<int64_t>(kMost) : INT64_MAX};
}
template <auto M>
constexpr auto number(const char* name, const char* comment) {
  return number<M>(name, whole<ValueOf<M>>(), comment);
}
// A list of numbers, at most `items` when that is not 0.
template <auto M>
constexpr auto numbers(const char* name, int64_t items, const char* comment) {
  auto key = number<M>(name, whole<typename ValueOf<M>::value_type>(), comment);
  key.list = true;
  key.items = {0, items};
  return key;
}
// True or false.
template <auto M>
constexpr auto flag(const char* name, const char* comment) {
  return row<M>({.name = name, .comment = comment, .range = {0, 1}});
}
// One of the choices' names; the member gets its value.
template <auto M>
constexpr auto choice(const char* name, std::span<const Choice> choices, const char* comment) {
  return row<M>({.name = name, .type = KeyType::kChoice, .comment = comment, .choices = choices});
}
// A text of at most `most` octets in UTF-8.
template <auto M>
constexpr auto text(const char* name, int64_t most, const char* comment, Check check = {}) {
  return row<M>({.name = name,
                 .type = KeyType::kText,
                 .comment = comment,
                 .range = {0, most},
                 .check = check});
}
// Octets in hex. `refusal`: the message for fewer than the range's least.
template <auto M>
constexpr auto octets(const char* name, Range length, const char* comment,
                      const char* refusal = "") {
  return row<M>({.name = name,
                 .type = KeyType::kOctets,
                 .comment = comment,
                 .range = length,
                 .check = {.refusal = refusal}});
}

// A table without the key is refused, whatever its member's initialiser.
template <class S>
constexpr KeyOf<S> required(KeyOf<S> key) {
  key.required = true;
  return key;
}
// The default file explains the key and does not set it.
template <class S>
constexpr KeyOf<S> left_out(KeyOf<S> key) {
  key.left_out = true;
  return key;
}
// The default file shows the number in hexadecimal; a reader takes both.
template <class S>
constexpr KeyOf<S> in_hex(KeyOf<S> key) {
  key.hex = true;
  return key;
}

// Reads those of the keys that the table has, and marks all as known. Throws BadToml for a required
// key that is missing.
void read_keys(Table& table, std::span<const Key> keys, void* structure);

template <class S, size_t N>
struct KeyTable;

// The keys of a table that is read into an S.
template <class S>
class Keys {
 public:
  constexpr Keys() = default;
  template <size_t N>
  constexpr Keys(const KeyTable<S, N>& table) : keys_(table.keys) {}

  void read(Table& table, S& structure) const { read_keys(table, keys_, &structure); }
  constexpr std::span<const Key> rows() const { return keys_; }

 private:
  std::span<const Key> keys_;
};

// Does not compile with a default outside of its range.
template <class S, size_t N>
struct KeyTable {
  constexpr KeyTable(const KeyOf<S> (&rows)[N]) {
    for (size_t i = 0; i < N; ++i) {
      keys[i] = rows[i];
#ifndef __clang__  // its version 14 has no std::string in constant expressions with libstdc++ 12
      if (!keys[i].required && !keys[i].fallback_fits(keys[i])) {
        throw "a default outside of its range";
      }
#endif
    }
  }
  Key keys[N];
};

// A table of phone.toml, for whoever goes through all keys: the default file and docs/phone-keys.md
// are written from the sections of config.h.
struct Section {
  enum class Kind : uint8_t {
    kTable,   // [path]
    kList,    // [[path]]
    kRecord,  // [path], which stands for something that the phone has not without it
    kPart,    // further keys of the list before, of `title` alone
  };
  std::string path;  // "cards.euicc.profile"
  std::string comment;
  std::span<const Key> keys;
  Kind kind = Kind::kTable;
  std::string title = {};
};

// A table that is read into an S, and its place: dotted, from the text's top. A table that is not
// in the text is read as an empty one, so that its structure keeps its initialisers.
template <class S>
struct TableRow {
  const char* path;
  Keys<S> keys;
  const char* comment = "";

  constexpr const char* name() const {
    const std::string_view whole(path);
    const size_t dot = whole.rfind('.');
    return dot == std::string_view::npos ? path : path + dot + 1;
  }
  // `parent`: the table, or the whole text, that has it.
  void read(Table& parent, S& structure) const {
    Table table = parent.table(name());
    keys.read(table, structure);
    table.done();
  }
  Section section(Section::Kind kind = Section::Kind::kTable) const {
    return {path, comment, keys.rows(), kind};
  }
};

}  // namespace sim

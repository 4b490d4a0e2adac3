// A phone.toml that changes while it is in use: its values by their keys.
//
// A key is the way to a value from the text's top: "measurements.sub0.nr_power.tx_power"; an item
// of a list has its place, from 0, behind the list: "network[1].name". Values are TOML. A word that
// is none stands for a text: lte is "lte".
//
// Changes are checked by what reads the file, and made as a whole or not at all. Not thread-safe.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>

#include "sim/config/config.h"
#include "sim/config/toml_table.h"

namespace sim {

// As parse_phone_config, of a parsed text; throws BadToml.
PhoneConfig read_phone_config(const toml::table& root);

struct Setting {
  std::string key;
  std::string value;
};

class Settings {
 public:
  // Reads the text of a phone.toml; results as parse_phone_config's.
  [[nodiscard]] bool parse(std::string_view written, std::string* why);
  const PhoneConfig& config() const { return config_; }

  // Every value, with what a missing key means, by its key.
  std::map<std::string, std::string> all() const;

  // What the settings would be; the values in them become what they are in TOML. False, and one
  // line about the first mistake in *why, when one is not what its key takes.
  [[nodiscard]] bool with(std::span<Setting> settings, Settings* next, std::string* why) const;
  // The same with another fault rule, an inline table as in the file, or with none.
  [[nodiscard]] bool with_fault(std::string_view rule, Settings* next, std::string* why) const;
  [[nodiscard]] bool without_faults(Settings* next, std::string* why) const;

 private:
  [[nodiscard]] bool read(std::string* why);
  // A fault rule that was there before keeps its text, which has its line in the file.
  void keep_rule_texts(const std::vector<FaultRule>& before);

  toml::table root_;
  PhoneConfig config_;
};

// Writes the settings into the text of a phone.toml, all else in it kept as it is: comments, order
// and spacing. False, and why, with the text as it was, where that cannot be, or the text would
// have a mistake.
[[nodiscard]] bool write_settings(std::span<const Setting> settings, std::string* text,
                                  std::string* why);

}  // namespace sim

// Mistakes in phone.toml, and texts that are none.

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "sim/config/config.h"
#include "sim/config/key.h"
#include "sim/config/phone_toml.h"
#include "sim/phone/default_phone.h"

namespace {

// Each kind of mistake once; that every key has the check of its row is shown below.
TEST(PhoneConfig, MistakesAreNamedWithTheirLine) {
  static const std::string kEscapes =
      ": characters outside ASCII are written as escapes, like \\u00E9";
  static const std::string kProfile = "[[cards.euicc.profile]]\niccid = \"898800100000000001\"\n";
  static const struct {
    std::string toml, why;
  } kRows[] = {
      {"[sar]\nstat = 1\n", "phone.toml:2: sar: unknown key \"stat\""},
      {"[radio]\n", "phone.toml:1: unknown key \"radio\""},
      {"sar = 1\n", "phone.toml:1: sar must be a table"},
      {"[[network]]\nrat = \"5g\"\n",
       "phone.toml:2: network.rat must be one of gsm, umts, lte, tdscdma, nr"},
      {"[[fault]]\nnth = 1\n", "phone.toml:1: fault.action is missing"},
      {"[[fault]]\naction = \"change\"\nat = 7\noctets = [256]\n",
       "phone.toml:4: fault.octets must be a list of whole numbers from 0 to 255"},
      {"[fault]\naction = \"drop\"\n",
       "phone.toml:1: fault must be a list of tables, each under [[fault]]"},
      {"# \xC9\xA7\n[\xEF\xBB\x9F", "phone.toml:2" + kEscapes},
      {"\xC9", "phone.toml:1" + kEscapes},
      {"a = '#\xC9'", "phone.toml:1" + kEscapes},
      {"a = \"\\\"#\xC9\"", "phone.toml:1" + kEscapes},
      {"a = '''\n'#'\n\xC9'''", "phone.toml:3" + kEscapes},
      {[] {
         std::string toml;
         for (int i = 0; i < 41; ++i) toml += "[[network]]\n";
         return toml;
       }(),
       "phone.toml:1: network stands more often than the 40 times that a scan reports"},
      {"[statistics]\noutdated_logs = 5\n",
       "phone.toml:2: statistics.outdated_logs must be a list of numbers"},
      {"[cards.sim2]\nerror = \"poll\"\n",
       "phone.toml:2: cards.sim2.error is of state = \"error\" alone"},
      {"[cards.euicc]\neid = \"890\"\n",
       "phone.toml:2: cards.euicc.eid must be octets in hex, like \"01 A0\""},
      {"[cards.euicc]\neid = \"" + std::string(34, '1') + "\"\n",
       "phone.toml:2: cards.euicc.eid has more than 16 octets"},
      {"[[cards.euicc.profile]]\niccid = \"123\"\n",
       "phone.toml:2: cards.euicc.profile.iccid must have 18 to 20 digits"},
      {kProfile + kProfile, "phone.toml:4: cards.euicc.profile.iccid is another profile's too"},
      {kProfile + "enabled = true\n[[cards.euicc.profile]]\niccid = \"898800100000000002\"\n"
                  "enabled = true\n",
       "phone.toml:6: cards.euicc.profile.enabled is another profile already"},
      {"[[configuration]]\nid = \"\"\n",
       "phone.toml:2: configuration.id must have 1 to 124 octets"},
      {"[[configuration]]\nid = \"AA00\"\n[[configuration]]\nid = \"AA00\"\ntype = \"platform\"\n"
       "[[configuration]]\nid = \"aa 00\"\n",
       "phone.toml:7: configuration.id is there twice"},
      {"[measurements.sub0]\nrat = \"5g\"\n",
       "phone.toml:2: measurements.sub0.rat must be one of none, gsm, wcdma, lte, nr, or a number"},
      {"[measurements.sub0.lte_power]\nmax_power = 23.5\n",
       "phone.toml:2: measurements.sub0.lte_power.max_power must be a whole number from -32768 to "
       "32767"},
      {"[measurements.sub0.nr_pcc]\nrsrp = [1, 2, 3]\n",
       "phone.toml:2: measurements.sub0.nr_pcc.rsrp must be a list of 4"},
      {"[measurements.sub0.nr_pcc]\nrsrp = [1, 2, 3, \"4\"]\n",
       "phone.toml:2: measurements.sub0.nr_pcc.rsrp holds something that is not a number"},
      {"[measurements.sub0.nr_pcc]\nrsrq = 1e39\n",
       "phone.toml:2: measurements.sub0.nr_pcc.rsrq holds a number that does not fit"},
      {"[measurements.sub0.raw]\n\"0x\" = \"\"\n",
       "phone.toml:2: measurements.sub0.raw.0x is not the id of a record"},
      {"[measurements.sub0.raw]\n\"0x100000000\" = \"\"\n",
       "phone.toml:2: measurements.sub0.raw.0x100000000 is not the id of a record"},
      {"[measurements.sub0.raw]\n\"0x52\" = \"" + std::string(1402, '0') + "\"\n",
       "phone.toml:2: measurements.sub0.raw.0x52 has more than 700 octets"},
      {"[modem]\nabsent = [\"nas\", \"gps\"]\n",
       "phone.toml:2: modem.absent holds \"gps\", which is none of vendor, nas, sar, vs, uim, pdc, "
       "diag"},
      {"[modem]\nabsent = \"nas\"\n", "phone.toml:2: modem.absent must be a list of texts"},
  };
  for (const auto& row : kRows) {
    sim::PhoneConfig config;
    config.sar.state = 99;
    std::string why;
    EXPECT_FALSE(sim::parse_phone_config(row.toml, &config, &why)) << row.toml;
    EXPECT_EQ(why, row.why);
    EXPECT_EQ(config.sar.state, 99u) << "a bad text changes nothing";
  }
  sim::PhoneConfig config;
  std::string why;
  EXPECT_FALSE(sim::parse_phone_config("[sar\n", &config, &why));
  EXPECT_TRUE(why.starts_with("phone.toml:1: ")) << why;
  ASSERT_TRUE(sim::parse_phone_config("[[network]] # \xC9\xA7\nname = \"\\\"#\\u00E9\" # \xC9\n",
                                      &config, &why))
      << why;
  EXPECT_EQ(config.networks[0].name, "\"#\u00E9");
  ASSERT_TRUE(
      sim::parse_phone_config("[[network]]\nname = '\\' # \xC9\nmcc = 1 #'\xC9\n", &config, &why))
      << why;
  ASSERT_TRUE(sim::parse_phone_config("[[configuration]]\nid = \"aa 00\"\n", &config, &why)) << why;
  ASSERT_TRUE(sim::parse_phone_config(sim::default_phone_toml(), &config, &why)) << why;
  EXPECT_EQ(config.networks.size(), 3u);
  EXPECT_EQ(config.networks[0].status(), 0b01100101) << "serving, home, allowed, preferred";
  EXPECT_TRUE(config.faults.empty());
}

// "" or why the text is no phone.
std::string flaw(const std::string& toml) {
  sim::PhoneConfig config;
  std::string why;
  return sim::parse_phone_config(toml, &config, &why) ? "" : why;
}

std::string list_of(const std::string& value, int64_t items) {
  std::string all;
  for (int64_t i = 0; i < items; ++i) all += (i == 0 ? "" : ", ") + value;
  return "[" + all + "]";
}

// The values at both ends of what the row says, and the nearest ones beyond.
void values_of(const sim::Key& key, std::vector<std::string>* good, std::vector<std::string>* bad) {
  using sim::KeyType;
  const auto [least, most, unit] = key.range;
  if (key.type == KeyType::kNumber) {
    *good = {std::to_string(least), std::to_string(most)};
    *bad = {std::to_string(least - 1), "1.0", "true"};
    if (most < INT64_MAX) bad->push_back(std::to_string(most + 1));
  } else if (key.type == KeyType::kFlag) {
    *good = {"true", "false"};
    *bad = {"1"};
  } else if (key.type == KeyType::kDecimal) {
    *good = {"-140", "-0.5", "inf"};
    *bad = {"1e39", "\"1\""};
  } else if (key.type == KeyType::kChoice) {
    for (const sim::Choice& one : key.choices) good->push_back(sim::toml_text(one.name));
    if (key.names != nullptr) good->push_back(sim::toml_text(key.names().front()));
    *bad = {"\"?\"", "true"};
  } else {
    const int64_t each = key.type == KeyType::kOctets ? 2 : 1;
    for (const int64_t size : {least, most}) {
      if (key.check.sound == nullptr || size == most) {
        good->push_back(sim::toml_text(std::string(static_cast<size_t>(size * each), '1')));
      }
    }
    *bad = {sim::toml_text(std::string(static_cast<size_t>((most + 1) * each), '1')), "1"};
  }
  if (!key.list) return;
  const int64_t items = key.items.most;
  for (auto* values : {good, bad}) {
    for (std::string& value : *values) value = list_of(value, std::max<int64_t>(items, 1));
  }
  bad->push_back("1");
  if (items != 0) bad->push_back(list_of("1", items + 1));
}

TEST(PhoneConfig, EveryKeyTakesWhatItsRowSays) {
  size_t keys = 0;
  for (const sim::Section& section : sim::sections()) {
    const bool list =
        section.kind >= sim::Section::Kind::kList && section.kind != sim::Section::Kind::kRecord;
    const std::string table =
        (list ? "[[" : "[") + section.path + (list ? "]]\n" : "]\n") + section.title + "\n";
    // A key that no row has.
    EXPECT_NE(flaw(table + "unheard_of = 1\n"), "") << table;
    for (const sim::Key& key : section.keys) {
      ++keys;
      std::string around = table;
      for (const sim::Key& other : section.keys) {
        std::vector<std::string> good, bad;
        values_of(other, &good, &bad);
        if (other.required && other.name != std::string_view(key.name)) {
          around += std::string(other.name) + " = " + good.front() + "\n";
        }
      }
      if (key.name == std::string_view("error") && section.title.empty()) {
        around += "state = \"error\"\n";
      }
      std::vector<std::string> good, bad;
      values_of(key, &good, &bad);
      const std::string without = key.fallback(key);
      if (!key.required && !without.empty()) good.push_back(without);
      for (const std::string& value : good) {
        const std::string why = flaw(around + key.name + " = " + value + "\n");
        // An action has keys of its own, which are rows too.
        const bool incomplete = why.ends_with(" is missing") || why.ends_with(" is for responses");
        EXPECT_TRUE(why.empty() || (incomplete && key.name == std::string_view("action")))
            << around << key.name << " = " << value << "\n"
            << why;
      }
      for (const std::string& value : bad) {
        EXPECT_NE(flaw(around + key.name + " = " + value + "\n"), "")
            << around << key.name << " = " << value;
      }
      EXPECT_EQ(flaw(around).empty(), !key.required) << around << key.name;
    }
  }
  EXPECT_GT(keys, 100u);
}

TEST(PhoneConfig, ThePageOfKeysIsCurrent) {
  std::ifstream in(VEX_DOCS "/phone-keys.md");
  std::ostringstream page;
  page << in.rdbuf();
  EXPECT_EQ(page.str(), sim::keys_page()) << "vex-phone keys > docs/phone-keys.md";
}

}  // namespace

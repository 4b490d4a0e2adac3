// Mistakes in phone.toml, and texts that are none.

#include <gtest/gtest.h>

#include "sim/config/config.h"
#include "sim/phone/default_phone.h"

namespace {

TEST(PhoneConfig, MistakesAreNamedWithTheirLine) {
  static const std::string kProfile = "[[cards.euicc.profile]]\niccid = \"898800100000000001\"\n";
  static const struct {
    std::string toml;
    const char* why;
  } kRows[] = {
      {"[sar]\nstat = 1\n", "phone.toml:2: sar: unknown key \"stat\""},
      {"[radio]\n", "phone.toml:1: unknown key \"radio\""},
      {"[sar]\n\nstate = -1\n",
       "phone.toml:3: sar.state must be a whole number from 0 to 4294967295"},
      {"[sar]\nstate = \"3\"\n",
       "phone.toml:2: sar.state must be a whole number from 0 to 4294967295"},
      {"sar = 1\n", "phone.toml:1: sar must be a table"},
      {"[[network]]\nrat = \"5g\"\n",
       "phone.toml:2: network.rat must be one of gsm, umts, lte, tdscdma, nr"},
      {"[[fault]]\nservice = \"gps\"\naction = \"drop\"\n",
       "phone.toml:2: fault.service must be one of vendor, nas, sar, vs, uim, pdc, diag, any"},
      {"[[fault]]\nnth = 1\n", "phone.toml:1: fault.action is missing"},
      {"[[fault]]\naction = \"drop\"\nms = 5\n", "phone.toml:3: fault: unknown key \"ms\""},
      {"[[fault]]\nkind = true\naction = \"drop\"\n",
       "phone.toml:2: fault.kind must be one of request, response, indication"},
      {"[[fault]]\naction = \"delay\"\n", "phone.toml:1: fault.ms is missing"},
      {"[[fault]]\naction = \"change\"\nat = 7\noctets = [256]\n",
       "phone.toml:4: fault.octets must be a list of whole numbers from 0 to 255"},
      {"[fault]\naction = \"drop\"\n",
       "phone.toml:1: fault must be a list of tables, each under [[fault]]"},
      {"# \xC9\xA7\n[\xEF\xBB\x9F",
       "phone.toml:2: characters outside ASCII are written as escapes, like \\u00E9"},
      {"a = \"#\" # \xC9\n\"\xC9\"",
       "phone.toml:2: characters outside ASCII are written as escapes, like \\u00E9"},
      {"[statistics]\noutdated_logs = 5\n",
       "phone.toml:2: statistics.outdated_logs must be a list of numbers"},
      {"[cards]\nsim3 = 1\n", "phone.toml:2: cards: unknown key \"sim3\""},
      {"[cards.sim1]\nstate = \"gone\"\n",
       "phone.toml:2: cards.sim1.state must be one of absent, present, error"},
      {"[cards.sim2]\nerror = \"bad\"\n",
       "phone.toml:2: cards.sim2.error must be one of unknown, poll, no-atr, voltage-mismatch, "
       "parity, possibly-removed, technical"},
      {"[cards.sim2]\nerror = \"poll\"\n",
       "phone.toml:2: cards.sim2.error is of state = \"error\" alone"},
      {"[cards.euicc]\neid = \"890\"\n",
       "phone.toml:2: cards.euicc.eid must be octets in hex, like \"01 A0\""},
      {"[cards.euicc]\neid = \"" + std::string(34, '1') + "\"\n",
       "phone.toml:2: cards.euicc.eid has more than 16 octets"},
      {"[[cards.euicc.profile]]\niccid = \"123\"\n",
       "phone.toml:2: cards.euicc.profile.iccid must have 18 to 20 digits"},
      {kProfile + "class = \"work\"\n",
       "phone.toml:3: cards.euicc.profile.class must be one of operational, test, provisioning"},
      {kProfile + kProfile, "phone.toml:4: cards.euicc.profile.iccid is another profile's too"},
      {kProfile + "enabled = true\n[[cards.euicc.profile]]\niccid = \"898800100000000002\"\n"
                  "enabled = true\n",
       "phone.toml:6: cards.euicc.profile.enabled is another profile already"},
      {"[[configuration]]\nid = \"AA 0\"\n",
       "phone.toml:2: configuration.id must be octets in hex, like \"01 A0\""},
      {"[[configuration]]\nid = \"" + std::string(250, '1') + "\"\n",
       "phone.toml:2: configuration.id has more than 124 octets"},
      {"[[configuration]]\nid = \"\"\n",
       "phone.toml:2: configuration.id must have 1 to 124 octets"},
      {"[[configuration]]\nid = \"AA00\"\n[[configuration]]\nid = \"AA00\"\ntype = \"platform\"\n"
       "[[configuration]]\nid = \"aa 00\"\n",
       "phone.toml:7: configuration.id is there twice"},
      {"[measurements.sub2]\n", "phone.toml:1: measurements: unknown key \"sub2\""},
      {"[measurements.sub0]\nrats = 1\n", "phone.toml:2: measurements.sub0: unknown key \"rats\""},
      {"[measurements.sub1.gsm]\n\npeak = 1\n",
       "phone.toml:3: measurements.sub1.gsm: unknown key \"peak\""},
      {"[measurements.sub0]\nrat = \"5g\"\n",
       "phone.toml:2: measurements.sub0.rat must be one of none, gsm, wcdma, lte, nr, or a number"},
      {"[measurements.sub0.lte_pcc]\npci = 65536\n",
       "phone.toml:2: measurements.sub0.lte_pcc.pci must be a whole number from 0 to 65535"},
      {"[measurements.sub0.lte_power]\nmax_power = -32769\n",
       "phone.toml:2: measurements.sub0.lte_power.max_power must be a whole number from -32768 to "
       "32767"},
      {"[measurements.sub0.lte_power]\nmax_power = 23.5\n",
       "phone.toml:2: measurements.sub0.lte_power.max_power must be a whole number from -32768 to "
       "32767"},
      {"[measurements.sub0.nr_pcc]\nrsrp = [1, 2, 3]\n",
       "phone.toml:2: measurements.sub0.nr_pcc.rsrp must be a list of 4"},
      {"[measurements.sub0.nr_pcc]\nrsrp = [1, 2, 3, \"4\"]\n",
       "phone.toml:2: measurements.sub0.nr_pcc.rsrp holds something that is not a number"},
      {"[measurements.sub0.nr_pcc]\nrsrp = -90\n",
       "phone.toml:2: measurements.sub0.nr_pcc.rsrp must be a list of numbers"},
      {"[measurements.sub0.nr_pcc]\nrsrq = 1e39\n",
       "phone.toml:2: measurements.sub0.nr_pcc.rsrq holds a number that does not fit"},
      {"[measurements.sub0.nr_antenna]\ntx_new = []\n",
       "phone.toml:2: measurements.sub0.nr_antenna.tx_new must be a list of 2"},
      {"[measurements.sub0.nr_antenna]\nrx_old = [0, 0, 0, 2147483648]\n",
       "phone.toml:2: measurements.sub0.nr_antenna.rx_old must be a list of whole numbers from "
       "-2147483648 to 2147483647"},
      {"[measurements.sub0.raw]\n\"0x\" = \"\"\n",
       "phone.toml:2: measurements.sub0.raw.0x is not the id of a record"},
      {"[measurements.sub0.raw]\n\"0x100000000\" = \"\"\n",
       "phone.toml:2: measurements.sub0.raw.0x100000000 is not the id of a record"},
      {"[measurements.sub0.raw]\n\"0x52\" = \"1 2\"\n",
       "phone.toml:2: measurements.sub0.raw.0x52 must be octets in hex, like \"01 A0\""},
      {"[measurements.sub0.raw]\n\"0x52\" = \"" + std::string(1402, '0') + "\"\n",
       "phone.toml:2: measurements.sub0.raw.0x52 has more than 700 octets"},
      {"[modem]\nabsent = [\"nas\", \"gps\"]\n",
       "phone.toml:2: modem.absent holds \"gps\", which is none of vendor, nas, sar, vs, uim, pdc, "
       "diag"},
      {"[modem]\nabsent = \"nas\"\n", "phone.toml:2: modem.absent must be a list of texts"},
      {"[statistics]\ncmd_fail_count = -1\n",
       "phone.toml:2: statistics.cmd_fail_count must be a whole number from 0 to "
       "9223372036854775807"},
  };
  for (const auto& row : kRows) {
    sim::PhoneConfig config;
    config.sar_state = 99;
    std::string why;
    EXPECT_FALSE(sim::parse_phone_config(row.toml, &config, &why)) << row.toml;
    EXPECT_EQ(why, row.why);
    EXPECT_EQ(config.sar_state, 99u) << "a bad text changes nothing";
  }
  sim::PhoneConfig config;
  std::string why;
  EXPECT_FALSE(sim::parse_phone_config("[sar\n", &config, &why));
  EXPECT_TRUE(why.starts_with("phone.toml:1: ")) << why;
  ASSERT_TRUE(sim::parse_phone_config("[[network]] # \xC9\xA7\nname = \"\\\"#\\u00E9\" # \xC9\n",
                                      &config, &why))
      << why;
  EXPECT_EQ(config.networks[0].name, "\"#\u00E9");
  ASSERT_TRUE(sim::parse_phone_config("[[configuration]]\nid = \"aa 00\"\n", &config, &why)) << why;
  ASSERT_TRUE(sim::parse_phone_config(sim::kDefaultPhoneToml, &config, &why)) << why;
  EXPECT_EQ(config.networks.size(), 3u);
  EXPECT_EQ(config.networks[0].status, 0b01100101) << "serving, home, allowed, preferred";
  EXPECT_TRUE(config.faults.empty());
}

}  // namespace

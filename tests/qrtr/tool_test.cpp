// vex, and tools of others, on a simulated phone that is published on the kernel's QRTR bus.

#include <regex>

#include "qrtr/bus_peer.h"
#include "qrtr/served_phone.h"
#include "sim/default_phone.h"

namespace {

using desk::run;
using desk::ServedPhone;

// ---- every command family

struct Family {
  const char* name;
  std::vector<const char*> commands;
  size_t requests;  // that the modem gets at least
};
std::string family_name(const testing::TestParamInfo<Family>& info) { return info.param.name; }

// The default phone, whose modem is back at once when it restarts.
std::string quick_phone() {
  std::string toml(sim::kDefaultPhoneToml);
  const std::string slow = "restart_ms = 1500";
  return toml.replace(toml.find(slow), slow.size(), "restart_ms = 0");
}

class Families : public testing::TestWithParam<Family> {};

TEST_P(Families, SayAndDoTheSameAsOnTheEmbeddedModem) {
  const auto in_turn = [](const desk::PhoneDirectory& phone, const char* modem) {
    phone.write("properties", "persist.radio.ssr_wait_s=0\n");
    std::string script = "cd " + phone.root() + "; export VEX_PHONE=$PWD VEX_MODEM=" + modem + "\n";
    for (const char* words : GetParam().commands) {
      script += "echo \"# " + std::string(words) + "\"; vex " + words + " 2>&1\n";
    }
    // And what it has made of the phone.
    return run(script + "find nv efs dump properties -type f | sort | xargs md5sum").output;
  };
  const desk::PhoneDirectory embedded;
  std::string why;
  ASSERT_TRUE(embedded.phone().prepare(&why)) << why;
  embedded.write("phone.toml", quick_phone());
  const std::string expected = in_turn(embedded, "embedded");
  if (expected.find(": Not support\n") != std::string::npos) {
    GTEST_SKIP() << "vex does not have this family yet";
  }
  const ServedPhone served(quick_phone());
  EXPECT_EQ(in_turn(served.directory(), "qrtr"), expected);
  EXPECT_GE(served.traced(" request "), GetParam().requests) << "the modem on the bus was asked";
}

INSTANTIATE_TEST_SUITE_P(
    Vex, Families,
    testing::Values(
        Family{"Rf3",
               {"3 0 1 2 3", "3 1", "3 2", "3 1", "3 3 1 4 0x10000000000", "3 4", "3 5", "3 4"},
               8},
        Family{"NvEfs4",
               {"4 1 0 550", "4 2 0 10 1 2 3", "4 1 0 10", "4 3 0 10", "4 1 0 10", "4 1 0 7233",
                "4 5 1 /nv/item_files/x $(seq 365)", "4 4 1 /nv/item_files/x",
                "4 6 1 /nv/item_files/x", "4 4 1 /nv/item_files/x"},
               9},
        Family{"Common5",
               {"5 1", "5 2 0", "5 3 0 1 1", "5 4", "5 5", "5 6 0", "5 6 1 2 3 4", "5 10 4 1",
                "5 10 1 1", "5 10 3 1", "5 10 5 1", "5 10 2 1"},
               12},
        Family{"RawQmi6", {"6 2 1 0 0x26 2", "6 4 20 0 0 0", "6 5 1", "6 6 1"}, 3},
        Family{"DiagStats7", {"7 0 1", "7 1 0", "7 1 1"}, 2},
        Family{"QmiStats9",
               {"9 0 0", "9 0 1", "9 1 0", "9 6 0", "9 7 0", "9 8 0", "9 9 0", "9 10 0", "9 11 0",
                "9 20 1", "9 21 1", "9 30 0", "9 31 0", "9 31 2", "9 31 3"},
               15},
        Family{"Mbn10", {"10 0 1", "10 0 3", "10 1 3", "10 2 1"}, 4},
        Family{"Smart11",
               {"11 2", "11 3 1", "11 4 1", "11 4 0", "11 5 1", "11 6 1", "11 6 0", "11 1", "11 0"},
               8},
        Family{"Scan12", {"12 0", "12 1", "12 2"}, 2}),
    family_name);

// ---- tools of others

struct Reading {
  const char* rule;
  const char* toml;
  const char* command;
  const char* says;  // a regular expression for the whole of it
};
std::string reading_name(const testing::TestParamInfo<Reading>& info) { return info.param.rule; }

class Peers : public testing::TestWithParam<Reading> {};

TEST_P(Peers, ReadWhatThePhoneHolds) {
  const ServedPhone phone(GetParam().toml);
  const desk::Ran ran = run(std::string("timeout -s KILL 20 ") + GetParam().command);
  EXPECT_TRUE(std::regex_match(ran.output, std::regex(GetParam().says))) << ran.output;
}

constexpr const char kTwoNetworks[] = R"(
[[network]]
mcc = 310
mnc = 26
mnc_digits = 3
name = "Test Three"
rat = "umts"
in_use = "serving"
roaming = true
forbidden = false
preferred = true
[[network]]
mcc = 1
mnc = 1
mnc_digits = 2
name = ""
rat = "tdscdma"
in_use = "unknown"
roaming = false
forbidden = true
preferred = false
)";

INSTANTIATE_TEST_SUITE_P(
    Tools, Peers,
    testing::Values(
        Reading{"EveryServiceIsInTheList", "", "qrtr-lookup | sort -n",
                " *Service Version Instance Node  Port\n"
                "( +[0-9]+ +1 +0 +1 +[0-9]+ .*\n)*"
                " +3 +1 +0 +1 +[0-9]+ Network Access Service\n"
                "( +[0-9]+ +1 +0 +1 +[0-9]+ .*\n)*"
                " +17 +1 +0 +1 +[0-9]+ Specific absorption rate service\n"
                "( +[0-9]+ +1 +0 +1 +[0-9]+ .*\n)*"
                " +65508 +1 +0 +1 +[0-9]+ <unknown>\n"
                " +65509 +1 +0 +1 +[0-9]+ <unknown>\n"},
        Reading{"AServiceThatIsAbsentIsNot", "[modem]\nabsent = [\"nas\"]\n",
                "qrtr-lookup | grep Network", ""},
        Reading{"SarState", "[sar]\nstate = 7\n", "qmicli -d qrtr://1 --sar-rf-get-state",
                "\\[qrtr://1\\] Successfully got SAR RF state: 7\n"},
        Reading{"NetworkScan", kTwoNetworks, "qmicli -d qrtr://1 --nas-network-scan",
                "\\[qrtr://1\\] Successfully scanned networks\n"
                "Network \\[0\\]:\n\tMCC: '310'\n\tMNC: '26'\n"
                "\tStatus: 'current-serving, roaming, not-forbidden, preferred'\n"
                "\tDescription: 'Test Three'\n"
                "Network \\[1\\]:\n\tMCC: '1'\n\tMNC: '1'\n"
                "\tStatus: 'home, forbidden, not-preferred'\n\tDescription: ''\n"
                "Network \\[0\\]:\n\tMCC: '310'\n\tMNC: '26'\n\tRAT: 'umts'\n"
                "Network \\[1\\]:\n\tMCC: '1'\n\tMNC: '1'\n\tRAT: 'td-scdma'\n"
                "Network \\[0\\]:\n\tMCC: '310'\n\tMNC: '26'\n\tMCC with PCS digit: 'yes'\n"
                "Network \\[1\\]:\n\tMCC: '1'\n\tMNC: '1'\n\tMCC with PCS digit: 'no'\n"
                "Network scan result: success\n"},
        Reading{"AnError", "[[fault]]\nservice = \"sar\"\naction = \"qmi-error\"\nerror = 52\n",
                "qmicli -d qrtr://1 --sar-rf-get-state",
                "error: couldn't get SAR RF state: QMI protocol error \\(52\\): "
                "'DeviceNotReady'\n"}),
    reading_name);

}  // namespace

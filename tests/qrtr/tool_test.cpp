// vex, and tools of others, on a simulated phone that is published on the kernel's QRTR bus.

#include <regex>

#include "qcci/services/services.h"
#include "qrtr/bus_peer.h"
#include "qrtr/served_phone.h"

namespace {

using desk::run;
using desk::ServedPhone;

// ---- tools of others

// The modem's, in decimal.
std::string node() {
  const char* const own = std::getenv("VEX_TEST_NODE");
  return own != nullptr ? own : "1";
}

TEST(Lookup, ListsEveryServiceOnceAndInItsVersion) {
  const ServedPhone phone;
  std::string listed = run("qrtr-lookup").output;
  for (const qmi_idl_service_object* service : qcci::idl::all_services()) {
    const std::regex line(" +" + std::to_string(service->id) + " +" +
                          std::to_string(service->major) + " +0 +" + node() + " +[0-9]+ .*\n");
    std::smatch found;
    EXPECT_TRUE(std::regex_search(listed, found, line)) << service->name;
    if (!found.empty()) listed.erase(found.position(), found.length());
  }
  EXPECT_EQ(listed, "  Service Version Instance Node  Port\n");
}

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
  const auto on_node = [](const char* text) {
    return std::regex_replace(text, std::regex("qrtr://1"), "qrtr://" + node());
  };
  const desk::Ran ran = run("timeout -s KILL 20 " + on_node(GetParam().command));
  EXPECT_TRUE(std::regex_match(ran.output, std::regex(on_node(GetParam().says)))) << ran.output;
}

constexpr const char kTwoConfigurations[] = R"(
[[configuration]]
type = "software"
id = "0102"
description = "Alpha"
version = 0x0A0B0C0D
size = 300
[[configuration]]
type = "platform"
id = "FF"
description = "Board"
version = 1
size = 2
[[configuration]]
type = "software"
id = "5F0A61C2D3E4F5061728394A5B6C7D8E9FA0B1C2"
description = "Beta"
version = 0x00000203
size = 70000
)";

constexpr const char kTwoCards[] = R"(
[cards.sim1]
state = "error"
error = "no-atr"
[cards.sim2]
state = "absent"
)";

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
        Reading{"NoServiceThatIsAbsent", "[modem]\nabsent = [\"nas\"]\n",
                "qrtr-lookup | grep Network", ""},
        Reading{"VexItself", "[sar]\nstate = 7\n",
                "sh -c 'export VEX_MODEM=qrtr VEX_SHELL_LEVELS=11; vex 5 5; vex 4 2 0 10 7; vex 4 "
                "1 0 10'",
                "SAR DSI: 7\n(.*\n)*.*:  07\n(.*\n)*"},
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
        Reading{"CardsThatAreReady", "", "qmicli -d qrtr://1 --uim-get-card-status",
                "\\[qrtr://1\\] Successfully got card status\n"
                "Provisioning applications:\n"
                "\tPrimary GW:   slot '1', application '1'\n"
                "\tPrimary 1X:   [a-z]+ doesn't exist\n"
                "\tSecondary GW: slot '2', application '1'\n"
                "\tSecondary 1X: [a-z]+ doesn't exist\n"
                "(Slot \\[[12]\\]:\n\tCard state: 'present'\n(\t.*\n)*"
                "\t\tApplication type:  'usim \\(2\\)'\n\t\tApplication state: 'ready'\n"
                "\t\tApplication ID:\n\t\t\tA0:00:00:00:87:10:02:.*\n(\t.*\n)*){2}"},
        Reading{"CardsThatAreNot", kTwoCards, "qmicli -d qrtr://1 --uim-get-card-status",
                "\\[qrtr://1\\] Successfully got card status\n"
                "Provisioning applications:\n(\t.*[a-z]+ doesn't exist\n){4}"
                "Slot \\[1\\]:\n\tCard state: 'error: no-atr-received \\(3\\)'\n(\t.*\n)*"
                "Slot \\[2\\]:\n\tCard state: 'absent'\n(\t.*\n)*"},
        Reading{"ConfigurationsAndTheActiveOne", kTwoConfigurations,
                "sh -c 'set -- qmicli -d qrtr://1; "
                "$@ --pdc-activate-config=software,5F0A61C2D3E4F5061728394A5B6C7D8E9FA0B1C2 && "
                "$@ --pdc-list-configs=software'",
                "\\[qrtr://1\\] Successfully requested config activation\n"
                "Total configurations: 2\n"
                "Configuration 1:\n\tDescription: Alpha\n\tType:        software\n"
                "\tSize:        300\n\tStatus:      Inactive\n\tVersion:     0xA0B0C0D\n"
                "\tID:          01:02\n\n"
                "Configuration 2:\n\tDescription: Beta\n\tType:        software\n"
                "\tSize:        70000\n\tStatus:      Active\n\tVersion:     0x203\n"
                "\tID:          5F:0A:61:C2:D3:E4:F5:06:17:28:39:4A:5B:6C:7D:8E:9F:A0:B1:C2\n\n"},
        Reading{"ThePlatformsConfiguration", kTwoConfigurations,
                "qmicli -d qrtr://1 --pdc-list-configs=platform",
                "Total configurations: 1\nConfiguration 1:\n\tDescription: Board\n"
                "\tType:        platform\n\tSize:        2\n\tStatus:      Inactive\n"
                "\tVersion:     0x1\n\tID:          FF\n\n"},
        Reading{"AnError", "[[fault]]\nservice = \"sar\"\naction = \"qmi-error\"\nerror = 52\n",
                "qmicli -d qrtr://1 --sar-rf-get-state",
                "error: couldn't get SAR RF state: QMI protocol error \\(52\\): "
                "'DeviceNotReady'\n"}),
    reading_name);

}  // namespace

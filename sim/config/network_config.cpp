#include "sim/config/network_config.h"

#include "sim/config/key.h"

namespace sim {
namespace {

constexpr size_t kMostNetworks = 40;  // NAS's scan response has room for no more

constexpr Choice kRats[] = {{"gsm", NAS_RAT_GSM},
                            {"umts", NAS_RAT_UMTS},
                            {"lte", NAS_RAT_LTE},
                            {"tdscdma", NAS_RAT_TDSCDMA},
                            {"nr", NAS_RAT_NR}};
constexpr Choice kUses[] = {{"unknown", NetworkUse::kUnknown},
                            {"serving", NetworkUse::kServing},
                            {"available", NetworkUse::kAvailable}};

constexpr KeyTable kKeys({
    number<&NetworkConfig::mcc>("mcc", {0, 999}, "the country's code"),
    number<&NetworkConfig::mnc>("mnc", {0, 999}, "the network's code"),
    number<&NetworkConfig::mnc_digits>("mnc_digits", {2, 3}, "how many digits mnc has"),
    text<&NetworkConfig::name>("name", 255, "the description that is reported"),
    choice<&NetworkConfig::rat>("rat", kRats, "the radio technology"),
    choice<&NetworkConfig::in_use>("in_use", kUses, "whether the phone uses it"),
    flag<&NetworkConfig::roaming>("roaming", "true: not the home network"),
    flag<&NetworkConfig::forbidden>("forbidden", "true: on the list of forbidden networks"),
    flag<&NetworkConfig::preferred>("preferred", "true: on the list of preferred networks"),
});
constexpr Keys<NetworkConfig> kNetwork(kKeys);

}  // namespace

uint8_t NetworkConfig::status() const {
  return static_cast<uint8_t>(static_cast<int>(in_use) | (roaming ? 2 : 1) << 2 |
                              (forbidden ? 1 : 2) << 4 | (preferred ? 1 : 2) << 6);
}

std::string NetworkConfig::text() const {
  return std::string(name_of(kRats, rat)) + ", " + name_of(kUses, to_number(in_use)) +
         (roaming ? ", roaming" : "") + (forbidden ? ", forbidden" : "") +
         (preferred ? ", preferred" : "");
}

std::vector<NetworkConfig> read_networks(Table& top) {
  std::vector<NetworkConfig> networks;
  for (Table& table : top.tables("network")) {
    kNetwork.read(table, networks.emplace_back());
    table.done();
  }
  if (networks.size() > kMostNetworks) {
    top.fail("network", "stands more often than the 40 times that a scan reports");
  }
  return networks;
}

std::vector<Section> network_sections() {
  return {{"network", "What a network scan finds, at most 40 networks.", kNetwork.rows(),
           Section::Kind::kList}};
}

}  // namespace sim

#include "sim/config/cards_config.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "sim/config/toml_table.h"

namespace sim {
namespace {

constexpr std::pair<const char*, uim_card_state> kStates[] = {
    {"absent", UIM_CARD_ABSENT}, {"present", UIM_CARD_PRESENT}, {"error", UIM_CARD_ERROR}};
constexpr std::pair<const char*, uim_card_error> kErrors[] = {
    {"unknown", UIM_ERROR_UNKNOWN},    {"poll", UIM_ERROR_POLL},
    {"no-atr", UIM_ERROR_NO_ATR},      {"voltage-mismatch", UIM_ERROR_VOLTAGE_MISMATCH},
    {"parity", UIM_ERROR_PARITY},      {"possibly-removed", UIM_ERROR_POSSIBLY_REMOVED},
    {"technical", UIM_ERROR_TECHNICAL}};
constexpr std::pair<const char*, ProfileClass> kClasses[] = {
    {"operational", ProfileClass::kOperational},
    {"test", ProfileClass::kTest},
    {"provisioning", ProfileClass::kProvisioning}};

constexpr std::pair<const char*, uint32_t> kTrays[] = {{"error", KELVOR_CARD_TYPE_ERROR},
                                                       {"single", KELVOR_CARD_TYPE_SINGLE},
                                                       {"multi", KELVOR_CARD_TYPE_MULTI}};

template <class T, size_t N>
const char* name_of(const std::pair<const char*, T> (&rows)[N], T value) {
  for (const auto& [name, of] : rows) {
    if (of == value) return name;
  }
  return "?";
}

SimConfig sim_config(Table table) {
  SimConfig config;
  config.state = table.one_of("state", "present", kStates);
  config.error = table.one_of("error", "unknown", kErrors);
  if (table.has("error") && config.state != UIM_CARD_ERROR) {
    table.fail("error", "is of state = \"error\" alone");
  }
  table.done();
  return config;
}

ProfileConfig profile(Table table, const std::vector<ProfileConfig>& others) {
  ProfileConfig config;
  config.iccid = table.text("iccid", "", 20);
  const bool digits = std::ranges::all_of(
      config.iccid, [](unsigned char digit) { return std::isdigit(digit) != 0; });
  if (config.iccid.size() < 18 || !digits) table.fail("iccid", "must have 18 to 20 digits");
  config.name = table.text("name", "", 64);
  config.profile_class = table.one_of("class", "operational", kClasses);
  config.enabled = table.flag("enabled", false);
  for (const ProfileConfig& other : others) {
    if (other.iccid == config.iccid) table.fail("iccid", "is another profile's too");
    if (other.enabled && config.enabled) table.fail("enabled", "is another profile already");
  }
  table.done();
  return config;
}

}  // namespace

CardsConfig read_cards(Table table) {
  CardsConfig config;
  config.extended_status = table.flag("extended_status", true);
  config.ready = std::chrono::milliseconds(table.number("ready_ms", 250, 0, 3600000));
  config.tray = table.one_of("tray", "multi", kTrays);
  config.sims = {sim_config(table.table("sim1")), sim_config(table.table("sim2"))};
  Table euicc = table.table("euicc");
  config.eid = euicc.octets("eid", UIM_EID_MAX);
  for (Table& one : euicc.tables("profile")) {
    config.profiles.push_back(profile(std::move(one), config.profiles));
  }
  euicc.done();
  table.done();
  return config;
}

const char* card_state_name(uim_card_state state) { return name_of(kStates, state); }
const char* profile_class_name(ProfileClass profile_class) {
  return name_of(kClasses, profile_class);
}

}  // namespace sim

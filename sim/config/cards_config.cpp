#include "sim/config/cards_config.h"

#include "sim/config/key.h"

namespace sim {
namespace {

constexpr Choice kStates[] = {
    {"absent", UIM_CARD_ABSENT}, {"present", UIM_CARD_PRESENT}, {"error", UIM_CARD_ERROR}};
constexpr Choice kErrors[] = {
    {"unknown", UIM_ERROR_UNKNOWN},    {"poll", UIM_ERROR_POLL},
    {"no-atr", UIM_ERROR_NO_ATR},      {"voltage-mismatch", UIM_ERROR_VOLTAGE_MISMATCH},
    {"parity", UIM_ERROR_PARITY},      {"possibly-removed", UIM_ERROR_POSSIBLY_REMOVED},
    {"technical", UIM_ERROR_TECHNICAL}};
constexpr Choice kClasses[] = {{"operational", ProfileClass::kOperational},
                               {"test", ProfileClass::kTest},
                               {"provisioning", ProfileClass::kProvisioning}};
constexpr Choice kTrays[] = {{"error", KELVOR_CARD_TYPE_ERROR},
                             {"single", KELVOR_CARD_TYPE_SINGLE},
                             {"multi", KELVOR_CARD_TYPE_MULTI}};

constexpr Check kIccid{[](std::string_view text) {
                         return text.size() >= 18 && std::ranges::all_of(text, [](char digit) {
                                  return digit >= '0' && digit <= '9';
                                });
                       },
                       "must have 18 to 20 digits"};

constexpr KeyTable kCardsKeys({
    flag<&CardsConfig::extended_status>("extended_status",
                                        "false: the modem knows no extended card status"),
    number<&CardsConfig::ready>("ready_ms", {0, 3600000, "ms"},
                                "How long a card takes to answer after a power up"),
    choice<&CardsConfig::tray>(
        "tray", kTrays,
        "What the tray can hold, single or multi SIMs, or an error. A SIM that is not absent is in "
        "it, until the tool says otherwise; from then on the file cards/tray has it"),
});
constexpr KeyTable kSimKeys({
    choice<&SimConfig::state>("state", kStates, "whether there is a card, and a sound one"),
    left_out(choice<&SimConfig::error>("error", kErrors, "why, with state = \"error\" alone")),
});
constexpr KeyTable kEuiccKeys({
    octets<&CardsConfig::eid>(
        "eid", {0, UIM_EID_MAX},
        "32 digits, the last two of them check digits; any other octets are sent as well. \"\": it "
        "has none. Blanks may stand between octets, here and everywhere"),
});
constexpr KeyTable kProfileKeys({
    required(text<&ProfileConfig::iccid>("iccid", 20, "18 to 20 digits", kIccid)),
    text<&ProfileConfig::name>("name", 64, "for people"),
    choice<&ProfileConfig::profile_class>("class", kClasses,
                                          "a memory reset deletes the first two"),
    flag<&ProfileConfig::enabled>("enabled", "of one profile at most"),
});

constexpr TableRow<CardsConfig> kCards{
    "cards", kCardsKeys,
    "The cards. Slot 1 has sim1. Slot 2 has sim2 and an eUICC; which of them it is connected to is "
    "decided when it is powered up, by the file "
    "efs/1/nv/item_files/modem/uim/uimdrv/esim_enable: four octets, the SIM when they are 0 or "
    "there is no such file. A modem that starts powers both slots up."};
constexpr TableRow<SimConfig> kSims[kSlots] = {{"cards.sim1", kSimKeys, "The SIMs."},
                                               {"cards.sim2", kSimKeys}};
constexpr TableRow<CardsConfig> kEuicc{"cards.euicc", kEuiccKeys};
constexpr TableRow<ProfileConfig> kProfiles{
    "cards.euicc.profile", kProfileKeys,
    "The eUICC's profiles. The file cards/deleted_profiles has the ICCIDs of those that a memory "
    "reset deleted; without that file they are back."};

SimConfig sim_config(Table table) {
  SimConfig config;
  kSims[0].keys.read(table, config);
  if (table.has("error") && config.state != UIM_CARD_ERROR) {
    table.fail("error", "is of state = \"error\" alone");
  }
  table.done();
  return config;
}

ProfileConfig profile(Table& table, const std::vector<ProfileConfig>& others) {
  ProfileConfig config;
  kProfiles.keys.read(table, config);
  for (const ProfileConfig& other : others) {
    if (other.iccid == config.iccid) table.fail("iccid", "is another profile's too");
    if (other.enabled && config.enabled) table.fail("enabled", "is another profile already");
  }
  table.done();
  return config;
}

}  // namespace

CardsConfig read_cards(Table& top) {
  CardsConfig config;
  Table table = top.table(kCards.name());
  kCards.keys.read(table, config);
  for (size_t i = 0; i < kSlots; ++i) config.sims[i] = sim_config(table.table(kSims[i].name()));
  Table euicc = table.table(kEuicc.name());
  kEuicc.keys.read(euicc, config);
  for (Table& one : euicc.tables(kProfiles.name())) {
    config.profiles.push_back(profile(one, config.profiles));
  }
  euicc.done();
  table.done();
  return config;
}

std::vector<Section> cards_sections() {
  return {kCards.section(), kSims[0].section(), kSims[1].section(), kEuicc.section(),
          kProfiles.section(Section::Kind::kList)};
}

const char* card_state_name(uim_card_state state) { return name_of(kStates, to_number(state)); }
const char* profile_class_name(ProfileClass profile_class) {
  return name_of(kClasses, to_number(profile_class));
}

}  // namespace sim

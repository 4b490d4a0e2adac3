#include "sim/config/carrier_configs.h"

#include <set>
#include <utility>

#include "sim/config/key.h"

namespace sim {
namespace {

constexpr Range kDay{0, 86400000, "ms"};

constexpr Choice kTypes[] = {{"platform", PDC_CONFIG_TYPE_PLATFORM},
                             {"software", PDC_CONFIG_TYPE_SOFTWARE}};

constexpr KeyTable kPdcKeys({
    number<&PdcConfig::activation>("activation_ms", kDay, "How long an activation takes"),
    number<&PdcConfig::deactivation>("deactivation_ms", kDay, "How long a deactivation takes"),
    number<&PdcConfig::frame>("frame", {1, PDC_CONFIGS_MAX},
                              "A list comes in indications of at most so many configurations"),
});
constexpr KeyTable kConfigurationKeys({
    choice<&CarrierConfig::type>("type", kTypes, "what it configures"),
    required(octets<&CarrierConfig::id>("id", {1, PDC_CONFIG_ID_MAX}, "what requests name it by",
                                        "must have 1 to 124 octets")),
    text<&CarrierConfig::description>("description", PDC_DESCRIPTION_MAX, "for people"),
    in_hex(number<&CarrierConfig::version>("version", "its version")),
    number<&CarrierConfig::size>("size", "its size in octets"),
    flag<&CarrierConfig::is_default>("default", "true: the modem's default for the type"),
});

constexpr TableRow<PdcConfig> kPdc{
    "pdc", kPdcKeys,
    "Carrier configurations. What is selected is kept in the phone's directory: pdc/platform and "
    "pdc/software/<sub>, with a line \"active <id>\" and one \"pending <id>\"."};
constexpr TableRow<CarrierConfig> kConfigurations{"configuration", kConfigurationKeys,
                                                  "The configurations that the modem has."};

}  // namespace

const CarrierConfig* PdcConfig::find(uint32_t type, const ConfigId& id) const {
  for (const CarrierConfig& config : configurations) {
    if (config.type == type && config.id == id) return &config;
  }
  return nullptr;
}

PdcConfig read_pdc(Table& top) {
  PdcConfig config;
  kPdc.read(top, config);
  std::set<std::pair<uint32_t, ConfigId>> known;
  for (Table& table : top.tables(kConfigurations.name())) {
    CarrierConfig one;
    kConfigurations.keys.read(table, one);
    table.done();
    if (!known.emplace(one.type, one.id).second) table.fail("id", "is there twice");
    config.configurations.push_back(std::move(one));
  }
  return config;
}

std::vector<Section> pdc_sections() {
  return {kPdc.section(), kConfigurations.section(Section::Kind::kList)};
}

const char* config_type_name(uint32_t type) { return name_of(kTypes, type); }

}  // namespace sim

#include "sim/config/carrier_configs.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <sstream>
#include <utility>

#include "platform/idl/pdc.h"
#include "qcci/wire/octets.h"
#include "sim/config/toml_table.h"

namespace sim {
namespace {

// Empty for what is no id.
ConfigId config_id(const std::string& text) {
  const auto octets = qcci::from_hex(text);
  return octets && octets->size() <= PDC_CONFIG_ID_MAX ? *octets : ConfigId();
}

CarrierConfig configuration(Table table) {
  static constexpr std::pair<const char*, uint32_t> kTypes[] = {
      {"platform", PDC_CONFIG_TYPE_PLATFORM}, {"software", PDC_CONFIG_TYPE_SOFTWARE}};
  CarrierConfig config;
  config.type = table.one_of("type", "software", kTypes);
  config.id = table.octets("id", PDC_CONFIG_ID_MAX);
  if (config.id.empty()) table.fail("id", "must have 1 to 124 octets");
  config.description = table.text("description", "", PDC_DESCRIPTION_MAX);
  config.version = table.number("version", 0, 0, UINT32_MAX);
  config.size = table.number("size", 0, 0, UINT32_MAX);
  config.is_default = table.flag("default", false);
  table.done();
  return config;
}

}  // namespace

const CarrierConfig* PdcConfig::find(uint32_t type, const ConfigId& id) const {
  for (const CarrierConfig& config : configurations) {
    if (config.type == type && config.id == id) return &config;
  }
  return nullptr;
}

PdcConfig read_pdc(Table pdc, std::vector<Table> configurations) {
  PdcConfig config;
  config.activation = std::chrono::milliseconds(pdc.number("activation_ms", 200, 0, 86400000));
  config.deactivation = std::chrono::milliseconds(pdc.number("deactivation_ms", 100, 0, 86400000));
  config.frame = pdc.number("frame", PDC_CONFIGS_MAX, 1, PDC_CONFIGS_MAX);
  pdc.done();
  std::set<std::pair<uint32_t, ConfigId>> known;
  for (Table& table : configurations) {
    CarrierConfig one = configuration(table);
    if (!known.emplace(one.type, one.id).second) table.fail("id", "is there twice");
    config.configurations.push_back(std::move(one));
  }
  return config;
}

std::string selection_path(uint32_t type, uint32_t sub) {
  return type == PDC_CONFIG_TYPE_SOFTWARE ? "pdc/software/" + std::to_string(sub) : "pdc/platform";
}

int read_selection(const Phone& phone, const std::string& path, Selection* selection) {
  *selection = {};
  std::string text;
  const int error = phone.all().read(path, &text);
  if (error != 0) return error == ENOENT ? 0 : error;
  std::istringstream lines(text);
  for (std::string key, id; lines >> key >> id;) {
    if (key == "active") selection->active = config_id(id);
    if (key == "pending") selection->pending = config_id(id);
  }
  return 0;
}

int write_selection(const Phone& phone, const std::string& path, const Selection& selection) {
  std::string text;
  for (const auto& [key, id] :
       {std::pair("active ", &selection.active), {"pending ", &selection.pending}}) {
    if (!id->empty()) text += key + qcci::to_hex(*id) + "\n";
  }
  return phone.all().write(path, text);
}

}  // namespace sim

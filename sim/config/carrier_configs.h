// The carrier configurations that the phone has, and which of them are in use.
//
// What there is stands in phone.toml; what is selected is state of the phone's directory, a file a
// selection: pdc/platform and pdc/software/<sub>, with the lines "active <id>" and "pending <id>",
// either of which may be missing.
#ifndef SIM_CONFIG_CARRIER_CONFIGS_H_
#define SIM_CONFIG_CARRIER_CONFIGS_H_

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "sim/phone/phone.h"

namespace sim {

class Table;

using ConfigId = std::vector<uint8_t>;  // 1 to 124 octets; empty: none

struct CarrierConfig {
  uint32_t type = 0;  // 0 platform, 1 software
  ConfigId id;
  std::string description;
  uint32_t version = 0;
  uint32_t size = 0;        // octets
  bool is_default = false;  // what the type has when nothing is selected
};

struct PdcConfig {
  std::chrono::milliseconds activation{200};
  std::chrono::milliseconds deactivation{100};
  uint32_t frame = 25;  // configurations in one indication of the list
  std::vector<CarrierConfig> configurations;

  const CarrierConfig* find(uint32_t type, const ConfigId& id) const;
};

// The tables [pdc] and [[configuration]].
PdcConfig read_pdc(Table pdc, std::vector<Table> configurations);

// What is selected for one type and, for software, one subscription.
struct Selection {
  ConfigId active;
  ConfigId pending;  // selected, and not activated yet
};

// The file of a selection, below the phone's directory.
std::string selection_path(uint32_t type, uint32_t sub);
// Both 0 or an errno number; a file that is not there is an empty selection.
int read_selection(const Phone& phone, const std::string& path, Selection* selection);
int write_selection(const Phone& phone, const std::string& path, const Selection& selection);

}  // namespace sim

#endif  // SIM_CONFIG_CARRIER_CONFIGS_H_

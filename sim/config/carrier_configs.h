// The carrier configurations of phone.toml. Which of them are in use is state of the phone's
// directory (sim/phone/selection.h).
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/idl/pdc.h"

namespace sim {

class Table;
struct Section;

using ConfigId = std::vector<uint8_t>;  // 1 to 124 octets; empty: none

struct CarrierConfig {
  uint32_t type = PDC_CONFIG_TYPE_SOFTWARE;
  ConfigId id;
  std::string description;  // at most 255 octets
  uint32_t version = 0;
  uint32_t size = 0;        // octets
  bool is_default = false;  // what the type has when nothing is selected
};

// The two times are from a request to the indication of its outcome.
struct PdcConfig {
  std::chrono::milliseconds activation{200};
  std::chrono::milliseconds deactivation{100};
  uint32_t frame = PDC_CONFIGS_MAX;  // configurations in one indication of the list
  std::vector<CarrierConfig> configurations;

  // Null when there is none. Type and id name a configuration; no two have the same.
  const CarrierConfig* find(uint32_t type, const ConfigId& id) const;
};

// The tables [pdc] and [[configuration]]; throws BadToml.
PdcConfig read_pdc(Table& top);
std::vector<Section> pdc_sections();

// "platform" or "software"; "?" for another number.
const char* config_type_name(uint32_t type);

}  // namespace sim

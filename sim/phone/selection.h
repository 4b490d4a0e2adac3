// Which carrier configurations are selected: a file of the phone's directory for platform and one
// for software on each subscription, with the lines "active <id>" and "pending <id>", either of
// which may be missing.
#pragma once

#include <cstdint>
#include <string>

#include "sim/config/carrier_configs.h"
#include "sim/phone/phone.h"

namespace sim {

// What is selected for one type and, for software, one subscription.
struct Selection {
  ConfigId active;
  ConfigId pending;  // selected, and not activated yet
};

// The file of a selection, below the phone's directory.
std::string selection_path(uint32_t type, uint32_t sub);
// Both 0 or an errno number; a file that is not there is an empty selection.
[[nodiscard]] int read_selection(const Phone& phone, const std::string& path, Selection* selection);
[[nodiscard]] int write_selection(const Phone& phone, const std::string& path,
                                  const Selection& selection);

}  // namespace sim

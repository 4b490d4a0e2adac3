// The networks of phone.toml: what NAS's scans find. There are at most 40, which is what a scan's
// response has room for; a file with more is refused.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/idl/nas.h"

namespace sim {

class Table;
struct Section;

// As NAS numbers it.
enum class NetworkUse : uint8_t { kUnknown, kServing, kAvailable };

struct NetworkConfig {
  uint16_t mcc = 1;
  uint16_t mnc = 1;
  uint8_t mnc_digits = 2;  // 2 or 3: an mnc of 1 is "01" or "001"
  std::string name;
  uint8_t rat = NAS_RAT_LTE;
  NetworkUse in_use = NetworkUse::kAvailable;
  bool roaming = false;
  bool forbidden = false;
  bool preferred = false;

  bool mnc_three_digits() const { return mnc_digits == 3; }
  uint8_t status() const;    // NAS's four pairs of bits, as in nas_network (platform/idl/nas.h)
  std::string text() const;  // technology and status in the words of phone.toml
};

// The tables [[network]]; throws BadToml.
std::vector<NetworkConfig> read_networks(Table& top);
std::vector<Section> network_sections();

}  // namespace sim

// The values of a message as JSON:
//
//   [name, 550, "IMEI"]           a number, and what it stands for; as a text beyond 2^53
//   [name, {"octets": "08 1A"}]   and "count", when there were more
//   [name, {"text": "..."}]
//   [name, {"items": [...]}]      an array
//   [name, {"fields": [...]}]     a record
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "traffic/view/walk.h"

namespace traffic {

struct JsonValues {
  nlohmann::json fields = nlohmann::json::array();
  std::vector<std::string> failures;  // what says that something failed
};
[[nodiscard]] JsonValues json_values(Decoded& decoded);

}  // namespace traffic

// What a run has changed on the simulated phone.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace run {

// One item that differs: what it held before, and after; none: it was not there.
struct Change {
  std::string kind;  // "nv", "efs", "property" or "selection"
  std::string name;
  std::optional<std::string> before, after;  // texts for a person
};

// The phone's items, by kind and name.
using Snapshot = std::map<std::pair<std::string, std::string>, std::string>;

// False, and why, when there is no simulated phone to look at.
[[nodiscard]] bool take_snapshot(Snapshot* snapshot, std::string* why);
[[nodiscard]] std::vector<Change> changes(const Snapshot& before, const Snapshot& after);

}  // namespace run

// The fault rules of phone.toml: which messages they match, and what they do to them.
//
// Only the rows are read and checked here; sim/modem/faults.h applies them. docs/faults.md has the
// rules as their users see them.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sim {

class Table;
struct Section;

enum class FaultKind : uint8_t { kRequest, kResponse, kIndication };

// A row of fault_rules.cpp has its name and its own keys, a row of faults.cpp what it does.
enum class FaultAction : uint8_t {
  kDrop,
  kDelay,
  kQmiError,
  kVendorError,
  kTruncate,
  kChange,
  kDuplicate,
  kWrongTransaction,
  kAfterIndication,
  kRestart,
};

// One rule. Members below `action` are of one action or another, and 0 or empty for the rest.
struct FaultRule {
  std::optional<uint32_t> service;  // none: any
  std::optional<uint16_t> message;  // none: any
  FaultKind kind = FaultKind::kResponse;
  uint32_t nth = 0;  // of the matches since the modem started, from 1; 0: every one
  FaultAction action = FaultAction::kDrop;
  std::chrono::milliseconds delay{0};
  uint32_t code = 0;            // error or result
  uint32_t at = 0;              // octets from the message's first
  uint32_t keep = 0;            // octets left by a truncation
  std::vector<uint8_t> octets;  // of a change
  std::string text;             // the rule and its line, for a person

  bool operator==(const FaultRule&) const = default;
};

// The tables [[fault]], in the order of the file; throws BadToml.
std::vector<FaultRule> read_faults(Table& top);
std::vector<Section> fault_sections();

}  // namespace sim

// phone.toml as the modem takes it.
#ifndef SIM_CONFIG_CONFIG_H_
#define SIM_CONFIG_CONFIG_H_

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/config/cards_config.h"
#include "sim/config/carrier_configs.h"
#include "sim/config/measurements.h"

namespace sim {

struct NetworkConfig {
  uint16_t mcc = 0;
  uint16_t mnc = 0;
  bool mnc_three_digits = false;
  std::string name;
  uint8_t rat = 0;     // of enum nas_rat
  uint8_t status = 0;  // NAS's four pairs of bits
  std::string text;    // both in the words of phone.toml
};

enum class FaultKind : uint8_t { kRequest, kResponse, kIndication };

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
};

// What diag's version command answers.
struct DiagConfig {
  std::string compiled;  // "Mmm dd yyyy hh:mm:ss"
  std::string released;
  std::string version;  // 8 octets at most
  uint8_t model = 0;
  uint16_t firmware = 0;
  uint8_t hardware[2] = {};  // major, minor
};

struct PhoneConfig {
  std::chrono::milliseconds restart{1500};
  bool loses_unsynced = false;   // a restart loses what was not synced
  std::vector<uint32_t> absent;  // services that are not there until they are brought up
  bool sar_valid = true;
  uint32_t sar_state = 0;
  bool statistics_enabled = true;
  uint64_t cmd_ok_count = 0;
  uint64_t cmd_fail_count = 0;
  std::vector<uint16_t> outdated_logs;
  Measurements measurements;
  DiagConfig diag;
  CardsConfig cards;
  PdcConfig pdc;
  std::vector<NetworkConfig> networks;
  std::vector<FaultRule> faults;
};

// False, and one line that names the place, for a text that is not a phone.
bool parse_phone_config(std::string_view toml, PhoneConfig* config, std::string* why);

// Reads the phone's phone.toml. False, and why, when it cannot be read or has a mistake.
bool load_phone_config(const Phone& phone, PhoneConfig* config, std::string* why);
// The same, the phone's directory prepared before.
bool read_phone(const Phone& phone, PhoneConfig* config, std::string* why);

}  // namespace sim

#endif  // SIM_CONFIG_CONFIG_H_

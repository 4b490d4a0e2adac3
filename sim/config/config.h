// phone.toml as the modem takes it.
//
// A member's initialiser is what a missing key means. To add a key: a member, and a row that names
// it in the source of its table (config.cpp for most; see key.h).
//
// Services read it with the modem's mutex held, with which it is replaced while a modem runs
// (Modem::configure). docs/phone-keys.md lists the keys with their limits.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sim/config/cards_config.h"
#include "sim/config/carrier_configs.h"
#include "sim/config/fault_rules.h"
#include "sim/config/measurements.h"
#include "sim/config/network_config.h"

namespace sim {

struct ModemConfig {
  std::chrono::milliseconds restart{1500};  // from going down until the services are up
  bool loses_unsynced = false;              // a restart loses what was not synced
  std::vector<uint32_t> absent;  // ids of services that are not there until they are brought up
};

// What SAR answers.
struct SarConfig {
  uint32_t state = 0;
  bool valid = true;
};

// The modem's counters, which the vendor service's statistics requests answer.
struct StatisticsConfig {
  bool enabled = true;
  std::vector<uint16_t> outdated_logs;  // ids of diag logs
  uint64_t cmd_ok_count = 0;
  uint64_t cmd_fail_count = 0;
};

// What diag's version command answers.
struct DiagConfig {
  std::string compiled = "Jan 01 2026 00:00:00";
  std::string released = "Jan 01 2026 00:00:00";
  std::string version;
  uint8_t model = 0;
  uint16_t firmware = 0;
  uint8_t hardware_major = 0;
  uint8_t hardware_minor = 0;
};

struct PhoneConfig {
  ModemConfig modem;
  SarConfig sar;
  StatisticsConfig statistics;
  Measurements measurements;
  DiagConfig diag;
  CardsConfig cards;
  PdcConfig pdc;
  std::vector<NetworkConfig> networks;
  std::vector<FaultRule> faults;
};

// Reads the text of a phone.toml. False, with *config as it was and one line that names the place
// in *why, for a text that is not TOML, has an unknown key, or a value that its key does not take;
// the first mistake counts.
[[nodiscard]] bool parse_phone_config(std::string_view written, PhoneConfig* config,
                                      std::string* why);

// Every table that a phone.toml may have, in the order of the default file.
std::vector<Section> sections();

}  // namespace sim

// The eUICC of the eSIM slot: its profiles, and the functions of its root security domain.
//
// Its profiles are those of phone.toml except those that a memory reset has deleted. Their ICCIDs
// are in a file of the phone, so that they stay deleted after restarts.
//
// Threads: any.
#pragma once

#include <span>
#include <vector>

#include "sim/config/cards_config.h"
#include "sim/phone/phone.h"

namespace sim {

// Whether the eSIM slot is connected to its eUICC, not its SIM, when it is powered up: the modem's
// eSIM enable file exists and has a number other than 0.
[[nodiscard]] bool esim_enabled(const Phone& phone);

class Euicc {
 public:
  // Its path below the phone's directory: the ICCIDs of deleted profiles, one in a line.
  static constexpr const char* kDeletedFile = "cards/deleted_profiles";

  // `phone` and `config` must outlast it.
  Euicc(const Phone& phone, const CardsConfig& config) : phone_(phone), config_(config) {}

  // The profiles that are not deleted.
  std::vector<ProfileConfig> profiles() const;

  // The root security domain's response to the data of a STORE DATA command, the status word last.
  [[nodiscard]] std::vector<uint8_t> store_data(std::span<const uint8_t> data);

 private:
  std::vector<uint8_t> get_eid(std::span<const uint8_t> value);
  std::vector<uint8_t> memory_reset(std::span<const uint8_t> value);

  const Phone& phone_;
  const CardsConfig& config_;
};

}  // namespace sim

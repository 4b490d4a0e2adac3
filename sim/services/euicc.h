// The eUICC of the eSIM slot: its profiles, and the functions of its root security domain.
//
// Its profiles are those of phone.toml without those that a memory reset deleted; these are kept in
// the phone's directory, so that they stay deleted whatever restarts.
#ifndef SIM_SERVICES_EUICC_H_
#define SIM_SERVICES_EUICC_H_

#include <span>
#include <vector>

#include "sim/config/cards_config.h"
#include "sim/phone/phone.h"

namespace sim {

// Whether the eSIM slot is connected to its eUICC when it is powered up: the modem's eSIM enable
// file has a number other than 0.
bool esim_enabled(const Phone& phone);

class Euicc {
 public:
  // Below the phone's directory: the ICCIDs of deleted profiles, one a line.
  static constexpr const char* kDeletedFile = "cards/deleted_profiles";

  Euicc(const Phone& phone, const CardsConfig& config) : phone_(phone), config_(config) {}

  // The profiles that are on it.
  std::vector<ProfileConfig> profiles() const;

  // The answer of the root security domain to what a STORE DATA command carries, status words last.
  std::vector<uint8_t> store_data(std::span<const uint8_t> data);

 private:
  std::vector<uint8_t> get_eid(std::span<const uint8_t> value);
  std::vector<uint8_t> memory_reset(std::span<const uint8_t> value);

  const Phone& phone_;
  const CardsConfig& config_;
};

}  // namespace sim

#endif  // SIM_SERVICES_EUICC_H_

// The cards of phone.toml: what is in the slots, and the eUICC's profiles.
//
// It is what the phone is delivered with. What changes afterwards (whether the tray is in, which
// profiles have been deleted) is state of the phone's directory (sim/services/card_tray.h,
// euicc.h).
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/idl/uim.h"
#include "platform/idl/vendor_payload.h"

namespace sim {

class Table;
struct Section;

constexpr size_t kSlots = 2;     // as many as UIM's card status has room for
constexpr size_t kEsimSlot = 1;  // the one, from 0, that has an eUICC beside its SIM

// A slot's SIM. Slots count from 0 here; in UIM's messages they count from 1.
struct SimConfig {
  uim_card_state state = UIM_CARD_PRESENT;
  uim_card_error error = UIM_ERROR_UNKNOWN;  // of a SIM in the state "error"
};

// The bits of an eUICC's memory reset that delete profiles of the class.
enum class ProfileClass : uint8_t { kOperational = 0x80, kTest = 0x40, kProvisioning = 0 };

struct ProfileConfig {
  std::string iccid;  // decimal digits; what names the profile
  std::string name;   // for people
  ProfileClass profile_class = ProfileClass::kOperational;
  bool enabled = false;
};

struct CardsConfig {
  bool extended_status = true;             // the modem knows UIM's extended card status
  std::chrono::milliseconds ready{250};    // from a power up until the card answers
  uint32_t tray = KELVOR_CARD_TYPE_MULTI;  // of kelvor_card_type
  std::array<SimConfig, kSlots> sims;
  std::vector<uint8_t> eid;  // at most 16 octets; empty: the eUICC tells none
  std::vector<ProfileConfig> profiles;
};

// The table [cards] of phone.toml; throws BadToml. `top`: the whole text.
CardsConfig read_cards(Table& top);
// The same tables, for whoever goes through all keys.
std::vector<Section> cards_sections();

// As phone.toml calls them; "?" for another number.
const char* card_state_name(uim_card_state state);
const char* profile_class_name(ProfileClass profile_class);

}  // namespace sim

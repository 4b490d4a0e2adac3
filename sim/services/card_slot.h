// A card slot: the card that it is connected to, whether that has power, and what is open on it.
#ifndef SIM_SERVICES_CARD_SLOT_H_
#define SIM_SERVICES_CARD_SLOT_H_

#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "platform/clock/process_clock.h"
#include "sim/config/cards_config.h"
#include "sim/services/card_tray.h"
#include "sim/services/euicc.h"

namespace sim {

class CardSlot {
 public:
  static constexpr uint8_t kChannelsMax = 3;  // beside the basic one, 0

  enum class Application : uint8_t { kNone, kUsim, kIsdR };

  // place: of the slot's SIM in the tray. euicc: null for a slot that has a SIM only.
  CardSlot(const SimConfig& sim, const CardTray& tray, uint32_t place, Euicc* euicc)
      : sim_(sim), tray_(tray), place_(place), euicc_(euicc) {}

  // Connects the slot to one of its cards, which answers from `ready` on.
  void power_up(bool to_euicc, platform::Time ready);
  void power_down();

  bool powered() const { return powered_; }
  bool is_euicc() const { return to_euicc_; }
  // Whether the slot's switch says that a card is in it; an eUICC is none that one puts in.
  bool switched() const { return tray_.present(place_); }
  uim_card_state state() const;
  uim_card_error error() const;
  // The USIM's AID; empty when the card has none.
  std::vector<uint8_t> usim() const;

  // Opens a channel to the application whose AID begins with `aid`; without one, to none. A status
  // word.
  uint16_t open(std::span<const uint8_t> aid, uint8_t* channel);
  // False when it is not open.
  bool close(uint8_t channel);
  bool has_channel(uint8_t channel) const { return channels_.contains(channel); }
  // What the channel's application tells of itself; nothing for UIM_FILE_CONTROL_NONE.
  std::vector<uint8_t> file_control(uint8_t channel, uint32_t which) const;
  // The response to one APDU on an open channel, status words last.
  std::vector<uint8_t> exchange(uint8_t channel, std::span<const uint8_t> apdu);

 private:
  std::vector<uint8_t> aid_of(Application application) const;
  Application find(std::span<const uint8_t> aid) const;

  const SimConfig& sim_;
  const CardTray& tray_;
  const uint32_t place_;  // of its SIM in the tray
  Euicc* euicc_;
  bool powered_ = false;
  bool to_euicc_ = false;
  platform::Time ready_{};
  std::map<uint8_t, Application> channels_;  // by what is selected on them
};

}  // namespace sim

#endif  // SIM_SERVICES_CARD_SLOT_H_

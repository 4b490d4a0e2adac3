// A card slot: which card it is connected to, whether that has power, and the card's channels.
//
// Results of the card are status words (sim/services/status_words.h). Not thread-safe: it belongs
// to one service.
#pragma once

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
  // Logical channels beside the basic one, 0: as many as a class octet of ISO/IEC 7816-4's first
  // coding can name.
  static constexpr uint8_t kChannelsMax = 3;

  enum class Application : uint8_t { kNone, kUsim, kIsdR };

  // `place`: the slot's SIM in the tray, from 0. `euicc`: null for a slot that has a SIM only. What
  // is referred to must outlast the slot.
  CardSlot(const SimConfig& sim, const CardTray& tray, uint32_t place, Euicc* euicc)
      : sim_(sim), tray_(tray), place_(place), euicc_(euicc) {}

  // Connects the slot to one of its cards, which answers from `ready` on. Only the basic channel is
  // open then.
  void power_up(bool to_euicc, platform::Time ready);
  void power_down();

  bool powered() const { return powered_; }
  bool is_euicc() const { return to_euicc_; }
  // State of the card-detect switch. It is about the SIM; the soldered eUICC has none.
  bool card_detect() const { return tray_.present(place_); }
  uim_card_state state() const;
  uim_card_error error() const;
  // The USIM's AID; empty when the card has none.
  std::vector<uint8_t> usim() const;

  // Opens a channel and selects the application whose AID begins with `aid`, which has 5 octets at
  // least; an empty one selects none. kSwDone, kSwNoRoom or kSwNoApplication; `*channel` changes on
  // success only.
  [[nodiscard]] uint16_t open(std::span<const uint8_t> aid, uint8_t* channel);
  // False when it is not open, or is the basic one.
  [[nodiscard]] bool close(uint8_t channel);
  bool has_channel(uint8_t channel) const { return channels_.contains(channel); }
  // The file control template (UIM_FILE_CONTROL_...) of the application selected on the channel;
  // empty for UIM_FILE_CONTROL_NONE.
  std::vector<uint8_t> file_control(uint8_t channel, uint32_t which) const;
  // The response to one command APDU on an open channel, the status word last.
  std::vector<uint8_t> exchange(uint8_t channel, std::span<const uint8_t> apdu);

 private:
  std::vector<uint8_t> aid_of(Application application) const;
  Application find(std::span<const uint8_t> aid) const;

  const SimConfig& sim_;
  const CardTray& tray_;
  const uint32_t place_;
  Euicc* euicc_;
  bool powered_ = false;
  bool to_euicc_ = false;
  platform::Time ready_{};
  std::map<uint8_t, Application> channels_;  // open ones, and what is selected
};

}  // namespace sim

// The card tray: whether the cards are in, which items of the vendor service report and set.
//
// The settings and a running hot-swap test are kept in the phone's file `cards/tray`, which all
// processes share. Nothing runs during a test: whether the tray is out follows from the time since
// the test began, by the clock that counts from the computer's start.
//
// Results are 0 or an errno number: EINVAL for a value of the wrong length or range, EIO when the
// phone's lock could not be taken, else the file's. Threads: any.
#pragma once

#include <string>

#include "platform/idl/vendor_payload.h"
#include "sim/config/cards_config.h"
#include "sim/modem/service.h"
#include "sim/phone/phone.h"

namespace sim {

class CardTray {
 public:
  // Its path below the phone's directory.
  static constexpr const char* kFile = "cards/tray";

  // Until it is set otherwise, the cards that phone.toml has are in. `phone` and `config` must
  // outlast the tray.
  CardTray(const Phone& phone, const CardsConfig& config) : phone_(phone), config_(config) {}

  // Handles an item and appends its answer; ENOSYS when the item is not the tray's.
  [[nodiscard]] int handle(const kelvor_common_item_req& request, std::string* answer) const;
  // Puts the SIM of a slot, from 0, in or takes it out.
  [[nodiscard]] int put(uint32_t sub, bool in) const;
  // `sub`: a slot, from 0 as in CardsConfig; false for others.
  [[nodiscard]] bool present(uint32_t sub) const;

 private:
  struct State {
    struct Line {
      uint32_t mode;
      bool high;  // the card is in
    };
    Line lines[kSlots];
    uint64_t began_ms = 0;  // when the hot-swap test began; 0: none runs
    kelvor_hot_swap test{};
    uint32_t done = 0;  // cycles of the last test, once it was stopped

    // Of the running test: completed cycles of a push and a pull, whether it is still running, and
    // whether the tray is out.
    uint64_t cycles(uint64_t now_ms) const;
    bool running(uint64_t now_ms) const;
    bool pulled(uint64_t now_ms) const;
  };
  struct Item;
  static const Item kItems[];
  using Value = std::string_view;

  // The state of phone.toml when there is no file, or the file cannot be read.
  [[nodiscard]] int load(State* state) const;
  [[nodiscard]] static bool present(const State& state, uint32_t sub);
  // Loads, changes and stores the state, with the phone locked.
  template <class Change>
  [[nodiscard]] int change(Change change) const;

  // The items' handlers.
  [[nodiscard]] int query(Value value, std::string* answer) const;
  [[nodiscard]] int get(Value value, std::string* answer) const;
  [[nodiscard]] int set(Value value, std::string* answer) const;
  [[nodiscard]] int type(Value value, std::string* answer) const;
  [[nodiscard]] int hot_swap(Value value, std::string* answer) const;

  const Phone& phone_;
  const CardsConfig& config_;
};

// That a SIM was put in or taken out, for the log and for those who watch the modem.
std::string card_line(uint32_t sub, bool in);
Change card_change(uint32_t sub, bool in);

}  // namespace sim

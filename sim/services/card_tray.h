// The card tray: whether the cards are in, as the vendor service's items tell and set it.
//
// What was set, and a hot-swap test that runs, are kept in the phone's file `cards/tray`, so that
// they outlive the process and are everybody's. The test needs nobody to carry it out: where it is
// follows from when it began, by the clock that runs since the computer started.
#ifndef SIM_SERVICES_CARD_TRAY_H_
#define SIM_SERVICES_CARD_TRAY_H_

#include <optional>
#include <string>

#include "platform/idl/vendor_payload.h"
#include "sim/config/cards_config.h"
#include "sim/phone/phone.h"

namespace sim {

class CardTray {
 public:
  // Below the phone's directory.
  static constexpr const char* kFile = "cards/tray";

  // Until it is set otherwise, the cards that phone.toml has are in.
  CardTray(const Phone& phone, const CardsConfig& config) : phone_(phone), config_(config) {}

  // An item's result, 0 or a negated errno number, and its answer; none when it is not the tray's.
  std::optional<int32_t> handle(const kelvor_common_item_req& request, std::string* answer) const;
  // sub: from 0, as slots are in CardsConfig.
  bool present(uint32_t sub) const;

 private:
  struct State {
    struct Line {
      uint32_t mode;
      bool high;
    };
    Line lines[kSlots];
    uint64_t began_ms = 0;  // of the hot-swap test; 0: none
    kelvor_hot_swap test{};
    uint32_t done = 0;  // of the test that was stopped

    // Of the test that runs: pushes with their pulls that are over, and whether the tray is out.
    uint64_t cycles(uint64_t now_ms) const;
    bool running(uint64_t now_ms) const;
    bool pulled(uint64_t now_ms) const;
  };
  struct Item;
  static const Item kItems[];
  using Value = std::string_view;

  // 0 or an errno number; without a file, and with one that cannot be read, it is phone.toml's.
  int load(State* state) const;
  bool present(const State& state, uint32_t sub) const;
  template <class Change>
  int32_t change(Change change) const;

  int32_t query(Value value, std::string* answer) const;
  int32_t get(Value value, std::string* answer) const;
  int32_t set(Value value, std::string* answer) const;
  int32_t type(Value value, std::string* answer) const;
  int32_t hot_swap(Value value, std::string* answer) const;

  const Phone& phone_;
  const CardsConfig& config_;
};

}  // namespace sim

#endif  // SIM_SERVICES_CARD_TRAY_H_

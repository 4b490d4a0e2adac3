// UIM: the slots with the cards of phone.toml.
//
// The modem powers its slots up when it starts. A card's logical channels are closed when the modem
// restarts or the card loses power, not when the client that opened them is released.

#include <algorithm>
#include <array>

#include "platform/clock/process_clock.h"
#include "platform/idl/uim.h"
#include "qcci/services/services.h"
#include "sim/services/card_slot.h"
#include "sim/services/euicc.h"
#include "sim/services/services.h"
#include "sim/services/status_words.h"

namespace sim {
namespace {

// A USIM that is ready, its PINs in the state in which most are delivered.
uim_app usim_status(const std::vector<uint8_t>& aid) {
  uim_app app{};
  app.type = UIM_APP_USIM;
  app.state = UIM_APP_READY;
  app.perso_state = 2;  // ready
  app.aid_len = static_cast<uint32_t>(aid.size());
  std::copy(aid.begin(), aid.end(), app.aid);
  app.pin1_state = UIM_PIN_DISABLED;
  app.pin2_state = UIM_PIN_ENABLED_NOT_VERIFIED;
  app.pin1_retries = app.pin2_retries = 3;
  app.puk1_retries = app.puk2_retries = 10;
  return app;
}

class UimService final : public Service {
 public:
  explicit UimService(ModemContext& modem)
      : Service(modem, qcci::idl::kUimService),
        euicc_(modem.phone(), modem.config().cards),
        tray_(modem.phone(), modem.config().cards),
        slots_{CardSlot(cards().sims[0], tray_, 0, nullptr),
               CardSlot(cards().sims[1], tray_, 1, &euicc_)} {
    on(UIM_CARD_STATUS, &UimService::card_status);
    on(UIM_POWER_DOWN, &UimService::power_down);
    on(UIM_POWER_UP, &UimService::power_up);
    on(UIM_GET_EID, &UimService::get_eid);
    on(UIM_OPEN_LOGICAL_CHANNEL, &UimService::open_channel);
    on(UIM_LOGICAL_CHANNEL, &UimService::logical_channel);
    on(UIM_SEND_APDU, &UimService::send_apdu);
    start();
  }

 private:
  const CardsConfig& cards() const { return modem_.config().cards; }

  void start() {
    for (CardSlot& slot : slots_) slot.power_up(esim_enabled(modem_.phone()), {});
  }
  void forget_all() override { start(); }

  // Null, with the error in the response, when there is no such slot.
  template <class Response>
  CardSlot* slot_of(uint32_t number, Response& response) {
    if (number >= 1 && number <= slots_.size()) return &slots_[number - 1];
    refuse(response, QMI_ERROR_INVALID_ARGUMENT);
    return nullptr;
  }
  // The same, and null also when its card does not answer.
  template <class Response>
  CardSlot* card_of(uint32_t number, Response& response) {
    CardSlot* slot = slot_of(number, response);
    if (slot == nullptr || slot->state() == UIM_CARD_PRESENT) return slot;
    const bool empty = slot->powered() && !slot->is_euicc() && !slot->card_detect();
    refuse(response, empty ? QMI_ERROR_NO_SIM : QMI_ERROR_DEVICE_NOT_READY);
    return nullptr;
  }

  // ---- status

  void card_status(Address, const uim_card_status_req& request, uim_card_status_resp& response) {
    response.status_valid = 1;
    response.extended_valid =
        cards().extended_status && request.extended_valid != 0 && request.extended == 1;
    uim_cards& status = response.status;
    uim_ext_cards& extended = response.extended;
    status.gw_primary = status.onex_primary = UIM_NO_SESSION;
    status.gw_secondary = status.onex_secondary = UIM_NO_SESSION;
    status.cards_len = extended.cards_len = kSlots;
    extended.gw_len = extended.onex_len = kSlots;
    for (size_t i = 0; i < kSlots; ++i) {
      const CardSlot& slot = slots_[i];
      status.cards[i].state = extended.cards[i].state = slot.state();
      status.cards[i].error = extended.cards[i].error = slot.error();
      extended.gw[i] = extended.onex[i] = UIM_NO_SESSION;
      const std::vector<uint8_t> usim = slot.usim();
      if (slot.state() != UIM_CARD_PRESENT || usim.empty()) continue;
      status.cards[i].apps_len = extended.cards[i].apps_len = 1;
      status.cards[i].apps[0] = extended.cards[i].apps[0] = usim_status(usim);
      extended.gw[i] = static_cast<uint16_t>(i << 8);
    }
    status.gw_primary = extended.gw[0];
    status.gw_secondary = extended.gw[1];
  }

  // ---- power

  void power_down(Address, const uim_slot_req& request, uim_plain_resp& response) {
    CardSlot* slot = slot_of(request.slot, response);
    if (slot == nullptr) return;
    if (!slot->powered()) return refuse(response, QMI_ERROR_NO_EFFECT);
    slot->power_down();
  }

  // A slot that is empty by its card-detect switch is powered only if the request says to ignore
  // it.
  void power_up(Address, const uim_power_up_req& request, uim_plain_resp& response) {
    CardSlot* slot = slot_of(request.slot, response);
    if (slot == nullptr) return;
    if (slot->powered()) return refuse(response, QMI_ERROR_NO_EFFECT);
    const bool ignore = request.ignore_hot_swap_valid != 0 && request.ignore_hot_swap != 0;
    if (!slot->card_detect() && !ignore) return refuse(response, QMI_ERROR_NO_SIM);
    slot->power_up(esim_enabled(modem_.phone()), platform::clock().now() + cards().ready);
  }

  // ---- EID

  void get_eid(Address, const uim_slot_req& request, uim_get_eid_resp& response) {
    const CardSlot* card = card_of(request.slot, response);
    if (card == nullptr) return;
    if (!card->is_euicc()) return refuse(response, QMI_ERROR_NOT_SUPPORTED);
    const std::vector<uint8_t>& eid = cards().eid;
    response.eid_valid = !eid.empty();
    response.eid_len = static_cast<uint32_t>(eid.size());
    std::copy(eid.begin(), eid.end(), response.eid);
  }

  // ---- channels

  void open(uint32_t slot, std::span<const uint8_t> aid, uint32_t file_control,
            uim_logical_channel_resp& response) {
    CardSlot* card = card_of(slot, response);
    if (card == nullptr) return;
    uint8_t channel = 0;
    const uint16_t status = card->open(aid, &channel);
    response.card_result_valid = 1;
    response.sw1 = static_cast<uint8_t>(status >> 8);
    response.sw2 = static_cast<uint8_t>(status);
    if (status != kSwDone) {
      return refuse(response, status == kSwNoRoom ? QMI_ERROR_INSUFFICIENT_RESOURCES
                                                  : QMI_ERROR_SIM_FILE_NOT_FOUND);
    }
    response.channel_valid = 1;
    response.channel = channel;
    const std::vector<uint8_t> about = card->file_control(channel, file_control);
    response.select_valid = !about.empty();
    response.select_len = static_cast<uint32_t>(about.size());
    std::copy(about.begin(), about.end(), response.select);
  }

  void open_channel(Address, const uim_open_logical_channel_req& request,
                    uim_logical_channel_resp& response) {
    open(request.slot, {request.aid, request.aid_len}, request.file_control, response);
  }

  void logical_channel(Address, const uim_logical_channel_req& request,
                       uim_logical_channel_resp& response) {
    if (request.aid_valid == request.channel_valid) {
      return refuse(response, request.aid_valid == 0 ? QMI_ERROR_MISSING_ARGUMENT
                                                     : QMI_ERROR_INVALID_ARGUMENT);
    }
    if (request.aid_valid != 0) {
      return open(request.slot, {request.aid, request.aid_len}, request.file_control, response);
    }
    CardSlot* card = card_of(request.slot, response);
    if (card != nullptr && !card->close(request.channel))
      refuse(response, QMI_ERROR_INVALID_ARGUMENT);
  }

  void send_apdu(Address, const uim_send_apdu_req& request, uim_send_apdu_resp& response) {
    CardSlot* card = card_of(request.slot, response);
    if (card == nullptr) return;
    const uint8_t channel = request.channel_valid != 0 ? request.channel : 0;
    if (!card->has_channel(channel)) return refuse(response, QMI_ERROR_INVALID_ARGUMENT);
    const auto answer = card->exchange(channel, {request.apdu, request.apdu_len});
    response.apdu_valid = 1;
    response.apdu_len = static_cast<uint32_t>(answer.size());
    std::copy(answer.begin(), answer.end(), response.apdu);
  }

  Euicc euicc_;
  const CardTray tray_;
  std::array<CardSlot, kSlots> slots_;
};

}  // namespace

std::unique_ptr<Service> make_uim_service(ModemContext& modem) {
  return std::make_unique<UimService>(modem);
}

}  // namespace sim

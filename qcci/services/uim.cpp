// UIM rows.

#include "platform/idl/uim.h"

#include "qcci/idl/service.h"
#include "qcci/services/assumed.h"
#include "qcci/services/services.h"
#include "qcci/services/standard_result.h"

namespace qcci::idl {
namespace {

#define M(member) QCCI_MEMBER(S, member)

using namespace assumed::uim;

// Enumerations and the slot.
constexpr size_t kEnum = 1;

constexpr auto kPlainResp = plain_response<uim_plain_resp>();

constexpr auto kSlotReq = [] {
  using S = uim_slot_req;
  return message<S>(mandatory(0x01, narrow<kEnum>(M(slot))));
}();

constexpr auto kPowerUpReq = [] {
  using S = uim_power_up_req;
  return message<S>(mandatory(0x01, narrow<kEnum>(M(slot))),
                    optional(0x10, M(ignore_hot_swap_valid), value(M(ignore_hot_swap))),
                    optional(kPowerUpMode, M(mode_valid), narrow<kPowerUpModeWidth>(M(mode))));
}();

constexpr auto kStatusReq = [] {
  using S = uim_card_status_req;
  return message<S>(optional(kExtendedWanted, M(extended_valid), value(M(extended))));
}();

constexpr auto kApp = [] {
  using S = uim_app;
  return record(narrow<kEnum>(M(type)), narrow<kEnum>(M(state)), narrow<kEnum>(M(perso_state)),
                narrow<kEnum>(M(perso_feature)), value(M(perso_retries)),
                value(M(perso_unblock_retries)), counted(M(aid_len), M(aid)),
                narrow<kEnum>(M(upin_replaces_pin1)), narrow<kEnum>(M(pin1_state)),
                value(M(pin1_retries)), value(M(puk1_retries)), narrow<kEnum>(M(pin2_state)),
                value(M(pin2_retries)), value(M(puk2_retries)));
}();

// One form on the wire, with room for fewer or more applications.
template <class S>
constexpr auto card_rows() {
  return record(narrow<kEnum>(M(state)), narrow<kEnum>(M(upin_state)), value(M(upin_retries)),
                value(M(upuk_retries)), narrow<kEnum>(M(error)),
                counted(M(apps_len), M(apps), kApp));
}
constexpr auto kCard = card_rows<uim_card>();
constexpr auto kExtCard = card_rows<uim_ext_card>();

constexpr auto kCards = [] {
  using S = uim_cards;
  return record(value(M(gw_primary)), value(M(onex_primary)), value(M(gw_secondary)),
                value(M(onex_secondary)), counted(M(cards_len), M(cards), kCard));
}();

constexpr auto kExtCards = [] {
  using S = uim_ext_cards;
  return record(counted(M(gw_len), M(gw)), counted(M(onex_len), M(onex)),
                counted(M(cards_len), M(cards), kExtCard));
}();

constexpr auto kStatusResp = [] {
  using S = uim_card_status_resp;
  return message<S>(
      standard_result(M(resp)), optional(0x10, M(status_valid), nested(M(status), kCards)),
      optional(kHotSwapStatus, M(hot_swap_valid),
               narrow<kEnum>(counted(M(hot_swap_len), M(hot_swap)))),
      optional(kStatusValidity, M(validity_valid), counted(M(validity_len), M(validity))),
      optional(kExtendedStatus, M(extended_valid), nested(M(extended), kExtCards)));
}();

constexpr auto kOpenReq = [] {
  using S = uim_open_logical_channel_req;
  return message<S>(mandatory(0x01, narrow<kEnum>(M(slot))),
                    optional(0x10, M(aid_valid), counted(M(aid_len), M(aid))),
                    optional(0x11, M(file_control_valid), narrow<kEnum>(M(file_control))));
}();

constexpr auto kChannelReq = [] {
  using S = uim_logical_channel_req;
  return message<S>(mandatory(0x01, narrow<kEnum>(M(slot))),
                    optional(0x10, M(aid_valid), counted(M(aid_len), M(aid))),
                    optional(0x11, M(channel_valid), value(M(channel))),
                    optional(0x12, M(file_control_valid), narrow<kEnum>(M(file_control))),
                    optional(0x13, M(terminate_valid), value(M(terminate))));
}();

constexpr auto kChannelResp = [] {
  using S = uim_logical_channel_resp;
  return message<S>(
      standard_result(M(resp)), optional(0x10, M(channel_valid), value(M(channel))),
      optional(0x11, M(card_result_valid), value(M(sw1)), value(M(sw2))),
      optional(0x12, M(select_valid), counted(M(select_len), M(select))),
      optional(0x13, M(long_select_valid), counted(M(long_select_len), M(long_select))));
}();

constexpr auto kApduReq = [] {
  using S = uim_send_apdu_req;
  return message<S>(mandatory(0x01, narrow<kEnum>(M(slot))),
                    mandatory(0x02, counted(M(apdu_len), M(apdu))),
                    optional(0x10, M(channel_valid), value(M(channel))),
                    optional(0x11, M(procedure_bytes_valid), narrow<kEnum>(M(procedure_bytes))));
}();

// The TLV that announces a longer response (0x11) has no row: its contents are not documented.
constexpr auto kApduResp = [] {
  using S = uim_send_apdu_resp;
  return message<S>(standard_result(M(resp)),
                    optional(0x10, M(apdu_valid), counted(M(apdu_len), M(apdu))));
}();

constexpr auto kEidResp = [] {
  using S = uim_get_eid_resp;
  return message<S>(standard_result(M(resp)),
                    optional(kEid, M(eid_valid), counted(M(eid_len), M(eid))));
}();

#undef M

constexpr MessageRow kRows[] = {
    {UIM_CARD_STATUS, "card status", kStatusReq, kStatusResp},
    {UIM_POWER_DOWN, "power down", kSlotReq, kPlainResp},
    {UIM_POWER_UP, "power up", kPowerUpReq, kPlainResp},
    {UIM_SEND_APDU, "send APDU", kApduReq, kApduResp},
    {UIM_LOGICAL_CHANNEL, "logical channel", kChannelReq, kChannelResp},
    {UIM_OPEN_LOGICAL_CHANNEL, "open channel", kOpenReq, kChannelResp},
    {UIM_GET_EID, "get EID", kSlotReq, kEidResp},
};

}  // namespace

constinit const qmi_idl_service_object kUimService{.name = "uim",
                                                   .id = UIM_SERVICE_ID,
                                                   .major = UIM_IDL_MAJOR,
                                                   .minor = UIM_IDL_MINOR,
                                                   .tool = UIM_IDL_TOOL,
                                                   .rows = kRows};

}  // namespace qcci::idl

QCCI_SERVICE_GETTER(uim_get_service_object_internal_v01, kUimService)

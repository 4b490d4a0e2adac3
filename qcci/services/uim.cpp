// UIM rows.

#include "platform/idl/uim.h"

#include "qcci/services/rows.h"

namespace qcci::idl {
namespace {

using namespace assumed::uim;

// Enumerations and the slot.
constexpr size_t kEnum = 1;

constexpr auto kPlainResp = plain_response<uim_plain_resp>();

MESSAGE(kSlotReq, uim_slot_req, mandatory(0x01, narrow<kEnum>(M(slot))));

MESSAGE(kPowerUpReq, uim_power_up_req, mandatory(0x01, narrow<kEnum>(M(slot))),
        optional(0x10, M(ignore_hot_swap_valid), value(M(ignore_hot_swap))),
        optional(kPowerUpMode, M(mode_valid), narrow<kPowerUpModeWidth>(M(mode))));

MESSAGE(kStatusReq, uim_card_status_req,
        optional(kExtendedWanted, M(extended_valid), value(M(extended))));

RECORD(kApp, uim_app, narrow<kEnum>(M(type)), narrow<kEnum>(M(state)),
       narrow<kEnum>(M(perso_state)), narrow<kEnum>(M(perso_feature)), value(M(perso_retries)),
       value(M(perso_unblock_retries)), counted(M(aid_len), M(aid)),
       narrow<kEnum>(M(upin_replaces_pin1)), narrow<kEnum>(M(pin1_state)), value(M(pin1_retries)),
       value(M(puk1_retries)), narrow<kEnum>(M(pin2_state)), value(M(pin2_retries)),
       value(M(puk2_retries)));

// One form on the wire, with room for fewer or more applications.
template <class S>
constexpr auto card_rows() {
  return record(narrow<kEnum>(M(state)), narrow<kEnum>(M(upin_state)), value(M(upin_retries)),
                value(M(upuk_retries)), narrow<kEnum>(M(error)),
                counted(M(apps_len), M(apps), kApp));
}
constexpr auto kCard = card_rows<uim_card>();
constexpr auto kExtCard = card_rows<uim_ext_card>();

RECORD(kCards, uim_cards, value(M(gw_primary)), value(M(onex_primary)), value(M(gw_secondary)),
       value(M(onex_secondary)), counted(M(cards_len), M(cards), kCard));

RECORD(kExtCards, uim_ext_cards, counted(M(gw_len), M(gw)), counted(M(onex_len), M(onex)),
       counted(M(cards_len), M(cards), kExtCard));

MESSAGE(kStatusResp, uim_card_status_resp, standard_result(M(resp)),
        optional(0x10, M(status_valid), nested(M(status), kCards)),
        optional(kHotSwapStatus, M(hot_swap_valid),
                 narrow<kEnum>(counted(M(hot_swap_len), M(hot_swap)))),
        optional(kStatusValidity, M(validity_valid), counted(M(validity_len), M(validity))),
        optional(kExtendedStatus, M(extended_valid), nested(M(extended), kExtCards)));

MESSAGE(kOpenReq, uim_open_logical_channel_req, mandatory(0x01, narrow<kEnum>(M(slot))),
        optional(0x10, M(aid_valid), counted(M(aid_len), M(aid))),
        optional(0x11, M(file_control_valid), narrow<kEnum>(M(file_control))));

MESSAGE(kChannelReq, uim_logical_channel_req, mandatory(0x01, narrow<kEnum>(M(slot))),
        optional(0x10, M(aid_valid), counted(M(aid_len), M(aid))),
        optional(0x11, M(channel_valid), value(M(channel))),
        optional(0x12, M(file_control_valid), narrow<kEnum>(M(file_control))),
        optional(0x13, M(terminate_valid), value(M(terminate))));

MESSAGE(kChannelResp, uim_logical_channel_resp, standard_result(M(resp)),
        optional(0x10, M(channel_valid), value(M(channel))),
        optional(0x11, M(card_result_valid), value(M(sw1)), value(M(sw2))),
        optional(0x12, M(select_valid), counted(M(select_len), M(select))),
        optional(0x13, M(long_select_valid), counted(M(long_select_len), M(long_select))));

MESSAGE(kApduReq, uim_send_apdu_req, mandatory(0x01, narrow<kEnum>(M(slot))),
        mandatory(0x02, counted(M(apdu_len), M(apdu))),
        optional(0x10, M(channel_valid), value(M(channel))),
        optional(0x11, M(procedure_bytes_valid), narrow<kEnum>(M(procedure_bytes))));

// The TLV that announces a longer response (0x11) has no row: its contents are not documented.
MESSAGE(kApduResp, uim_send_apdu_resp, standard_result(M(resp)),
        optional(0x10, M(apdu_valid), counted(M(apdu_len), M(apdu))));

MESSAGE(kEidResp, uim_get_eid_resp, standard_result(M(resp)),
        optional(kEid, M(eid_valid), counted(M(eid_len), M(eid))));

constexpr MessageRow kRows[] = {
    {.id = UIM_CARD_STATUS, .name = "card status", .request = kStatusReq, .response = kStatusResp},
    {.id = UIM_POWER_DOWN, .name = "power down", .request = kSlotReq, .response = kPlainResp},
    {.id = UIM_POWER_UP, .name = "power up", .request = kPowerUpReq, .response = kPlainResp},
    {.id = UIM_SEND_APDU, .name = "send APDU", .request = kApduReq, .response = kApduResp},
    {.id = UIM_LOGICAL_CHANNEL,
     .name = "logical channel",
     .request = kChannelReq,
     .response = kChannelResp},
    {.id = UIM_OPEN_LOGICAL_CHANNEL,
     .name = "open channel",
     .request = kOpenReq,
     .response = kChannelResp},
    {.id = UIM_GET_EID, .name = "get EID", .request = kSlotReq, .response = kEidResp},
};

}  // namespace
}  // namespace qcci::idl

SERVICE(kUimService, "uim", UIM_SERVICE_ID, UIM_IDL, uim_get_service_object_internal_v01)

// UIM, the card service (0x0B): card power and status, logical channels, APDUs, EID.
//
// Each slot has one card at a time; a slot with an eUICC beside its SIM is connected to one of them
// when it is powered up. What a card itself refuses is in two places: the standard result is a
// failure, and the status words sw1 and sw2 (ISO/IEC 7816-4) say why, where the response has them.
//
// Slots count from 1. Members without a source in public descriptions of the service keep their
// room and have no TLV; what is sent as an enumeration has one octet on the wire and four here.
//
// Requests are answered when they are done; there are no indications. The simulated phone refuses
// them with these errors:
//
//   INVALID_ARGUMENT         no such slot, or a channel that is not open
//   MISSING_ARGUMENT         the channel message with neither an AID nor a channel
//   NO_EFFECT                powering a slot that has that power already
//   NO_SIM                   the slot's switch says that it is empty
//   DEVICE_NOT_READY         the card has no power, does not answer yet, or has failed
//   SIM_FILE_NOT_FOUND       opening a channel: no application of that AID
//   INSUFFICIENT_RESOURCES   opening a channel: all are open
//   NOT_SUPPORTED            asking a card that is no eUICC for its EID
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/qmi_idl.h"

__BEGIN_DECLS

enum {
  UIM_SERVICE_ID = 0x0B,
  UIM_IDL_MAJOR = 1,
  UIM_IDL_MINOR = 109,
  UIM_IDL_TOOL = 6,
};

enum {
  UIM_CARD_STATUS = 0x002F,
  UIM_POWER_DOWN = 0x0030,
  UIM_POWER_UP = 0x0031,
  UIM_SEND_APDU = 0x003B,
  UIM_LOGICAL_CHANNEL = 0x003F,
  UIM_OPEN_LOGICAL_CHANNEL = 0x0042,
  UIM_GET_EID = 0x0065,
};

// Rooms of the structures, in items or octets.
enum {
  UIM_CARDS_MAX = 2,
  UIM_CARD_APPS_MAX = 8,
  UIM_EXT_CARDS_MAX = 5,
  UIM_EXT_CARD_APPS_MAX = 20,
  UIM_EXT_SESSIONS_MAX = 6,
  UIM_AID_MAX = 32,
  UIM_APDU_MAX = 1024,   // a command, and a response with its status words
  UIM_SELECT_MAX = 255,  // what a card says of a selected application
  UIM_EID_MAX = 16,      // 32 digits
};

// A card's state; a present one answers.
typedef enum {
  UIM_CARD_ABSENT = 0,
  UIM_CARD_PRESENT = 1,
  UIM_CARD_ERROR = 2,
} uim_card_state;

// Why a card's state is UIM_CARD_ERROR.
typedef enum {
  UIM_ERROR_UNKNOWN = 0,
  UIM_ERROR_POWER_DOWN = 1,
  UIM_ERROR_POLL = 2,
  UIM_ERROR_NO_ATR = 3,
  UIM_ERROR_VOLTAGE_MISMATCH = 4,
  UIM_ERROR_PARITY = 5,
  UIM_ERROR_POSSIBLY_REMOVED = 6,
  UIM_ERROR_TECHNICAL = 7,
} uim_card_error;

// Of an application's types and states, those that the simulated phone reports.
typedef enum { UIM_APP_USIM = 2 } uim_app_type;
typedef enum { UIM_APP_READY = 7 } uim_app_state;

// State of a card's PIN.
typedef enum {
  UIM_PIN_NOT_INITIALIZED = 0,
  UIM_PIN_ENABLED_NOT_VERIFIED = 1,
  UIM_PIN_ENABLED_VERIFIED = 2,
  UIM_PIN_DISABLED = 3,
  UIM_PIN_BLOCKED = 4,
  UIM_PIN_PERMANENTLY_BLOCKED = 5,
} uim_pin_state;

// What the card is asked to tell of an application that it selects: one of the templates of
// ISO/IEC 7816-4, or nothing.
typedef enum {
  UIM_FILE_CONTROL_NONE = 0,
  UIM_FILE_CONTROL_FCP = 1,
  UIM_FILE_CONTROL_FCI = 2,
  UIM_FILE_CONTROL_FCI_WITH_INTERFACES = 3,
  UIM_FILE_CONTROL_FMD = 4,
} uim_file_control;

// No application, where a card status names the one in use; else the slot's index in the high octet
// and the application's in the low one, both from 0.
#define UIM_NO_SESSION 0xFFFFu

typedef struct {
  qmi_standard_result resp;
} uim_plain_resp;  // of both power messages

// Powering down closes the card's channels.
typedef struct {
  uint32_t slot;
} uim_slot_req;  // power down, get EID

// Powers a slot up. A slot whose switch says that it is empty stays down, unless that is ignored.
typedef struct {
  uint32_t slot;
  uint8_t ignore_hot_swap_valid;
  uint8_t ignore_hot_swap;  // 1: whatever the slot's switch says of a card
  uint8_t mode_valid;
  uint32_t mode;  // the tool sends 0
} uim_power_up_req;

// Asks for the status of all cards, and for its extended form beside it.
typedef struct {
  uint8_t extended_valid;
  uint8_t extended;  // 1: the extended card status is wanted
} uim_card_status_req;

// An application of a card. Retries count down to 0, which blocks the PIN. "perso" is the lock of
// the phone to a network or provider, "upin" the PIN that all applications of a card can share.
typedef struct {
  uint32_t type;   // of uim_app_type, or another
  uint32_t state;  // of uim_app_state, or another
  uint32_t perso_state;
  uint32_t perso_feature;
  uint8_t perso_retries;
  uint8_t perso_unblock_retries;
  uint32_t aid_len;
  uint8_t aid[UIM_AID_MAX];
  uint32_t upin_replaces_pin1;
  uint32_t pin1_state;  // of uim_pin_state, as the others
  uint8_t pin1_retries;
  uint8_t puk1_retries;
  uint32_t pin2_state;
  uint8_t pin2_retries;
  uint8_t puk2_retries;
} uim_app;

// A card, with its applications.
typedef struct {
  uint32_t state;       // of uim_card_state
  uint32_t upin_state;  // of uim_pin_state
  uint8_t upin_retries;
  uint8_t upuk_retries;
  uint32_t error;  // of uim_card_error
  uint32_t apps_len;
  uim_app apps[UIM_CARD_APPS_MAX];
} uim_card;

// A card of the extended status, which has room for more applications.
typedef struct {
  uint32_t state;
  uint32_t upin_state;
  uint8_t upin_retries;
  uint8_t upuk_retries;
  uint32_t error;
  uint32_t apps_len;
  uim_app apps[UIM_EXT_CARD_APPS_MAX];
} uim_ext_card;

// The cards of the status, by their slots, and the applications that the modem uses for each
// purpose (or UIM_NO_SESSION).
typedef struct {
  uint16_t gw_primary;
  uint16_t onex_primary;
  uint16_t gw_secondary;
  uint16_t onex_secondary;
  uint32_t cards_len;
  uim_card cards[UIM_CARDS_MAX];
} uim_cards;

// The same for the extended status, with those applications as lists.
typedef struct {
  uint32_t gw_len;
  uint16_t gw[UIM_EXT_SESSIONS_MAX];
  uint32_t onex_len;
  uint16_t onex[UIM_EXT_SESSIONS_MAX];
  uint32_t cards_len;
  uim_ext_card cards[UIM_EXT_CARDS_MAX];
} uim_ext_cards;

// The status, and its extended form when it was wanted and the modem knows it. Cards are in the
// order of their slots. The simulated phone sends neither hot_swap nor validity.
typedef struct {
  qmi_standard_result resp;
  uint8_t status_valid;
  uim_cards status;
  uint8_t hot_swap_valid;
  uint32_t hot_swap_len;
  uint32_t hot_swap[UIM_CARDS_MAX];
  uint8_t validity_valid;
  uint32_t validity_len;
  uint8_t validity[UIM_CARDS_MAX];
  uint8_t extended_valid;
  uim_ext_cards extended;
  uint8_t reserved[3272];  // no TLV
} uim_card_status_resp;

// Opens a channel and selects the application whose AID is, or begins with, this one.
typedef struct {
  uint32_t slot;
  uint8_t aid_valid;
  uint32_t aid_len;
  uint8_t aid[UIM_AID_MAX];
  uint8_t file_control_valid;
  uint32_t file_control;
} uim_open_logical_channel_req;

// With an AID it opens a channel, with a channel it closes that one.
typedef struct {
  uint32_t slot;
  uint8_t aid_valid;
  uint32_t aid_len;
  uint8_t aid[UIM_AID_MAX];
  uint8_t channel_valid;
  uint8_t channel;
  uint8_t file_control_valid;
  uint32_t file_control;
  uint8_t terminate_valid;
  uint8_t terminate;  // 1: the application is ended too
} uim_logical_channel_req;

// What opening a channel gives: its number, the card's status words, and what the card says of the
// application. When the card refused, there is no channel, and sw1 and sw2 say why.
typedef struct {
  qmi_standard_result resp;
  uint8_t channel_valid;
  uint8_t channel;
  uint8_t card_result_valid;
  uint8_t sw1;
  uint8_t sw2;
  uint8_t select_valid;
  uint32_t select_len;
  uint8_t select[UIM_SELECT_MAX];
  uint8_t long_select_valid;
  uint32_t long_select_len;
  uint8_t long_select[UIM_APDU_MAX];
} uim_logical_channel_resp;  // of both channel messages

// A command APDU for the card, on an open channel; the basic one, 0, when none is given. The modem
// puts the channel's number into the class octet.
typedef struct {
  uint32_t slot;
  uint32_t apdu_len;
  uint8_t apdu[UIM_APDU_MAX];
  uint8_t channel_valid;
  uint8_t channel;
  uint8_t procedure_bytes_valid;
  uint32_t procedure_bytes;  // 0: they are returned, 1: skipped
  uint8_t unnamed_valid;     // no TLV from here on
  uint8_t reserved[19];
} uim_send_apdu_req;

// The card's answer. Its status words are part of the octets: a card that refuses a command is a
// success of the message.
typedef struct {
  qmi_standard_result resp;
  uint8_t apdu_valid;
  uint32_t apdu_len;
  uint8_t apdu[UIM_APDU_MAX];  // the response, its two status words last
  uint8_t long_valid;          // no TLV from here on
  uint32_t long_info[2];
} uim_send_apdu_resp;

// The EID of the eUICC that the slot is connected to; absent when it has none.
typedef struct {
  qmi_standard_result resp;
  uint8_t eid_valid;
  uint32_t eid_len;
  uint8_t eid[UIM_EID_MAX];  // two decimal digits an octet, the first in the high half
} uim_get_eid_resp;

#ifdef __cplusplus
static_assert(sizeof(uim_plain_resp) == 8, "power response");
static_assert(sizeof(uim_slot_req) == 4, "slot");

static_assert(sizeof(uim_power_up_req) == 12, "power up");
static_assert(offsetof(uim_power_up_req, ignore_hot_swap_valid) == 4, "hot-swap flag");
static_assert(offsetof(uim_power_up_req, ignore_hot_swap) == 5, "hot-swap");
static_assert(offsetof(uim_power_up_req, mode_valid) == 6, "mode flag");
static_assert(offsetof(uim_power_up_req, mode) == 8, "mode");

static_assert(sizeof(uim_card_status_req) == 2, "card status request");
static_assert(sizeof(uim_app) == 76, "application");
static_assert(sizeof(uim_card) == 628, "card");
static_assert(sizeof(uim_ext_card) == 1540, "card of the extended status");
static_assert(offsetof(uim_ext_card, state) == 0, "card state");
static_assert(sizeof(uim_card_status_resp) == 12316, "card status");
static_assert(offsetof(uim_card_status_resp, extended_valid) == 1306, "extended status flag");
static_assert(offsetof(uim_card_status_resp, extended.cards_len) == 1340, "number of cards");
static_assert(offsetof(uim_card_status_resp, extended.cards) == 1344, "cards");

static_assert(sizeof(uim_open_logical_channel_req) == 52, "open channel");
static_assert(offsetof(uim_open_logical_channel_req, aid_valid) == 4, "AID flag");
static_assert(offsetof(uim_open_logical_channel_req, aid_len) == 8, "AID length");
static_assert(offsetof(uim_open_logical_channel_req, aid) == 12, "AID");
static_assert(offsetof(uim_open_logical_channel_req, file_control_valid) == 44, "FCI flag");
static_assert(offsetof(uim_open_logical_channel_req, file_control) == 48, "FCI");

static_assert(sizeof(uim_logical_channel_req) == 56, "channel");
static_assert(offsetof(uim_logical_channel_req, aid_valid) == 4, "AID flag");
static_assert(offsetof(uim_logical_channel_req, channel_valid) == 44, "channel flag");
static_assert(offsetof(uim_logical_channel_req, channel) == 45, "channel id");
static_assert(offsetof(uim_logical_channel_req, terminate_valid) == 52, "terminate flag");
static_assert(offsetof(uim_logical_channel_req, terminate) == 53, "terminate");

static_assert(sizeof(uim_logical_channel_resp) == 1304, "channel response");
static_assert(offsetof(uim_logical_channel_resp, channel_valid) == 8, "channel flag");
static_assert(offsetof(uim_logical_channel_resp, channel) == 9, "channel id");

static_assert(sizeof(uim_send_apdu_req) == 1060, "APDU");
static_assert(offsetof(uim_send_apdu_req, apdu_len) == 4, "APDU length");
static_assert(offsetof(uim_send_apdu_req, apdu) == 8, "APDU octets");
static_assert(offsetof(uim_send_apdu_req, channel_valid) == 1032, "channel flag");
static_assert(offsetof(uim_send_apdu_req, channel) == 1033, "channel id");
static_assert(offsetof(uim_send_apdu_req, procedure_bytes_valid) == 1034, "procedure bytes flag");
static_assert(offsetof(uim_send_apdu_req, procedure_bytes) == 1036, "procedure bytes");
static_assert(offsetof(uim_send_apdu_req, unnamed_valid) == 1040, "unnamed flag");

static_assert(sizeof(uim_send_apdu_resp) == 1052, "APDU response");
static_assert(offsetof(uim_send_apdu_resp, apdu_len) == 12, "response length");
static_assert(offsetof(uim_send_apdu_resp, apdu) == 16, "response octets");

static_assert(sizeof(uim_get_eid_resp) == 32, "EID response");
static_assert(offsetof(uim_get_eid_resp, eid_valid) == 8, "EID flag");
static_assert(offsetof(uim_get_eid_resp, eid) == 16, "EID octets");
#endif

// The service object for exactly (1, 109, 6); null for anything else.
qmi_idl_service_object_type uim_get_service_object_internal_v01(int32_t major, int32_t minor,
                                                                int32_t tool);

__END_DECLS

// The cards: power, EID, card status, logical channels and APDUs, over the process's one client of
// the UIM service.
//
// The client is made by the first operation and recovers: after a loss of the service or three
// failed requests it is released, and the next operation makes another. Each
// operation blocks for at most 3000 ms, and 4000 ms more when it has to make the client and the
// service is not there; a power request writes a file of the modem's before (kelvor_efs_write).
//
// Not for several threads at once.
//
// Blocks belong to the caller and are not kept. An operation writes those parts of its output
// block that it documents; the others keep their values. A null block is refused with
// KELVOR_UIM_FAILED.
//
// Results: 0 for a request that was sent and answered; KELVOR_UIM_FAILED; or the client library's
// error of the failed request (platform/qmi_client.h). A refusal by the card is 0 too, without
// any output, but for the two operations that document another result.
#pragma once

#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/nodiscard.h"

__BEGIN_DECLS

enum {
  KELVOR_UIM_OK = 0,
  // No memory, no client, a null block, a file that was not written, or a card that refused to open
  // a channel or to take an APDU. Also the client library's internal error.
  KELVOR_UIM_FAILED = -1,
};

enum {
  KELVOR_UIM_EID_SIZE = 16,        // octets
  KELVOR_UIM_STATUS_SLOTS = 2,     // slots that a card status has room for
  KELVOR_UIM_APDU_RSP_MAX = 1024,  // octets of a response APDU
};

// Card states, as the UIM service counts them. A card status that the modem does not give is 3.
enum {
  KELVOR_UIM_CARD_ABSENT = 0,
  KELVOR_UIM_CARD_PRESENT = 1,
  KELVOR_UIM_CARD_ERROR = 2,
  KELVOR_UIM_CARD_UNKNOWN = 3,
};

// Slots count from 1.
typedef struct {
  uint32_t power;  // 0: down, else up
  uint32_t slot;
  uint32_t ignore_hot_swap;  // of a power up: 0 or not
  uint32_t esim_enable;      // written to the modem's eSIM enable file before the request
} kelvor_uim_power_in;

typedef struct {
  uint8_t slot;
} kelvor_uim_eid_in;
typedef struct {
  uint8_t eid[KELVOR_UIM_EID_SIZE];  // 32 decimal digits, two an octet
} kelvor_uim_eid_out;

typedef struct {
  uint8_t state[KELVOR_UIM_STATUS_SLOTS];
} kelvor_uim_card_status_out;

typedef struct {
  uint8_t slot;
  uint8_t file_control;  // 0 none, 1 FCP, 2 FCI, 3 FCI with interfaces, 4 FMD
} kelvor_uim_open_channel_in;
typedef struct {
  uint8_t channel;
} kelvor_uim_open_channel_out;

typedef struct {
  uint8_t slot;
  uint8_t channel;
} kelvor_uim_close_channel_in;

typedef struct {
  uint8_t slot;
  uint8_t channel;
  uint8_t length;  // octets of the APDU
  uint8_t apdu[255];
} kelvor_uim_send_apdu_in;
typedef struct {
  uint8_t length;  // the low octet of the response's length: 0 for 256 octets
  uint8_t apdu[KELVOR_UIM_APDU_RSP_MAX];  // the response, its two status words last
} kelvor_uim_send_apdu_out;

#ifdef __cplusplus
static_assert(sizeof(kelvor_uim_power_in) == 16, "power: four u32");
static_assert(sizeof(kelvor_uim_send_apdu_in) == 258, "APDU: three octets, then the APDU");
static_assert(sizeof(kelvor_uim_send_apdu_out) == 1025, "APDU: an octet, then the response");
#endif

// Powers a slot up or down, with the eSIM enable file written first. Nothing is sent when that
// fails.
PLATFORM_NODISCARD int32_t kelvor_esim_request_uicc_power_ex(const kelvor_uim_power_in* in);

// A card without an EID writes nothing; octets that a shorter one does not have are 0.
PLATFORM_NODISCARD int32_t kelvor_uim_request_eid(const kelvor_uim_eid_in* in,
                                                  kelvor_uim_eid_out* out);

// Both states are written whatever happens; those that the modem does not report are
// KELVOR_UIM_CARD_UNKNOWN, and cards beyond the second are left out. A client that is known to be
// dead is used all the same.
PLATFORM_NODISCARD int32_t kelvor_uim_get_card_status(kelvor_uim_card_status_out* out);

// Opens a logical channel to the ISD-R, the eUICC's root security domain. KELVOR_UIM_FAILED when
// the card refuses. An answer without a channel is a success that writes nothing.
PLATFORM_NODISCARD int32_t kelvor_uim_open_channel(const kelvor_uim_open_channel_in* in,
                                                   kelvor_uim_open_channel_out* out);
PLATFORM_NODISCARD int32_t kelvor_uim_close_channel(const kelvor_uim_close_channel_in* in);

// Exchanges one APDU. KELVOR_UIM_FAILED when the modem refuses it; the status words of the response
// are not looked at. As many octets of `apdu` are written as the response has.
PLATFORM_NODISCARD int32_t kelvor_uim_send_apdu(const kelvor_uim_send_apdu_in* in,
                                                kelvor_uim_send_apdu_out* out);

__END_DECLS

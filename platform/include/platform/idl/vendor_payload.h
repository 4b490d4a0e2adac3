// What the vendor service's 512 opaque octets hold, per family of functions.
//
// These structures are the octets themselves, copied in and out of kelvor_vendor_msg's data:
// little-endian throughout, without padding but what is named reserved or unused, and zero where
// they are not used. Subscriptions count from 0.
//
// Results. The message's own says whether the family exists; the function's is in its reply: 0, or
// a negative number of the modem's, mostly a negated errno number.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

// ---- REQUEST_ID_EFS: NV items and EFS files

// The operations.
enum {
  KELVOR_NVEFS_NV_READ = 1,
  KELVOR_NVEFS_NV_WRITE = 2,
  KELVOR_NVEFS_NV_DELETE = 3,
  KELVOR_NVEFS_EFS_READ = 4,
  KELVOR_NVEFS_EFS_WRITE = 5,
  KELVOR_NVEFS_EFS_DELETE = 6,
};

enum {
  KELVOR_NVEFS_CHUNK_MAX = 424,         // data octets of one exchange
  KELVOR_NVEFS_EXCHANGES_MAX = 299,     // exchanges of one transfer
  KELVOR_NVEFS_NV_ID_MAX = 7232,        // the highest item id
  KELVOR_NVEFS_PATH_MAX = 507,          // what a path may have at all
  KELVOR_NVEFS_TRANSFER_PATH_MAX = 71,  // and beside counters and data
  KELVOR_NVEFS_DELETE_PATH_MAX = 255,   // and in the one octet of its length
};

// NV requests, and EFS reads and writes. A write's chunk says where in the file it belongs
// (data_done) and how long the whole will be (data_len), so that a modem can keep the old file
// until the new one is there.
typedef struct {
  uint8_t operation;
  uint8_t sub;
  uint16_t nv_id;
  uint8_t path_len;  // the path ends there or at its first zero octet
  char path[KELVOR_NVEFS_TRANSFER_PATH_MAX];
  uint32_t data_len;      // of the whole item or file that is written
  uint32_t data_done;     // octets that earlier exchanges of the transfer carried
  uint16_t exchange;      // number of this exchange in its transfer, from 0
  uint16_t data_len_cur;  // octets of data below
  uint8_t data[KELVOR_NVEFS_CHUNK_MAX];
} kelvor_nvefs_req;

// An EFS delete, which has neither counters nor data.
typedef struct {
  uint8_t operation;
  uint8_t sub;
  uint16_t nv_id;
  uint8_t path_len;
  char path[KELVOR_NVEFS_PATH_MAX];
} kelvor_efs_path_req;

// The reply to all of these. data_len_send may be less than a chunk, and is what counts; a reader
// checks it against the octets that came.
typedef struct {
  int32_t data_len_send;   // octets of data below
  uint32_t data_len_all;   // octets of the whole item or file
  uint32_t data_len_recv;  // octets of a write that the modem has so far
  uint32_t exchange;       // as in the request
  int32_t result;          // 0 success; an EFS write: 0 or more is the instance that served it
  uint8_t data[KELVOR_NVEFS_CHUNK_MAX];
} kelvor_nvefs_rsp;

// ---- REQUEST_ID_COMMON: common requests

enum {
  KELVOR_COMMON_ITEM = 2,  // the command of a request that names an item
};

// Raw commands, and items of the command above with what their values and answers are.
enum {
  KELVOR_COMMON_GPIO_SET = 0,           // raw command: kelvor_gpio_req
  KELVOR_COMMON_RF_TX_SET = 1,          // raw command: kelvor_rf_tx_req
  KELVOR_COMMON_STATS_DEBUG_INFO = 20,  // raw command
  KELVOR_COMMON_STATS_LOG_LIST = 27,    // raw command
  KELVOR_COMMON_ITEM_SSR = 31,
  KELVOR_COMMON_ITEM_NV_SYNC = 35,
  KELVOR_COMMON_ITEM_CARD_QUERY = 39,  // answer: u32, 1 when a card is there
  KELVOR_COMMON_ITEM_CARD_GET = 55,    // u32 sub; answer: u32, 1 when its card is there
  KELVOR_COMMON_ITEM_CARD_TYPE = 56,   // answer: u32, a kelvor_card_type
  KELVOR_COMMON_ITEM_CARD_SET = 57,    // kelvor_card_set; answer: as CARD_GET
  KELVOR_COMMON_ITEM_HOT_SWAP =
      80,  // kelvor_hot_swap or its opt alone; answer: kelvor_hot_swap_state
  KELVOR_COMMON_ITEM_FULL_DUMP = 99,
};

// Octets that a request has for them.
enum {
  KELVOR_COMMON_VALUE_ROOM = 496,
  KELVOR_COMMON_PAYLOAD_ROOM = 504,
};

// A request that names an item.
typedef struct {
  uint32_t command;  // KELVOR_COMMON_ITEM
  uint32_t reserved;
  uint32_t t;  // the item
  uint32_t l;  // octets of v
  uint8_t v[KELVOR_COMMON_VALUE_ROOM];
} kelvor_common_item_req;

// A request with any other command, whose payload it defines.
typedef struct {
  uint32_t command;
  uint32_t reserved;
  uint8_t payload[KELVOR_COMMON_PAYLOAD_ROOM];
} kelvor_common_raw_req;

enum { KELVOR_GPIO_MAX = 50 };

// A GPIO test configuration, as the modem keeps it in a file.
typedef struct {
  uint32_t count;  // of the values given; those beyond the room are not there
  uint32_t values[KELVOR_GPIO_MAX];
} kelvor_gpio;

// Sets the GPIO test configuration. A modem may have to start again before it uses it.
typedef struct {
  uint32_t command;  // KELVOR_COMMON_GPIO_SET
  uint32_t reserved;
  kelvor_gpio gpio;
  uint8_t unused[300];
} kelvor_gpio_req;

// A configuration that fixes transmission to one antenna, as the modem keeps it in a file.
typedef struct {
  uint32_t antenna;  // 0 lower, 1 upper
  uint32_t system;   // 0 GSM, 1 WCDMA, 2 CDMA, 3 TD-SCDMA, 4 LTE
  uint64_t bands;    // a bit a band, by the system
} kelvor_rf_tx;

// Sets it. A modem may have to start again before it uses it.
typedef struct {
  uint32_t command;  // KELVOR_COMMON_RF_TX_SET
  uint32_t reserved;
  kelvor_rf_tx tx;
  uint8_t unused[488];
} kelvor_rf_tx_req;

// The answer to any of them, in the callers' buffer of 508 octets.
typedef struct {
  uint32_t command;  // as asked
  int32_t result;    // 0 success
  uint8_t payload[500];
} kelvor_common_rsp;

// What the tray can hold.
typedef enum {
  KELVOR_CARD_TYPE_ERROR = 0,
  KELVOR_CARD_TYPE_SINGLE = 1,
  KELVOR_CARD_TYPE_MULTI = 2,
} kelvor_card_type;

// The level of the line that says whether a card is there.
typedef struct {
  uint32_t sub;    // 0 or 1
  uint32_t mode;   // 0 general, 1 sim
  uint32_t level;  // 0 low: absent, 1 high: present
} kelvor_card_set;

// Starts a test that pulls and pushes the tray again and again, or stops the one that runs.
typedef struct {
  uint32_t opt;                 // 0 stop, else start
  uint32_t seconds_after_push;  // of waiting
  uint32_t seconds_after_pull;
  uint32_t count;  // of pushes, each with its pull
} kelvor_hot_swap;

// How far the test is; when none runs, how far the last one came.
typedef struct {
  uint32_t running;  // 0 or 1
  uint32_t done;     // pushes with their pulls that are over
} kelvor_hot_swap_state;

#ifdef __cplusplus
static_assert(sizeof(kelvor_card_set) == 12, "card set");
static_assert(sizeof(kelvor_hot_swap) == 16, "hot swap");
static_assert(sizeof(kelvor_hot_swap_state) == 8, "hot swap state");
static_assert(sizeof(kelvor_nvefs_req) == 512, "NV/EFS request");
static_assert(offsetof(kelvor_nvefs_req, nv_id) == 2, "NV/EFS request");
static_assert(offsetof(kelvor_nvefs_req, path_len) == 4, "NV/EFS request");
static_assert(offsetof(kelvor_nvefs_req, path) == 5, "NV/EFS request");
static_assert(offsetof(kelvor_nvefs_req, data_len) == 76, "NV/EFS request");
static_assert(offsetof(kelvor_nvefs_req, data_done) == 80, "NV/EFS request");
static_assert(offsetof(kelvor_nvefs_req, exchange) == 84, "NV/EFS request");
static_assert(offsetof(kelvor_nvefs_req, data_len_cur) == 86, "NV/EFS request");
static_assert(offsetof(kelvor_nvefs_req, data) == 88, "NV/EFS request");
static_assert(sizeof(kelvor_efs_path_req) == 512, "EFS path request");
static_assert(offsetof(kelvor_efs_path_req, path) == 5, "EFS path request");
static_assert(sizeof(kelvor_nvefs_rsp) == 444, "NV/EFS response");
static_assert(offsetof(kelvor_nvefs_rsp, data_len_all) == 4, "NV/EFS response");
static_assert(offsetof(kelvor_nvefs_rsp, result) == 16, "NV/EFS response");
static_assert(offsetof(kelvor_nvefs_rsp, data) == 20, "NV/EFS response");
static_assert(sizeof(kelvor_common_item_req) == 512, "common item request");
static_assert(offsetof(kelvor_common_item_req, v) == 16, "common item request");
static_assert(sizeof(kelvor_common_raw_req) == 512, "common raw request");
static_assert(offsetof(kelvor_common_raw_req, payload) == 8, "common raw request");
static_assert(sizeof(kelvor_gpio_req) == 512, "GPIO request");
static_assert(offsetof(kelvor_gpio_req, gpio.values) == 12, "GPIO request");
static_assert(sizeof(kelvor_rf_tx_req) == 512, "RF TX request");
static_assert(offsetof(kelvor_rf_tx_req, tx.bands) == 16, "RF TX request");
static_assert(sizeof(kelvor_common_rsp) == 508, "common response");
static_assert(offsetof(kelvor_common_rsp, result) == 4, "common response");
#endif

__END_DECLS

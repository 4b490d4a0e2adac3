// The maker's vendor QMI service, 0xFFE4: message numbers and C structures.
//
// One generic message carries families of functions; what its data octets are is in
// vendor_payload.h. Besides, the modem sends indications to whoever has opened the service; their
// meaning is that of the features they belong to, and they are handed on as they come.
//
// The 512 data octets are a fixed array and always travel whole. Responses carry no standard
// result: their first element is the vendor function's own. The simulated phone's are 0, 1 for a
// family that it does not have, and 2 for more data than there is room for; what a function itself
// says of its work is in the data.
//
// Members without a known meaning are called a, b, words and the like.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/qmi_idl.h"

__BEGIN_DECLS

enum {
  KELVOR_VENDOR_SERVICE_ID = 0xFFE4,
  KELVOR_VENDOR_IDL_MAJOR = 1,
  KELVOR_VENDOR_IDL_MINOR = 1,
  KELVOR_VENDOR_IDL_TOOL = 6,
  KELVOR_VENDOR_DATA_MAX = 512,
};

enum {
  KELVOR_VENDOR_GENERIC = 0x0002,  // the one request that is sent
  KELVOR_VENDOR_SUB_ID = 0x0003,   // as an indication: a sub-id and its data
  KELVOR_VENDOR_BLOCK = 0x0004,
  KELVOR_VENDOR_IND_5 = 0x0005,
  KELVOR_VENDOR_IND_6 = 0x0006,
  KELVOR_VENDOR_IND_7 = 0x0007,
  KELVOR_VENDOR_IND_8 = 0x0008,
  KELVOR_VENDOR_IND_9 = 0x0009,
  KELVOR_VENDOR_LARGE_BLOCK = 0x000A,
};

// Families of vendor functions: the generic request's id.
enum {
  REQUEST_ID_EFS = 2,
  REQUEST_ID_COMMON = 4,
};

// 0x0002 and 0x0003, in every direction.
typedef struct {
  uint32_t id;  // request: the family; response: the result, 0 for success; indication: the sub-id
  uint32_t data_len;  // octets of data that count
  uint8_t data_valid;
  uint8_t data[KELVOR_VENDOR_DATA_MAX];
} kelvor_vendor_msg;

// 0x0004 as a request: two words and a block.
typedef struct {
  uint32_t a, b;
  uint8_t data[516];
} kelvor_vendor_block_req;

// 0x0007, and the responses of 0x0004 and 0x000A: two words.
typedef struct {
  uint32_t a, b;
} kelvor_vendor_pair;

// 0x0005.
typedef struct {
  uint32_t a, b;
  uint8_t data[1120];
} kelvor_vendor_ind_5;

// An item of 0x0006.
typedef struct {
  uint32_t words[9];
  uint16_t half;
} kelvor_vendor_record;

// 0x0006: a list of records.
typedef struct {
  uint32_t a;
  uint32_t records_len;
  kelvor_vendor_record records[32];
} kelvor_vendor_ind_6;

// 0x0008: two words and, if present, up to 16 octets.
typedef struct {
  uint32_t a, b;
  uint8_t data_valid;
  uint32_t data_len;
  uint8_t data[16];
} kelvor_vendor_ind_8;

// 0x0009.
typedef struct {
  uint32_t a, b;
  uint8_t data[400];
} kelvor_vendor_ind_9;

// 0x000A as a request.
typedef struct {
  uint32_t a, b;
  uint8_t data[1536];
} kelvor_vendor_large_block_req;

#ifdef __cplusplus
static_assert(sizeof(kelvor_vendor_msg) == 524, "vendor message");
static_assert(offsetof(kelvor_vendor_msg, data_len) == 4, "vendor message");
static_assert(offsetof(kelvor_vendor_msg, data_valid) == 8, "vendor message");
static_assert(offsetof(kelvor_vendor_msg, data) == 9, "vendor message");
static_assert(sizeof(kelvor_vendor_block_req) == 524, "vendor block");
static_assert(sizeof(kelvor_vendor_pair) == 8, "vendor pair");
static_assert(sizeof(kelvor_vendor_ind_5) == 1128, "vendor indication 5");
static_assert(sizeof(kelvor_vendor_record) == 40, "vendor record");
static_assert(sizeof(kelvor_vendor_ind_6) == 1288, "vendor indication 6");
static_assert(sizeof(kelvor_vendor_ind_8) == 32, "vendor indication 8");
static_assert(sizeof(kelvor_vendor_ind_9) == 408, "vendor indication 9");
static_assert(sizeof(kelvor_vendor_large_block_req) == 1544, "vendor large block");
#endif

// The service object for exactly (1, 1, 6); null for anything else.
qmi_idl_service_object_type kelvor_extend_get_service_object_internal_v01(int32_t major,
                                                                          int32_t minor,
                                                                          int32_t tool);

__END_DECLS

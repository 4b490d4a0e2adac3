// The vendor statistics service's client, and the events that its indications become.
//
// It reports no status but its release and does not reconnect: after a service loss it is to be
// released and initialised again, and until then its exchanges fail.
//
// Events. The callback gets the id and the structure that belongs to it, of exactly its size, on
// the client library's thread; the structure is valid during the call only. What the modem sends
// beyond a structure's room is dropped. The sizes are asserted below because other programs are
// compiled against the same layout.
#pragma once

#include "platform/idl/vs.h"
#include "vireo/modem_api/member_client.h"

VIREO_DECLARE_MEMBER(vs)

// Event ids, and the structures that come with them.
enum ModemApiVsEvent : uint32_t {
  kVsEventFlags = 2,    // ModemApiVsFlags
  kVsEventRecords = 3,  // ModemApiVsRecords
  kVsEventValues = 4,   // ModemApiVsValues
  kVsEventByte = 5,     // ModemApiVsByte
};

// Rooms of the structures; the service's own messages have more (platform/idl/vs.h).
enum {
  kVsEventRecordsMax = 10,
  kVsEventBlobsMax = 5,
  kVsEventValuesMax = 100,
};

// Members without a known meaning keep the names of the message: word, x, y.

struct ModemApiVsFlags {
  uint32_t word;
  uint8_t flag_1, flag_2;  // 0 or 1
};

// A record or a blob, in the modem's own packing.
struct ModemApiVsRecord {
  uint32_t id;
  uint32_t data_len;  // octets of data, at most VS_DATA_MAX; those behind are zero
  uint8_t data[VS_DATA_MAX];
  uint16_t x, y;
};

struct ModemApiVsRecords {
  uint32_t word;
  uint32_t records_len;
  ModemApiVsRecord records[kVsEventRecordsMax];
  uint32_t blobs_len;
  ModemApiVsRecord blobs[kVsEventBlobsMax];
  uint32_t last;  // 0xFFFFFFFF when the modem sent none
};

struct ModemApiVsValues {
  uint32_t word;
  uint32_t values_len;
  uint32_t values[kVsEventValuesMax];  // each 0 to 255: the message has octets
  uint16_t x, y;
};

struct ModemApiVsByte {
  uint8_t byte;
};

static_assert(sizeof(ModemApiVsFlags) == 8);
static_assert(sizeof(ModemApiVsRecords) == 10696);
static_assert(sizeof(ModemApiVsValues) == 412);
static_assert(sizeof(ModemApiVsByte) == 1);

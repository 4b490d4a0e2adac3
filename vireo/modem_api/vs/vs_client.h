// The vendor statistics service's client, and the events that its indications become.
//
// It reports no status and does not reconnect: after a service loss it is to be released and
// initialised again.
#pragma once

#include "platform/idl/vs.h"
#include "vireo/modem_api/member_client.h"

VIREO_DECLARE_MEMBER(vs)

// Event ids, and what follows them.
enum ModemApiVsEvent : uint32_t {
  kVsEventFlags = 2,
  kVsEventRecords = 3,
  kVsEventValues = 4,
  kVsEventByte = 5,
};

enum {
  kVsEventRecordsMax = 10,
  kVsEventBlobsMax = 5,
  kVsEventValuesMax = 100,
};

struct ModemApiVsFlags {
  uint32_t word;
  uint8_t flag_1, flag_2;  // 0 or 1
};

struct ModemApiVsRecord {
  uint32_t id;
  uint32_t data_len;
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
  uint32_t values[kVsEventValuesMax];
  uint16_t x, y;
};

struct ModemApiVsByte {
  uint8_t byte;
};

static_assert(sizeof(ModemApiVsFlags) == 8);
static_assert(sizeof(ModemApiVsRecords) == 10696);
static_assert(sizeof(ModemApiVsValues) == 412);
static_assert(sizeof(ModemApiVsByte) == 1);

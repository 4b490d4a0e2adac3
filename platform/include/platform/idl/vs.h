// `vs`, the vendor statistics service: feature switch, statistics records, statistics events.
//
// No public description of the service names its messages and elements: members without a known
// meaning are called word, a, x and the like, and are carried as they come. Records and blobs are
// octets of the modem's own packing, little-endian; who reads one knows its layout by its id
// (docs/statistics-records.md).
//
// Records are asked for and come in the response. Indications are events that the modem sends
// without being asked; the simulated phone sends none.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/qmi_idl.h"

__BEGIN_DECLS

enum {
  VS_IDL_MAJOR = 1,
  VS_IDL_MINOR = 2,
  VS_IDL_TOOL = 6,
};

enum {
  VS_FEATURE_STATUS = 0x0003,
  VS_GET_PARAMETERS = 0x0207,
  // Indications.
  VS_IND_FLAGS = 0x0004,
  VS_IND_RECORDS = 0x0203,
  VS_IND_VALUES = 0x0204,
  VS_IND_BYTE = 0x0601,
};

// What the structures have room for.
enum {
  VS_PARAMETERS_MAX = 10,  // of one request
  VS_DATA_MAX = 700,       // octets of one record
};

// Radio technologies in statistics records; NAS numbers its own otherwise (nas.h).
enum vs_rat {
  VS_RAT_GSM = 3,
  VS_RAT_WCDMA = 5,
  VS_RAT_LTE = 9,
  VS_RAT_NR = 12,
};

// Switches a feature of the service; value says which: 2 is the statistics, which a, b and c of 1
// switch on.
typedef struct {
  uint32_t value;
  uint8_t a, b, c;
} vs_feature_status_req;

// Responses that carry nothing but the standard result.
typedef struct {
  qmi_standard_result resp;
} vs_plain_resp;

// One statistics record of a subscription, 0 or 1; in a request its data is empty. In a response
// data_len is what the modem sent: above VS_DATA_MAX when it sent more than there is room for, and
// the rest is lost.
typedef struct {
  uint32_t sub;
  uint32_t id;
  uint32_t data_len;
  uint8_t data[VS_DATA_MAX];
} vs_parameter;

// Asks for statistics records, each by its id and its subscription.
typedef struct {
  uint16_t sub;
  uint16_t slot;  // the caller's sequence number
  uint32_t parameters_len;
  vs_parameter parameters[VS_PARAMETERS_MAX];
} vs_get_parameters_req;

// The records that the modem has of those asked for; none is no error. The simulated phone refuses
// a subscription beyond 1 with INVALID_ARGUMENT.
typedef struct {
  qmi_standard_result resp;
  uint8_t parameters_valid;
  uint32_t parameters_len;
  vs_parameter parameters[VS_PARAMETERS_MAX];
} vs_get_parameters_resp;

// Two switches of the modem's have changed; each is 0 or another number.
typedef struct {
  uint32_t word;
  uint8_t flag_1, flag_2;
} vs_flags_ind;

// Rooms of the events below. A modem may report more, and more at once, than the tool's own events
// hold (vireo/modem_api/vs/vs_client.h).
enum {
  VS_IND_RECORDS_MAX = 16,
  VS_IND_BLOBS_MAX = 8,
  VS_IND_DATA_MAX = 1024,
  VS_IND_VALUES_MAX = 255,
};

// A record or blob of an event; x and y are not known.
typedef struct {
  uint32_t id;
  uint32_t data_len;
  uint8_t data[VS_IND_DATA_MAX];
  uint16_t x, y;
} vs_ind_record;

// New records and blobs.
typedef struct {
  uint32_t word;
  uint32_t records_len;
  vs_ind_record records[VS_IND_RECORDS_MAX];
  uint32_t blobs_len;
  vs_ind_record blobs[VS_IND_BLOBS_MAX];
  uint8_t last_valid;
  uint32_t last;
} vs_records_ind;

// A list of small numbers.
typedef struct {
  uint32_t word;
  uint32_t values_len;
  uint8_t values[VS_IND_VALUES_MAX];
  uint16_t x, y;
} vs_values_ind;

// One number.
typedef struct {
  uint8_t byte;
} vs_byte_ind;

#ifdef __cplusplus
static_assert(sizeof(vs_feature_status_req) == 8, "feature status");
static_assert(sizeof(vs_plain_resp) == 8, "plain response");
static_assert(sizeof(vs_parameter) == 712, "parameter");
static_assert(sizeof(vs_get_parameters_req) == 7128, "get parameters request");
static_assert(offsetof(vs_get_parameters_req, parameters_len) == 4, "get parameters request");
static_assert(offsetof(vs_get_parameters_req, parameters) == 8, "get parameters request");
static_assert(sizeof(vs_get_parameters_resp) == 7136, "get parameters response");
#endif

// The service object for exactly (1, 2, 6); null for anything else.
qmi_idl_service_object_type vs_get_service_object_internal_v01(int32_t major, int32_t minor,
                                                               int32_t tool);

__END_DECLS

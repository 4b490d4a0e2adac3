// NAS, the Network Access Service (0x03): the messages that the tool sends.
//
// A client is bound to one subscription, the first unless it says otherwise; what it asks and is
// told is about that one. Every response has the standard result. A scan takes the modem up to
// minutes; the incremental one is acknowledged at once and reports by indications.
//
// Networks are named by their country's and network's codes, mcc and mnc, as numbers: whether an
// mnc of 1 is "01" or "001" is said beside it.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/qmi_idl.h"

__BEGIN_DECLS

enum {
  NAS_SERVICE_ID = 0x03,
  NAS_IDL_MAJOR = 1,
  NAS_IDL_MINOR = 398,
  NAS_IDL_TOOL = 6,
};

enum {
  NAS_INDICATION_REGISTER = 0x0003,
  NAS_NETWORK_SCAN = 0x0021,
  NAS_BIND_SUBSCRIPTION = 0x0045,
  NAS_INCREMENTAL_NETWORK_SCAN = 0x0085,
};

// Networks in one response or indication, and octets of a network's name (as many as its count of
// one octet can state).
enum { NAS_NETWORKS_MAX = 40, NAS_NAME_MAX = 255 };

// Radio technologies of networks; statistics records number theirs otherwise (vs.h).
enum nas_rat {
  NAS_RAT_GSM = 4,
  NAS_RAT_UMTS = 5,
  NAS_RAT_LTE = 8,
  NAS_RAT_TDSCDMA = 9,
  NAS_RAT_NR = 12,
};

// Technologies to scan, as bits.
enum nas_network_type {
  NAS_NETWORK_TYPE_GSM = 1,
  NAS_NETWORK_TYPE_UMTS = 2,
  NAS_NETWORK_TYPE_LTE = 4,
  NAS_NETWORK_TYPE_TDSCDMA = 8,
  NAS_NETWORK_TYPE_NR = 16,
};

// Switches of unsolicited reports, an octet of flag and one of value each: 1 to be told, 0 not to
// be. The modem reports by indications that the tool ignores.
typedef struct {
  uint8_t selection_preference_valid, selection_preference;
  uint8_t ddtm_valid, ddtm;
  uint8_t serving_system_valid, serving_system;
  uint8_t dual_standby_valid, dual_standby;
  uint8_t subscription_info_valid, subscription_info;
  uint8_t network_time_valid, network_time;
  uint8_t system_info_valid, system_info;
  uint8_t signal_info_valid, signal_info;
  uint8_t error_rate_valid, error_rate;
  uint8_t hdr_uati_valid, hdr_uati;
  uint8_t hdr_session_valid, hdr_session;
  uint8_t managed_roaming_valid, managed_roaming;
  uint8_t plmn_name_valid, plmn_name;
  uint8_t embms_valid, embms;
  uint8_t rf_band_valid, rf_band;
  uint8_t network_reject_valid, network_reject_enable, network_reject_suppress;
  uint8_t reserved[144];  // further switches of the service, never sent
} nas_indication_register_req;

// Binds the client to a subscription, from this request on. The simulated phone refuses any other
// number with INVALID_ARGUMENT.
typedef struct {
  uint32_t subscription;  // 0 primary, 1 secondary, 2 tertiary
} nas_bind_subscription_req;

// Responses that carry nothing but the standard result: of registering, of binding, and of starting
// an incremental scan.
typedef struct {
  qmi_standard_result resp;
} nas_plain_resp;

// Which networks to look for; all that the modem can find when nothing is present. Bands are bits,
// by the service's own numbering of bands.
typedef struct {
  uint8_t network_type_valid, network_type;  // bits of enum nas_network_type
  uint8_t scan_type_valid;
  uint32_t scan_type;
  uint8_t gw_bands_valid;
  uint64_t gw_bands;
  uint8_t lte_bands_valid;
  uint64_t lte_bands;
  uint8_t tds_bands_valid;
  uint64_t tds_bands;
  uint8_t reserved[216];
} nas_network_scan_req;

// A network that a scan has found. The name is in the modem's alphabet and ends with a zero octet.
//
// status has four pairs of bits, from bit 0; 0 in a pair is "unknown":
//   in use      1 serving, 2 available
//   roaming     1 home, 2 roaming
//   forbidden   1 forbidden, 2 not
//   preferred   1 preferred, 2 not
typedef struct {
  uint16_t mcc, mnc;
  uint8_t status;
  char name[NAS_NAME_MAX + 1];
} nas_network;

// A property of the network with these codes, in a list beside that of the networks.
typedef struct {
  uint16_t mcc, mnc;
  uint8_t value;
} nas_network_attribute;

// What was found: the networks, and in lists of their own the technology and the digits of each.
typedef struct {
  qmi_standard_result resp;
  uint8_t networks_valid;
  uint32_t networks_len;
  nas_network networks[NAS_NETWORKS_MAX];
  uint8_t rats_valid;
  uint32_t rats_len;
  nas_network_attribute rats[NAS_NETWORKS_MAX];  // of enum nas_rat
  uint8_t mnc_digits_valid;
  uint32_t mnc_digits_len;
  nas_network_attribute mnc_digits[NAS_NETWORKS_MAX];  // 1: the MNC has three digits
  uint8_t scan_result_valid;
  uint32_t scan_result;  // 0 ok, 1 aborted, 2 radio link failure
  uint8_t reserved[7040];
} nas_network_scan_resp;

// As of the scan above.
typedef struct {
  uint8_t network_type_valid, network_type;
  uint8_t reserved[574];
} nas_incremental_network_scan_req;

// A network with its properties: status as in nas_network, rat of enum nas_rat.
typedef struct {
  uint16_t mcc, mnc;
  uint8_t status, rat, mnc_three_digits;
  char name[NAS_NAME_MAX + 1];
} nas_incremental_network;

// All networks that were found so far, to the client that asked. The simulated phone reports after
// each technology that it has searched. The last report is the one that is not partial.
typedef struct {
  uint32_t status;  // 0 complete, 1 partial, 2 aborted
  uint8_t networks_valid;
  uint32_t networks_len;
  nas_incremental_network networks[NAS_NETWORKS_MAX];
} nas_incremental_network_scan_ind;

#ifdef __cplusplus
static_assert(sizeof(nas_indication_register_req) == 177, "indication register");
static_assert(offsetof(nas_indication_register_req, serving_system_valid) == 4, "serving system");
static_assert(offsetof(nas_indication_register_req, reserved) == 33, "reserved");
static_assert(sizeof(nas_bind_subscription_req) == 4, "bind");
static_assert(sizeof(nas_plain_resp) == 8, "plain response");
static_assert(sizeof(nas_network_scan_req) == 272, "scan request");
static_assert(sizeof(nas_network) == 262, "network");
static_assert(sizeof(nas_network_attribute) == 6, "network attribute");
static_assert(sizeof(nas_network_scan_resp) == 18040, "scan response");
static_assert(sizeof(nas_incremental_network_scan_req) == 576, "incremental scan");
#endif

// The service object for exactly (1, 398, 6); null for anything else.
qmi_idl_service_object_type nas_get_service_object_internal_v01(int32_t major, int32_t minor,
                                                                int32_t tool);

__END_DECLS

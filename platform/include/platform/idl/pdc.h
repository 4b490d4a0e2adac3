// PDC, the Persistent Device Configuration service (0x24): which carrier configuration (MBN) the
// modem uses.
//
// A request is acknowledged at once; its outcome follows as an indication of the same message id.
// The token of a request is the caller's own number, which the indication repeats. A modem that
// refuses a request in its response sends no indication.
//
// A configuration is named by its type and an id of octets, which mean nothing to the host.
// Software configurations are selected per subscription (0 or 1), the platform's for the whole
// phone; slot is that of the subscription's card, from 0. Selecting has no effect until the next
// activation.
//
// Errors. The simulated phone refuses a type or a subscription that there is not with
// INVALID_ARGUMENT, and an activation or deactivation while another of the same selection is under
// way with INCOMPATIBLE_STATE, both in the response. These come in the indication:
//
//   NO_ENTRY          no configuration of that type and id; the type has no default
//   NOT_PROVISIONED   nothing is selected or active
//   NO_EFFECT         deactivating when nothing is active
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/qmi_idl.h"

__BEGIN_DECLS

enum {
  PDC_SERVICE_ID = 0x24,
  PDC_IDL_MAJOR = 1,
  PDC_IDL_MINOR = 16,
  PDC_IDL_TOOL = 6,
};

// Messages. Of deleting, loading and setting a feature only the indications are described: the tool
// handles those but sends no such request.
enum {
  PDC_REGISTER = 0x0020,
  PDC_GET_SELECTED_CONFIG = 0x0022,
  PDC_SET_SELECTED_CONFIG = 0x0023,
  PDC_LIST_CONFIGS = 0x0024,
  PDC_DELETE_CONFIG = 0x0025,
  PDC_LOAD_CONFIG = 0x0026,
  PDC_ACTIVATE_CONFIG = 0x0027,
  PDC_GET_CONFIG_INFO = 0x0028,
  PDC_GET_DEFAULT_CONFIG_INFO = 0x002A,
  PDC_DEACTIVATE_CONFIG = 0x002B,
  PDC_SET_FEATURE = 0x002E,
};

// Rooms of the structures.
enum {
  PDC_CONFIG_ID_MAX = 124,    // octets
  PDC_CONFIGS_MAX = 25,       // configurations in one indication
  PDC_DESCRIPTION_MAX = 255,  // octets
};

// Whose settings a configuration has.
typedef enum {
  PDC_CONFIG_TYPE_PLATFORM = 0,          // the hardware's
  PDC_CONFIG_TYPE_SOFTWARE = 1,          // the carrier's
  PDC_CONFIG_TYPE_32_BITS = 0x7FFFFFFF,  // so that any number that a caller gives has room
} pdc_config_type_enum_v01;

// How an activation is done.
typedef enum {
  PDC_ACTIVATION_REGULAR = 0,
  PDC_ACTIVATION_SOFT = 1,  // apply again without a restart of the subscription
  PDC_ACTIVATION_32_BITS = 0x7FFFFFFF,
} pdc_activation_type_enum_v01;

// One configuration, as messages name it.
typedef struct {
  uint32_t type;
  uint32_t id_len;
  uint8_t id[PDC_CONFIG_ID_MAX];
} pdc_config;

// Registers for reports of changes (1) and of refreshes (1) that the client did not ask for. The
// outcomes of its own requests come without. The simulated phone changes nothing of its own and
// reports nothing.
typedef struct {
  uint8_t reporting_valid, reporting;
  uint8_t refresh_valid, refresh;
} pdc_register_req;

// Responses carry the standard result alone.
typedef struct {
  qmi_standard_result resp;
} pdc_plain_resp;

// Asks which configuration is active and which is selected.
typedef struct {
  uint32_t type;
  uint8_t token_valid;
  uint32_t token;  // repeated by the indication
  uint8_t subscription_valid;
  uint32_t subscription;
  uint8_t slot_valid;
  uint32_t slot;
} pdc_get_selected_config_req;

// Selects a configuration for the next activation; its outcome is a pdc_result_ind.
typedef struct {
  pdc_config config;
  uint8_t token_valid;
  uint32_t token;
  uint8_t subscription_valid;
  uint32_t subscription;
  uint8_t slot_valid;
  uint32_t slot;
} pdc_set_selected_config_req;

// Asks which configurations the modem has, of one type or, without one, of all. The same request
// asks for the next part of a list that is not complete. The simulated phone begins a new list when
// the last request was for another type or is more than 4.5 seconds ago, and sends no indication
// for a list without an entry.
typedef struct {
  uint8_t token_valid;
  uint32_t token;
  uint8_t type_valid;
  uint32_t type;
  uint8_t frames_valid, frames;  // several frames are accepted
} pdc_list_configs_req;

// Makes the selected configuration the active one; a regular activation restarts the subscription.
// Without a selected one the active one is applied again. The outcome, a pdc_result_ind, comes when
// that is done.
typedef struct {
  uint32_t type;
  uint8_t token_valid;
  uint32_t token;
  uint8_t activation_valid;
  uint32_t activation;
  uint8_t subscription_valid;
  uint32_t subscription;
  uint8_t slot_valid;
  uint32_t slot;
} pdc_activate_config_req;

// Leaves the subscription without an active configuration; what is selected stays selected. The
// outcome is a pdc_result_ind.
typedef struct {
  uint32_t type;
  uint8_t token_valid;
  uint32_t token;
  uint8_t subscription_valid;
  uint32_t subscription;
} pdc_deactivate_config_req;

// Asks about one configuration.
typedef struct {
  pdc_config config;
  uint8_t token_valid;
  uint32_t token;
} pdc_get_config_info_req;

// Asks about the configuration that the type has when none is selected.
typedef struct {
  uint32_t type;
  uint8_t token_valid;
  uint32_t token;
} pdc_get_default_config_info_req;

// Every indication begins with a QMI error code, 0 for success, and the request's token.

// Select, delete, activate, deactivate, set feature.
typedef struct {
  uint16_t error;
  uint8_t token_valid;
  uint32_t token;
} pdc_result_ind;

// The ids of the active and of the selected configuration; either may be absent.
typedef struct {
  uint16_t error;
  uint8_t token_valid;
  uint32_t token;
  uint8_t active_valid;
  uint32_t active_len;
  uint8_t active[PDC_CONFIG_ID_MAX];
  uint8_t pending_valid;
  uint32_t pending_len;
  uint8_t pending[PDC_CONFIG_ID_MAX];
} pdc_get_selected_config_ind;

// A part of the list. 1 in more_available: another request gets the next part.
typedef struct {
  uint16_t error;
  uint8_t token_valid;
  uint32_t token;
  uint8_t configs_valid;
  uint32_t configs_len;
  pdc_config configs[PDC_CONFIGS_MAX];
  uint8_t more_available_valid, more_available;
} pdc_list_configs_ind;

// How far the loading of a configuration into the modem has come. reset: it begins again.
typedef struct {
  uint16_t error;
  uint8_t token_valid;
  uint32_t token;
  uint8_t received_valid;
  uint32_t received;  // octets
  uint8_t remaining_valid;
  uint32_t remaining;  // octets
  uint8_t reset_valid, reset;
} pdc_load_config_ind;

// A configuration's properties. The description is text, without a zero at its end.
typedef struct {
  uint16_t error;
  uint8_t token_valid;
  uint32_t token;
  uint8_t size_valid;
  uint32_t size;  // octets
  uint8_t description_valid;
  uint32_t description_len;
  uint8_t description[PDC_DESCRIPTION_MAX];
  uint8_t version_valid;
  uint32_t version;
} pdc_get_config_info_ind;

// The same of the type's default, in another order.
typedef struct {
  uint16_t error;
  uint8_t token_valid;
  uint32_t token;
  uint8_t version_valid;
  uint32_t version;
  uint8_t size_valid;
  uint32_t size;  // octets
  uint8_t description_valid;
  uint32_t description_len;
  uint8_t description[PDC_DESCRIPTION_MAX];
} pdc_get_default_config_info_ind;

#ifdef __cplusplus
static_assert(sizeof(pdc_config) == 132, "config");
static_assert(offsetof(pdc_config, id) == 8, "config id");
static_assert(sizeof(pdc_plain_resp) == 8, "plain response");
static_assert(sizeof(pdc_get_selected_config_req) == 28, "get selected");
static_assert(offsetof(pdc_get_selected_config_req, subscription) == 16, "get selected, sub");
static_assert(sizeof(pdc_set_selected_config_req) == 156, "set selected");
static_assert(offsetof(pdc_set_selected_config_req, subscription) == 144, "set selected, sub");
static_assert(sizeof(pdc_list_configs_req) == 20, "list");
static_assert(offsetof(pdc_list_configs_req, type) == 12, "list, type");
static_assert(sizeof(pdc_activate_config_req) == 36, "activate");
static_assert(offsetof(pdc_activate_config_req, activation) == 16, "activate, activation");
static_assert(offsetof(pdc_activate_config_req, slot) == 32, "activate, slot");
static_assert(sizeof(pdc_deactivate_config_req) == 20, "deactivate");
static_assert(offsetof(pdc_deactivate_config_req, subscription) == 16, "deactivate, sub");
static_assert(sizeof(pdc_result_ind) == 8, "result");
static_assert(sizeof(pdc_get_selected_config_ind) == 272, "selected");
static_assert(sizeof(pdc_list_configs_ind) == 3320, "configs");
static_assert(sizeof(pdc_load_config_ind) == 28, "load");
static_assert(sizeof(pdc_get_config_info_ind) == 284, "info");
static_assert(sizeof(pdc_get_default_config_info_ind) == 288, "default info");
#endif

// The service object for exactly (1, 16, 6); null for anything else.
qmi_idl_service_object_type pdc_get_service_object_internal_v01(int32_t major, int32_t minor,
                                                                int32_t tool);

__END_DECLS

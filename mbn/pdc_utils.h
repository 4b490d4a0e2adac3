// The tool's one client of PDC, as blocking calls.
//
// PDC acknowledges a request at once and reports its outcome later, by an indication. Each kind of
// request has a context here: its caller sends the request, waits, and is woken by the indication
// or, 5 seconds after the request was acknowledged, by the kind's request timer. When any timer
// expires, every waiting request ends, whatever its kind: a modem that has lost one indication is
// not trusted with the others.
//
// Results: PDC_OK or one of the codes below.
//
// Threads. Any number of threads may call; a second request of a kind that is under way is refused
// at once. Do not call from a callback of the client library or of a timer: they are what wakes a
// caller. One mutex guards the module's state. It is held while timers are started and stopped,
// which does not wait for callbacks (platform/timer.h), and never while a request is sent or the
// client is made or released, which do.
//
// What a modem says in its response beyond "received" is not looked at: one that refuses sends no
// indication, and the timer ends the request.
//
// A list goes on from the timers' one thread. While a modem that has stalled keeps it waiting for
// the response to that, at most 10 seconds, no timer of another kind expires.
//
// An indication that arrives before its caller waits is kept for it. What was left over from an
// earlier request of the kind (a late or a second indication) is dropped when the next one begins.
#pragma once

#include <signal.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/idl/pdc.h"
#include "platform/nodiscard.h"
#include "platform/qmi_client.h"

__BEGIN_DECLS

enum {
  PDC_OK = 0,
  PDC_FAILED = -1,       // not sent, refused by the modem, no indication in time, or bad arguments
  PDC_BUSY = -2,         // a request of the kind is under way; nothing was sent
  PDC_ID_TOO_LONG = -4,  // nothing was sent
};

// The id of a configuration.
typedef struct {
  uint32_t id_len;  // at most PDC_CONFIG_ID_MAX
  uint8_t id[PDC_CONFIG_ID_MAX];
} pdc_config_pdc_info;

// An element of the list of configurations.
typedef struct {
  pdc_config config;
  uint32_t reserved;
} pdc_config_info;

// The kinds of requests. Any other number counts as PDC_REQ_DEFAULT_INFO.
enum {
  PDC_REQ_LIST = 1,
  PDC_REQ_LOAD = 2,
  PDC_REQ_INFO = 3,
  PDC_REQ_DEACTIVATE = 4,
  PDC_REQ_DELETE = 5,
  PDC_REQ_GET_SELECTED = 6,
  PDC_REQ_SELECT = 7,
  PDC_REQ_ACTIVATE = 8,
  PDC_REQ_SET_FEATURE = 9,
  PDC_REQ_DEFAULT_INFO = 10,
};

// Connects: 20 attempts of up to 4 s, with 5 s after each that failed; without a wait where no
// modem can come (platform/qmi_client.h). 0, or -1. A client that is connected is to be cleaned
// first. Requests that are under way are left as they are; they end by their timers.
PLATFORM_NODISCARD int pdc_init(void);
// Ends the connection, if there is one. Requests that are under way end by their timers.
void pdc_clean(void);

// sub: 0 or 1; sent for software configurations only, the platform's being the phone's own.

// Which configuration is active. *out is written on success only. A subscription that has none is a
// failure.
PLATFORM_NODISCARD int pdc_get_current_config(pdc_config_pdc_info* out,
                                              pdc_config_type_enum_v01 type, unsigned int sub);
// Selects a configuration for the next activation.
PLATFORM_NODISCARD int pdc_select_config(pdc_config_pdc_info* config_id,
                                         pdc_config_type_enum_v01 type, unsigned int sub);
// Activates what is selected: regularly, in the slot of the subscription's number.
PLATFORM_NODISCARD int pdc_activate_config(pdc_config_type_enum_v01 type, unsigned int sub);
PLATFORM_NODISCARD int pdc_activate_config_ex(pdc_config_type_enum_v01 type,
                                              pdc_activation_type_enum_v01 activation,
                                              unsigned int sub, unsigned int slot);
PLATFORM_NODISCARD int pdc_deactivate_config(unsigned int sub, pdc_config_type_enum_v01 type);

// Lists the configurations of a type. *count is the room of `list` on entry and the number of
// elements on return, which the caller frees with qcril_free_adv, each of them. Fails, with no
// element, when there are more than there is room for. A modem without any sends no indication:
// PDC_FAILED after the 5 seconds.
PLATFORM_NODISCARD int pdc_list_configs(pdc_config_type_enum_v01 type, pdc_config_info** list,
                                        unsigned int* count);

// The client library's indication callback.
void qmi_pdc_unsol_ind_cb(qmi_client_type client, uint32_t msg_id, const void* buffer,
                          uint32_t length, void* data);

// What completes each kind. `ind` is the indication's C structure, `len` its size; an indication of
// another size counts as none.
void qmi_pdc_list_configs_ind_hdlr(void* ind, unsigned int len);
void qmi_pdc_load_config_ind_hdlr(void* ind, unsigned int len);
void qmi_pdc_get_config_info_ind_hdlr(void* ind, unsigned int len);
void qmi_pdc_deactivate_config_ind_hdlr(void* ind, unsigned int len);
void qmi_pdc_delete_config_ind_hdlr(void* ind, unsigned int len);
void qmi_pdc_get_selected_config_ind_hdlr(void* ind, unsigned int len);
void qmi_pdc_select_config_ind_hdlr(void* ind, unsigned int len);
void qmi_pdc_activate_config_ind_hdlr(void* ind, unsigned int len);
void qmi_pdc_set_feature_ind_hdlr(void* ind, unsigned int len);
void kelvor_mbn_get_default_config_info_ind_hdlr(void* ind, unsigned int len);

__END_DECLS

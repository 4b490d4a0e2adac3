// IDL service objects: the description of one QMI service's messages.
//
// An object is immutable, valid until the process ends, and may be shared by clients and threads.
// Its service's getter (platform/idl/*.h) returns it, or NULL for another version of the service.
//
// C structures of messages, in platform/idl/. They are the client library's view of a message, not
// its octets on the bus: numbers may be wider and records are aligned.
//
//   x_valid    1 when the optional element x is present; a receiver reads x then only
//   x_len      how many items of the array x there are; never more than its room, unless it says so
//   reserved   room for elements that the tool neither sends nor reads
//
// A structure belongs to who made it. A request is zeroed before it is filled, so that what is not
// mentioned is absent; a response or an indication that was decoded is zeroed beyond what came.
// Sizes and offsets are asserted, because other programs are compiled against the same layout.
#pragma once

#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/nodiscard.h"

__BEGIN_DECLS

typedef const struct qmi_idl_service_object* qmi_idl_service_object_type;

// Message kinds; the values are the QMI header's type octet.
typedef enum {
  QMI_IDL_REQUEST = 0,
  QMI_IDL_RESPONSE = 2,
  QMI_IDL_INDICATION = 4,
} qmi_idl_message_type;

// The standard result that a response of a standard service begins with.
typedef struct {
  uint32_t result;  // 0 success, 1 failure
  uint32_t error;   // when result is 1: of enum qmi_error, or another number of the modem's
} qmi_standard_result;

// QMI error codes: those that the tool or the simulated phone uses.
enum qmi_error {
  QMI_ERROR_NONE = 0,
  QMI_ERROR_MALFORMED_MESSAGE = 1,
  QMI_ERROR_INTERNAL = 3,
  QMI_ERROR_ABORTED = 4,
  QMI_ERROR_NOT_PROVISIONED = 16,
  QMI_ERROR_MISSING_ARGUMENT = 17,
  QMI_ERROR_ARGUMENT_TOO_LONG = 19,
  QMI_ERROR_NETWORK_UNSUPPORTED = 24,
  QMI_ERROR_NO_EFFECT = 26,
  QMI_ERROR_REQUESTED_NUMBER_UNSUPPORTED = 42,
  QMI_ERROR_INVALID_ARGUMENT = 48,
  QMI_ERROR_INVALID_INDEX = 49,
  QMI_ERROR_NO_ENTRY = 50,
  QMI_ERROR_DEVICE_NOT_READY = 52,
  QMI_ERROR_INSUFFICIENT_RESOURCES = 68,
  QMI_ERROR_INVALID_COMMAND = 71,  // the service has no such message
  QMI_ERROR_BUNDLING_NOT_SUPPORTED = 77,
  QMI_ERROR_SIM_FILE_NOT_FOUND = 80,
  QMI_ERROR_INCOMPATIBLE_STATE = 90,
  QMI_ERROR_NOT_SUPPORTED = 94,
  QMI_ERROR_NO_SIM = 102,
};

// The size in octets of the decoded C structure of one message, written to *length.
// 0 on success; -1 when the service has no such message or an argument is null (then *length is
// left as it was).
PLATFORM_NODISCARD int qmi_idl_get_message_c_struct_len(qmi_idl_service_object_type service,
                                                        qmi_idl_message_type type,
                                                        uint32_t message_id, uint32_t* length);

__END_DECLS

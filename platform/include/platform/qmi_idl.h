// IDL service objects: what one QMI service's messages look like.
//
// An object is immutable, lives as long as the process, and may be shared by any number of
// clients and threads. It is obtained from its service's getter (platform/idl/*.h), which gives
// NULL for a version triple that it does not describe.
#ifndef PLATFORM_QMI_IDL_H_
#define PLATFORM_QMI_IDL_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

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
  uint32_t error;   // a QMI error code when result is 1
} qmi_standard_result;

// The size in bytes of the decoded C structure of one message, written to *length.
// 0 on success; -1 when the service has no such message or an argument is null (then *length is
// left as it was).
int qmi_idl_get_message_c_struct_len(qmi_idl_service_object_type service, qmi_idl_message_type type,
                                     uint32_t message_id, uint32_t* length);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_QMI_IDL_H_

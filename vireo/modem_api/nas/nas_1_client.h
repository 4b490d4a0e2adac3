// The NAS client that is bound to subscription 1.
#ifndef VIREO_MODEM_API_NAS_NAS_1_CLIENT_H_
#define VIREO_MODEM_API_NAS_NAS_1_CLIENT_H_

#include "vireo/modem_api/member_client.h"

VIREO_DECLARE_MEMBER(nas_1)
// Registers for the reports of NAS once more; the client library's result.
extern "C" int nas_1_client_set_networking_indications(void);

#endif  // VIREO_MODEM_API_NAS_NAS_1_CLIENT_H_

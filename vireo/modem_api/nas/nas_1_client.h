// The NAS client that is bound to subscription 1.
#pragma once

#include "vireo/modem_api/member_client.h"

VIREO_DECLARE_MEMBER(nas_1)
// Registers for the reports of NAS once more, as connecting has done; the client library's result.
extern "C" int nas_1_client_set_networking_indications(void);

// The NAS client that is bound to subscription 0.
#pragma once

#include "vireo/modem_api/member_client.h"

VIREO_DECLARE_MEMBER(nas_0)
// Registers for the reports of NAS once more, as connecting has done; the client library's result.
extern "C" int nas_0_client_set_networking_indications(void);

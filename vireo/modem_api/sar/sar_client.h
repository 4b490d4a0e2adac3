// The SAR service client.
//
// It connects and reports its states like the others, but no operation of the client manager sends
// anything through it: SAR's state is asked for with a client of its own (qmi/kelvor_extend_cmn.h).
// Indications are traced as unknown and give no event.
#pragma once

#include "vireo/modem_api/member_client.h"

VIREO_DECLARE_MEMBER(sar)

// The SAR service client. No indication of its is known, and nothing is sent through it.
#pragma once

#include "vireo/modem_api/member_client.h"

VIREO_DECLARE_MEMBER(sar)

// The SAR service client. No indication of its is known, and nothing is sent through it.
#ifndef VIREO_MODEM_API_SAR_SAR_CLIENT_H_
#define VIREO_MODEM_API_SAR_SAR_CLIENT_H_

#include "vireo/modem_api/member_client.h"

VIREO_DECLARE_MEMBER(sar)

#endif  // VIREO_MODEM_API_SAR_SAR_CLIENT_H_

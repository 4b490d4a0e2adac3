#include "vireo/modem_api/sar/sar_client.h"

#include "platform/idl/sar.h"

namespace {

constexpr vireo::Member kSar{.type = kModemApiSar,
                             .get_service = sar_get_service_object_internal_v01,
                             .major = SAR_IDL_MAJOR,
                             .minor = SAR_IDL_MINOR,
                             .tool = SAR_IDL_TOOL,
                             .own = VIREO_MEMBER_FUNCTIONS(sar)};

}  // namespace

VIREO_DEFINE_MEMBER(sar, kSar)

#include "vireo/modem_api/sar/sar_client.h"

#include "platform/idl/sar.h"
#include "vireo/modem_api/modem_api.h"

namespace {

constexpr vireo::Member kSar{kModemApiSar,  sar_get_service_object_internal_v01,
                             SAR_IDL_MAJOR, SAR_IDL_MINOR,
                             SAR_IDL_TOOL,  vireo::kNoSubscription,
                             true,          "Unexpected NULL pointer!",
                             nullptr,       VIREO_MEMBER_FUNCTIONS(sar)};
vireo::ServiceClient& client() {
  static auto* const instance = new vireo::ServiceClient(kSar);
  return *instance;
}

}  // namespace

VIREO_DEFINE_MEMBER(sar, client())

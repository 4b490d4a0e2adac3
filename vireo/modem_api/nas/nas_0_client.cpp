#include "vireo/modem_api/nas/nas_0_client.h"

#include "vireo/modem_api/nas/nas_member.h"

namespace {

constexpr vireo::Member kNas = vireo::nas_member(kModemApiNas0, 0, VIREO_MEMBER_FUNCTIONS(nas_0));

}  // namespace

VIREO_DEFINE_MEMBER(nas_0, kNas)

extern "C" int nas_0_client_set_networking_indications(void) {
  return service_client().set_networking_indications();
}

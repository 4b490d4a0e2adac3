#include "vireo/modem_api/nas/nas_1_client.h"

#include "vireo/modem_api/nas/nas_member.h"

namespace {

constexpr vireo::Member kNas = vireo::nas_member(kModemApiNas1, 1, VIREO_MEMBER_FUNCTIONS(nas_1));

}  // namespace

VIREO_DEFINE_MEMBER(nas_1, kNas)

extern "C" int nas_1_client_set_networking_indications(void) {
  return service_client().set_networking_indications();
}

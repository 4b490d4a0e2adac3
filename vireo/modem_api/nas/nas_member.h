// The row of a NAS member.
#ifndef VIREO_MODEM_API_NAS_NAS_MEMBER_H_
#define VIREO_MODEM_API_NAS_NAS_MEMBER_H_

#include "platform/idl/nas.h"
#include "vireo/modem_api/service_client.h"

namespace vireo {

// What differs besides: the member's own functions and their names.
struct MemberFunctions {
  modem_api_command_cb on_command;
  qmi_client_ind_cb on_indication;
  qmi_client_error_cb on_service_down;
  qmi_client_notify_cb on_service_up;
  MemberNames names;
};

constexpr Member nas_member(ModemApiClientType type, int subscription,
                            const MemberFunctions& functions) {
  return {type,
          nas_get_service_object_internal_v01,
          NAS_IDL_MAJOR,
          NAS_IDL_MINOR,
          NAS_IDL_TOOL,
          subscription,
          true,
          "Unexpected NULL pointer!",
          nullptr,
          functions.on_command,
          functions.on_indication,
          functions.on_service_down,
          functions.on_service_up,
          functions.names};
}

}  // namespace vireo

#endif  // VIREO_MODEM_API_NAS_NAS_MEMBER_H_

// The row of a NAS member. There are two members for the one NAS service because a NAS client is
// bound to one subscription: binding follows every attempt to connect, and the registration for
// NAS's reports follows a connection.
#pragma once

#include "platform/idl/nas.h"
#include "vireo/modem_api/service_client.h"

namespace vireo {

// subscription: 0 or 1. own: the member's VIREO_MEMBER_FUNCTIONS.
constexpr Member nas_member(ModemApiClientType type, int subscription, const MemberFunctions& own) {
  return {.type = type,
          .get_service = nas_get_service_object_internal_v01,
          .major = NAS_IDL_MAJOR,
          .minor = NAS_IDL_MINOR,
          .tool = NAS_IDL_TOOL,
          .subscription = subscription,
          .own = own};
}

}  // namespace vireo

// The row of a NAS member.
#pragma once

#include "platform/idl/nas.h"
#include "vireo/modem_api/service_client.h"

namespace vireo {

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

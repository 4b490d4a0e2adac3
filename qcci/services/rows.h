// What the rows of a service are written with, and the object and the getter that they make. For
// this folder's sources alone: the macros have short names, and none is undefined at the end.
//
// A source has its rows in an unnamed namespace in qcci::idl, a kRows table, and SERVICE behind it.
// Where a TLV's type comes from: the public descriptions of the service, or assumed.h.
//
//   MESSAGE(kBindReq, nas_bind_subscription_req, mandatory(0x01, narrow<1>(M(subscription))));
#pragma once

#include "qcci/idl/service.h"
#include "qcci/services/assumed.h"
#include "qcci/services/services.h"
#include "qcci/services/standard_result.h"

// A member of the structure that the rows are about.
#define M(member) QCCI_MEMBER(S, member)

// The constant `name`: the rows of a message, or of a record in one, whose C structure is `Struct`.
#define MESSAGE(name, Struct, ...)  \
  constexpr auto name = [] {        \
    using S = Struct;               \
    return message<S>(__VA_ARGS__); \
  }()
#define RECORD(name, Struct, ...) \
  constexpr auto name = [] {      \
    using S = Struct;             \
    return record(__VA_ARGS__);   \
  }()

// The service that kRows describes, and the getter of its contract header, whose constants begin
// with `IDL`. The getter gives the object for exactly that version.
#define SERVICE(object, service_name, service_id, IDL, getter)                                \
  constinit const qmi_idl_service_object qcci::idl::object{.name = service_name,              \
                                                           .id = service_id,                  \
                                                           .major = IDL##_MAJOR,              \
                                                           .minor = IDL##_MINOR,              \
                                                           .tool = IDL##_TOOL,                \
                                                           .rows = kRows};                    \
  extern "C" qmi_idl_service_object_type getter(int32_t major, int32_t minor, int32_t tool) { \
    return qcci::idl::object.if_version(major, minor, tool);                                  \
  }

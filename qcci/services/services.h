// The service objects, for code below the contract, as the host's diag and the simulated phone.
// Code above it calls their getters (platform/idl/*.h), which check the version.
//
// The objects are constant-initialised, so they may be used before main, and from any thread.
#pragma once

#include "qcci/idl/service.h"

namespace qcci::idl {

extern const qmi_idl_service_object kVendorService;
extern const qmi_idl_service_object kNasService;
extern const qmi_idl_service_object kSarService;
extern const qmi_idl_service_object kPdcService;
extern const qmi_idl_service_object kVsService;
extern const qmi_idl_service_object kDiagService;
extern const qmi_idl_service_object kUimService;

// All of them, in no particular order; valid until the process ends. A new service is added here,
// beside its source.
std::span<const qmi_idl_service_object_type> all_services();

}  // namespace qcci::idl

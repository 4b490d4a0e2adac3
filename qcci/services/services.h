// The service objects, for code below the contract. Code above it calls their getters.
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

// All of them, in no particular order.
std::span<const qmi_idl_service_object_type> all_services();

}  // namespace qcci::idl

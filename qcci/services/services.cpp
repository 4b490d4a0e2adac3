#include "qcci/services/services.h"

namespace qcci::idl {

std::span<const qmi_idl_service_object_type> all_services() {
  static constexpr qmi_idl_service_object_type kAll[] = {
      &kVendorService, &kNasService, &kSarService, &kVsService,
      &kUimService,    &kPdcService, &kDiagService};
  return kAll;
}

}  // namespace qcci::idl

extern "C" int qmi_idl_get_message_c_struct_len(qmi_idl_service_object_type service,
                                                qmi_idl_message_type type, uint32_t message_id,
                                                uint32_t* length) {
  if (service == nullptr || length == nullptr) return -1;
  const qcci::idl::Message* message = service->find(type, message_id);
  if (message == nullptr) return -1;
  *length = message->c_size;
  return 0;
}

// `vs`: the switch of the statistics feature, which it accepts, and the records of phone.toml.

#include <algorithm>

#include "platform/idl/vs.h"
#include "qcci/services/services.h"
#include "sim/services/services.h"

namespace sim {
namespace {

class VsService final : public Service {
 public:
  explicit VsService(ModemContext& modem) : Service(modem, qcci::idl::kVsService) {
    on(VS_FEATURE_STATUS, &VsService::feature_status);
    on(VS_GET_PARAMETERS, &VsService::get_parameters);
  }

 private:
  // Nothing that the phone reports depends on the feature.
  void feature_status(Address, const vs_feature_status_req&, vs_plain_resp&) {}

  // A record that phone.toml does not have is left out of the list, which may be empty then.
  void get_parameters(Address, const vs_get_parameters_req& request,
                      vs_get_parameters_resp& response) {
    const std::span wanted(request.parameters, request.parameters_len);
    const auto not_there = [](const vs_parameter& one) { return one.sub >= kMeasuredSubs; };
    if (request.sub >= kMeasuredSubs || std::any_of(wanted.begin(), wanted.end(), not_there)) {
      return refuse(response, QMI_ERROR_INVALID_ARGUMENT);
    }
    response.parameters_valid = 1;
    for (const vs_parameter& one : wanted) {
      const Records& records = modem_.config().measurements[one.sub];
      const auto record = records.find(one.id);
      if (record == records.end()) continue;
      vs_parameter& to = response.parameters[response.parameters_len++];
      to.sub = one.sub;
      to.id = one.id;
      to.data_len = static_cast<uint32_t>(record->second.size());
      std::copy(record->second.begin(), record->second.end(), to.data);
    }
  }
};

}  // namespace

std::unique_ptr<Service> make_vs_service(ModemContext& modem) {
  return std::make_unique<VsService>(modem);
}

}  // namespace sim

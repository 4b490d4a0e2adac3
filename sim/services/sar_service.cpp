// SAR: reports the device state index of phone.toml.

#include "platform/idl/sar.h"
#include "qcci/services/services.h"
#include "sim/services/services.h"

namespace sim {
namespace {

class SarService final : public Service {
 public:
  explicit SarService(ModemContext& modem) : Service(modem, qcci::idl::kSarService) {
    on(SAR_RF_GET_STATE, &SarService::get_state);
  }

 private:
  void get_state(Address, const Empty&, sar_rf_get_state_resp& response) {
    response.state_valid = modem_.config().sar.valid;
    response.state = modem_.config().sar.state;
  }
};

}  // namespace

std::unique_ptr<Service> make_sar_service(ModemContext& modem) {
  return std::make_unique<SarService>(modem);
}

}  // namespace sim

// NAS: subscription binding and network scans, over the networks of phone.toml.

#include <algorithm>

#include "platform/idl/nas.h"
#include "qcci/services/services.h"
#include "sim/services/services.h"

namespace sim {
namespace {

constexpr uint32_t kSubscriptions = 3;  // that NAS can name: primary, secondary, tertiary
// Status of an incremental scan's report.
constexpr uint32_t kComplete = 0;
constexpr uint32_t kPartial = 1;

class NasService final : public Service {
 public:
  explicit NasService(ModemContext& modem) : Service(modem, qcci::idl::kNasService) {
    on(NAS_INDICATION_REGISTER, &NasService::indication_register);
    on(NAS_BIND_SUBSCRIPTION, &NasService::bind);
    on(NAS_NETWORK_SCAN, &NasService::scan);
    on(NAS_INCREMENTAL_NETWORK_SCAN, &NasService::incremental_scan);
  }

 private:
  // The phone reports nothing unsolicited, so a registration changes nothing.
  void indication_register(Address, const nas_indication_register_req&, nas_plain_resp&) {}

  // All subscriptions see the same networks, so a binding is only checked.
  void bind(Address, const nas_bind_subscription_req& request, nas_plain_resp& response) {
    if (request.subscription >= kSubscriptions) refuse(response, QMI_ERROR_INVALID_ARGUMENT);
  }

  void scan(Address, const nas_network_scan_req& request, nas_network_scan_resp& response) {
    response.networks_valid = response.rats_valid = response.mnc_digits_valid = 1;
    response.scan_result_valid = 1;
    for (const NetworkConfig& network : wanted(request.network_type_valid, request.network_type)) {
      nas_network& to = response.networks[response.networks_len++];
      to.mcc = network.mcc;
      to.mnc = network.mnc;
      to.status = network.status();
      std::copy(network.name.begin(), network.name.end(), to.name);
      response.rats[response.rats_len++] = {network.mcc, network.mnc, network.rat};
      response.mnc_digits[response.mnc_digits_len++] = {network.mcc, network.mnc,
                                                        uint8_t{network.mnc_three_digits()}};
    }
  }

  // Reports the networks found so far after each technology; the last report is the complete one.
  void incremental_scan(Address client, const nas_incremental_network_scan_req& request,
                        nas_plain_resp&) {
    nas_incremental_network_scan_ind ind{};
    ind.networks_valid = 1;
    std::vector<NetworkConfig> networks = wanted(request.network_type_valid, request.network_type);
    std::ranges::stable_sort(networks, {}, &NetworkConfig::rat);
    for (const NetworkConfig& network : networks) {
      if (ind.networks_len != 0 && ind.networks[ind.networks_len - 1].rat != network.rat) {
        ind.status = kPartial;
        indicate(client, NAS_INCREMENTAL_NETWORK_SCAN, ind);
      }
      nas_incremental_network& to = ind.networks[ind.networks_len++];
      to.mcc = network.mcc;
      to.mnc = network.mnc;
      to.status = network.status();
      to.rat = network.rat;
      to.mnc_three_digits = network.mnc_three_digits();
      std::copy(network.name.begin(), network.name.end(), to.name);
    }
    ind.status = kComplete;
    indicate(client, NAS_INCREMENTAL_NETWORK_SCAN, ind);
  }

  // The networks of the technologies in the mask; without one, all.
  std::vector<NetworkConfig> wanted(uint8_t mask_valid, uint8_t mask) const {
    static constexpr std::pair<uint8_t, uint8_t> kBits[] = {
        {NAS_RAT_GSM, NAS_NETWORK_TYPE_GSM},
        {NAS_RAT_UMTS, NAS_NETWORK_TYPE_UMTS},
        {NAS_RAT_LTE, NAS_NETWORK_TYPE_LTE},
        {NAS_RAT_TDSCDMA, NAS_NETWORK_TYPE_TDSCDMA},
        {NAS_RAT_NR, NAS_NETWORK_TYPE_NR}};
    std::vector<NetworkConfig> networks = modem_.config().networks;
    std::erase_if(networks, [&](const NetworkConfig& network) {
      return mask_valid != 0 && std::none_of(std::begin(kBits), std::end(kBits), [&](auto row) {
               return row.first == network.rat && (mask & row.second) != 0;
             });
    });
    return networks;
  }
};

}  // namespace

std::unique_ptr<Service> make_nas_service(ModemContext& modem) {
  return std::make_unique<NasService>(modem);
}

}  // namespace sim

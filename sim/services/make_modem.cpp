#include "sim/services/make_modem.h"

#include "sim/phone/phone_config.h"
#include "sim/phone/scratch.h"
#include "sim/services/services.h"

namespace sim {
namespace {

constexpr ServiceMaker kServices[] = {
    make_vendor_service, make_nas_service, make_sar_service, make_vs_service,
    make_diag_service,   make_uim_service, make_pdc_service,
};

}  // namespace

std::span<const ServiceMaker> all_services() { return kServices; }

std::unique_ptr<Modem> make_modem(const Phone& phone, std::string* why) {
  PhoneConfig config;
  if (!read_phone(phone, &config, why)) return nullptr;
  return make_modem(phone, std::move(config));
}

std::unique_ptr<Modem> make_modem(const Phone& phone, PhoneConfig config) {
  clear_scratch(phone.descriptor());
  return std::make_unique<Modem>(phone, std::move(config), kServices);
}

}  // namespace sim

// Makers of the simulated modem's services; `modem` must outlast the service.
#pragma once

#include <memory>

#include "sim/modem/service.h"

namespace sim {

std::unique_ptr<Service> make_vendor_service(ModemContext& modem);
std::unique_ptr<Service> make_nas_service(ModemContext& modem);
std::unique_ptr<Service> make_sar_service(ModemContext& modem);
std::unique_ptr<Service> make_vs_service(ModemContext& modem);
std::unique_ptr<Service> make_diag_service(ModemContext& modem);
std::unique_ptr<Service> make_uim_service(ModemContext& modem);
std::unique_ptr<Service> make_pdc_service(ModemContext& modem);

}  // namespace sim

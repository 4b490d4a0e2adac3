// Makers of the simulated modem's services, each defined in its service's source.
//
// The caller owns the service, which keeps a reference to `modem`: the modem must outlast it. A
// maker may be called before the modem is ready, since constructors use its phone() and config()
// alone (see service.h). make_modem.cpp lists the services that a modem gets.
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

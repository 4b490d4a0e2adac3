// The services that the simulated modem has.
#ifndef SIM_SERVICES_H_
#define SIM_SERVICES_H_

#include <memory>
#include <vector>

#include "sim/service.h"

namespace sim {

std::unique_ptr<Service> make_vendor_service(Surroundings& modem);
std::unique_ptr<Service> make_nas_service(Surroundings& modem);
std::unique_ptr<Service> make_sar_service(Surroundings& modem);
std::unique_ptr<Service> make_vs_service(Surroundings& modem);
std::unique_ptr<Service> make_diag_service(Surroundings& modem);
std::unique_ptr<Service> make_uim_service(Surroundings& modem);
std::unique_ptr<Service> make_pdc_service(Surroundings& modem);

// All of them.
std::vector<std::unique_ptr<Service>> make_services(Surroundings& modem);

}  // namespace sim

#endif  // SIM_SERVICES_H_

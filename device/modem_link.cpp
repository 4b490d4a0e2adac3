#include "device/modem_link.h"

#include <malloc.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "device/missing_services.h"
#include "device/report.h"
#include "qcci/link/no_link.h"
#include "qcci/link/qrtr.h"

namespace device {
namespace {

// Why there is no bus, and what to do: the end of a sentence.
std::string no_bus(int error) {
  const std::string cause = std::string(" (") + std::strerror(error) + ")";
  switch (error) {
    case EAFNOSUPPORT:
      return "this kernel has no QRTR bus" + cause +
             ": try 'modprobe qrtr'; kernels before 4.14 or so have another bus, of family 27, "
             "which vex does not speak";
    case EACCES:
      return "the security policy keeps this user from the QRTR bus" + cause +
             ": run vex as root (su); 'dmesg | grep avc' tells more";
    case EPERM:
      return "this user may not open the QRTR bus" + cause + ": run vex as root (su)";
    default:
      return "the QRTR bus cannot be opened" + cause;
  }
}

}  // namespace

std::unique_ptr<qcci::Link> make_link() {
  // A malloc arena for the library's thread costs more time than it saves: the thread hardly
  // allocates.
  ::mallopt(M_ARENA_MAX, 1);
  auto bus = std::make_unique<qcci::QrtrLink>();
  if (bus->answers()) return report_missing_services(std::move(bus));
  report("no modem: " + no_bus(errno));
  return std::make_unique<qcci::NoLink>();
}

}  // namespace device

// The listener on the kernel's QRTR bus: the modem's services are published there as a real modem's
// are.
//
// A bridge between two buses. It watches the simulated one: a service that is up there has a socket
// here, which goes with it. Whoever sends to such a socket gets a port on the simulated bus, until
// that socket hears from the kernel that the sender is gone. (What the others hear may be of one
// who had its port before.) The bus knows no users: every process of the machine may talk to the
// modem.
#ifndef SIM_SERVING_QRTR_SERVER_H_
#define SIM_SERVING_QRTR_SERVER_H_

#include <map>
#include <string>
#include <utility>

#include "sim/phone/files.h"
#include "sim/serving/listener.h"

namespace sim {

class QrtrServer final : public Listener {
 public:
  explicit QrtrServer(Modem& modem);
  ~QrtrServer() override;
  QrtrServer(const QrtrServer&) = delete;
  QrtrServer& operator=(const QrtrServer&) = delete;

  // Publishes what is up, and from then on what comes up. False, and why, when there is no bus.
  bool publish(std::string* why);

  void poll_for(std::vector<pollfd>* polled) override;
  void serve(std::span<const pollfd> polled) override;

 private:
  // On the simulated bus: one that watches the services, and one for each client on the kernel's.
  struct Watcher;
  struct Guest;

  struct Service {
    uint32_t service;
    uint32_t instance;  // as control packets have it
    Descriptor socket;
    bool published;
  };

  // `at` is a service's place on the simulated bus; the other addresses are the kernel's.
  void announce(Address at, uint32_t service, uint32_t instance);
  void withdraw(Address at);
  void take(Address at, Address from, std::span<const uint8_t> octets);
  Address guest(Address at, Address from);
  void send(Address at, Address client, std::span<const uint8_t> octets);

  Modem& modem_;
  Address own_;                          // node of the kernel's bus
  std::map<Address, Service> services_;  // by where they are on the simulated bus
  // By the service that they have sent to, and where they are on the kernel's bus.
  std::map<std::pair<Address, Address>, std::unique_ptr<Guest>> guests_;
  std::unique_ptr<Watcher> watcher_;
};

}  // namespace sim

#endif  // SIM_SERVING_QRTR_SERVER_H_

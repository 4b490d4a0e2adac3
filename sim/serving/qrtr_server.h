// The listener on the kernel's QRTR bus, where it publishes the modem's services as a real modem's
// are.
//
// It bridges two buses. For each service that is up on the simulated bus it has one socket on the
// kernel's, closed when the service goes down. A sender to such a socket gets a port on the
// simulated bus, until the kernel reports on the same socket that the sender is gone. (A report on
// another socket may be about an earlier owner of the sender's port.)
//
// The kernel's bus has no access control: every process of the machine may talk to the modem.
//
// Threads: one at a time, which must also be the only one on which the modem's services come and go
// (in serve_modem it is).
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

  // Publishes the services that are up, and from then on those that come up. Call it once. False,
  // and why, when the kernel has no such bus or takes no service.
  [[nodiscard]] bool publish(std::string* why);

  void poll_for(std::vector<pollfd>* polled) override;
  void serve(std::span<const pollfd> polled) override;

 private:
  // Ports on the simulated bus: one that looks up all services, and one for each client.
  struct Watcher;
  struct Client;

  struct Service {
    uint32_t service;
    uint32_t instance;  // version and instance in one field, as control packets have them
    Descriptor socket;
    bool published;  // the kernel took the announcement
  };

  // `at`: a service's address on the simulated bus; the other addresses are the kernel's.
  void announce(Address at, uint32_t service, uint32_t instance);
  void withdraw(Address at);
  void take(Address at, Address from, std::span<const uint8_t> octets);
  Address address_of(Address at, Address from);
  void send(Address at, Address client, std::span<const uint8_t> octets);

  Modem& modem_;
  Address own_;                          // this process's node on the kernel's bus
  std::map<Address, Service> services_;  // by their address on the simulated bus
  // By the service that they sent to and their address on the kernel's bus.
  std::map<std::pair<Address, Address>, std::unique_ptr<Client>> clients_;
  bool withdrawn_ = false;  // clients_ may have some of services that are gone
  std::unique_ptr<Watcher> watcher_;
};

}  // namespace sim

#endif  // SIM_SERVING_QRTR_SERVER_H_

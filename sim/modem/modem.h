// The simulated modem: its services on a bus, their faults, and its time.
//
// Threads: every public function may be called from any thread; one lock guards the whole. Time
// passes only in run_due, which whoever carries the modem's datagrams calls.
#ifndef SIM_MODEM_MODEM_H_
#define SIM_MODEM_MODEM_H_

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/clock/process_clock.h"
#include "sim/config/config.h"
#include "sim/modem/bus.h"
#include "sim/modem/faults.h"
#include "sim/modem/service.h"
#include "sim/phone/phone.h"

namespace sim {

class Modem final : private ModemContext {
 public:
  // Sees every message: requests as the client sent them, responses and indications as they go out.
  using Tap = std::function<void(const qmi_idl_service_object& service, FaultKind kind,
                                 Address client, std::span<const uint8_t> octets)>;
  using Log = std::function<void(const std::string& line)>;

  // `services`: which the modem has; each is made once.
  Modem(Phone phone, PhoneConfig config, std::span<const ServiceMaker> services);
  ~Modem() override;

  Address attach(Port& port);
  void detach(Address client);
  // One datagram from a client.
  void send(Address client, Address to, std::span<const uint8_t> octets);

  // When something is due next, and the doing of what is due now.
  platform::Time next_due();
  void run_due();

  // Every service goes, and comes back after the time that phone.toml says.
  void restart() override;
  // One service by its id; bringing one up that is there changes nothing.
  void take_down(uint32_t service);
  void bring_up(uint32_t service);
  // Sends an indication to every client that has sent the service a request.
  void indicate_all(uint32_t service, uint16_t message, const void* c, size_t size);

  void set_tap(Tap tap);
  void set_log(Log log);
  // What to tell of the fault rules that no message met, a line each.
  std::vector<std::string> unmet_faults();

 private:
  struct Held {
    Address client;
    Address from;
    std::vector<uint8_t> octets;
  };

  const Phone& phone() const override { return phone_; }
  const PhoneConfig& config() const override { return config_; }
  void indicate(const qmi_idl_service_object& service, Address client, uint16_t message,
                const void* c, size_t size) override;
  void after(std::chrono::milliseconds delay, std::function<void()> action) override {
    schedule(delay, std::move(action));
  }
  void log(const std::string& line) override;

  void schedule(platform::Duration delay, std::function<void()> action);
  void go_down();
  void lose_unsynced();
  void come_up();
  // What becomes of a message on its way. The log names the rules that act.
  Fate meet_faults(uint32_t service, FaultKind kind, std::vector<uint8_t> octets);
  void handle(Service& service, Address at, Address client, std::vector<uint8_t> octets);
  void emit(const Service& service, Address at, Address client, FaultKind kind,
            std::vector<uint8_t> octets);
  void deliver(const Service& service, Address at, Address client, FaultKind kind,
               const std::vector<uint8_t>& octets);
  Service* find(uint32_t id);
  void publish(const Service& service);

  std::recursive_mutex mutex_;  // a service's handler may indicate and restart
  const Phone phone_;
  const PhoneConfig config_;
  Bus bus_;
  Faults faults_;
  std::vector<std::unique_ptr<Service>> services_;
  std::map<uint32_t, Address> up_;  // service id to where it is
  std::multimap<platform::Time, std::function<void()>> due_;
  std::vector<Held> held_;            // responses that wait for an indication
  bool handling_ = false;             // a request is being handled
  std::vector<Held> after_response_;  // its indications, which go out behind its response
  Tap tap_;
  Log log_;
};

}  // namespace sim

#endif  // SIM_MODEM_MODEM_H_

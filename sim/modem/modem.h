// The simulated modem: its services on a bus, the fault rules, and a queue of timed work.
//
// Threads: every public function may be called from any thread; each takes the modem's one mutex.
// Handlers of services, scheduled work, ports, the tap and the log are called with that mutex held:
// they must return soon and must not call the modem's public functions.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "base/mutex.h"
#include "sim/config/config.h"
#include "sim/modem/bus.h"
#include "sim/modem/faults.h"
#include "sim/modem/modem_bus.h"
#include "sim/modem/service.h"
#include "sim/phone/phone.h"

namespace sim {

class Modem : public ModemBus, private ModemContext {
 public:
  // Sees every message, from its QMI header on: requests as the client sent them, responses and
  // indications as they go out, after the fault rules.
  using Tap = std::function<void(const qmi_idl_service_object& service, FaultKind kind,
                                 Address client, Address server, std::span<const uint8_t> octets)>;
  // Takes a change of the modem's state, from whatever side it came.
  using Watch = std::function<void(const Change& change)>;
  // Takes one line without a line end.
  using Log = std::function<void(const std::string& line)>;

  // `services`: which the modem has; each maker is called once. Those that phone.toml does not call
  // absent are up when this returns. make_modem.h makes a modem with all of them from a phone's
  // directory.
  Modem(Phone phone, PhoneConfig config, std::span<const ServiceMaker> services);
  ~Modem() override;

  [[nodiscard]] Address attach(Port& port) override EXCLUDES(mutex_);
  void detach(Address client) override EXCLUDES(mutex_);
  void send(Address client, Address to, std::span<const uint8_t> octets) override EXCLUDES(mutex_);
  [[nodiscard]] platform::Time next_due() override EXCLUDES(mutex_);
  void run_due() override EXCLUDES(mutex_);

  // Takes every service down, at once, and brings it up after the time that phone.toml says, which
  // run_due does. Unsynced files are dropped.
  void restart() EXCLUDES(mutex_);
  // One service by its id, at once. Taking it down drops its volatile state, as a restart does.
  // Nothing changes for one that is down or up already, or unknown.
  void take_down(uint32_t id) EXCLUDES(mutex_);
  void bring_up(uint32_t id) EXCLUDES(mutex_);

  // Puts another configuration in the place of the one that the modem has, at once and as a whole.
  // `changes` and `line`, of its log: what is different.
  void configure(PhoneConfig config, const std::string& line, const std::vector<Change>& changes)
      EXCLUDES(mutex_);
  // Runs `change`, of something in the phone's directory that services read; what it changes is
  // reported as above when it returns 0. Returns what it returned.
  [[nodiscard]] int change(const std::function<int()>& change, const std::string& line,
                           const std::vector<Change>& changes) EXCLUDES(mutex_);
  // Sends an indication of a service to every client that has sent that a request, and returns how
  // many these are. `c`: its C structure of `size` octets.
  size_t indicate_all(uint32_t id, uint16_t message, const void* c, size_t size) EXCLUDES(mutex_);
  // Whether the service is on the bus.
  [[nodiscard]] bool is_up(uint32_t id) EXCLUDES(mutex_);

  // Each replaces the one before; an empty function is none.
  void set_tap(Tap tap) EXCLUDES(mutex_);
  void set_log(Log log) EXCLUDES(mutex_);
  void set_watch(Watch watch) EXCLUDES(mutex_);
  // A line for each fault rule, with how many messages it met so far.
  [[nodiscard]] std::vector<std::string> fault_counts() EXCLUDES(mutex_);
  // A line for each fault rule that has not acted so far.
  [[nodiscard]] std::vector<std::string> unused_fault_rules() EXCLUDES(mutex_);

 private:
  struct Held {
    Address client;
    Address from;
    std::vector<uint8_t> octets;
  };

  const Phone& phone() const override { return phone_; }
  const PhoneConfig& config() const override { return config_; }
  Service* find(uint32_t id) REQUIRES(mutex_);
  void indicate(const qmi_idl_service_object& idl, Address client, uint16_t message, const void* c,
                size_t size) override REQUIRES(mutex_);
  void schedule_restart() override REQUIRES(mutex_);
  void after(platform::Duration delay, std::function<void()> action) override REQUIRES(mutex_);
  void log(const std::string& line) override REQUIRES(mutex_);
  void changed(const std::string& line, const std::vector<Change>& changes) override
      REQUIRES(mutex_);

  void go_down() REQUIRES(mutex_);
  void drop_unsynced() REQUIRES(mutex_);
  void come_up() REQUIRES(mutex_);
  void publish(const Service& service) REQUIRES(mutex_);
  void withdraw(Service& service) REQUIRES(mutex_);
  // Applies the fault rules to one message and logs those that act.
  FaultOutcome apply_faults(uint32_t service, FaultKind kind, std::vector<uint8_t> octets)
      REQUIRES(mutex_);
  void handle(Service& service, Address at, Address client, std::span<const uint8_t> octets)
      REQUIRES(mutex_);
  std::vector<uint8_t> respond(Service& service, Address client, qcci::QmiHeader header,
                               std::span<const uint8_t> tlvs) REQUIRES(mutex_);
  void emit(const Service& service, Address at, Address client, FaultKind kind,
            std::vector<uint8_t> octets) REQUIRES(mutex_);
  void deliver(const Service& service, Address at, Address client, FaultKind kind,
               const std::vector<uint8_t>& octets) REQUIRES(mutex_);

  base::Mutex mutex_;
  const Phone phone_;
  PhoneConfig config_;  // changes with the mutex held, where handlers and their like read it
  Bus bus_ GUARDED_BY(mutex_);
  Faults faults_ GUARDED_BY(mutex_);
  std::vector<std::unique_ptr<Service>> services_ GUARDED_BY(mutex_);
  std::map<uint32_t, Address> up_ GUARDED_BY(mutex_);  // service id to its address
  std::multimap<platform::Time, std::function<void()>> due_ GUARDED_BY(mutex_);
  // Responses that a fault rule holds back until the client's next indication.
  std::vector<Held> held_ GUARDED_BY(mutex_);
  // While a handler runs, its indications are collected: they go out after its response.
  bool handling_ GUARDED_BY(mutex_) = false;
  std::vector<uint8_t> request_ GUARDED_BY(mutex_), response_ GUARDED_BY(mutex_);  // C structures
  std::vector<Held> after_response_ GUARDED_BY(mutex_);
  Tap tap_ GUARDED_BY(mutex_);
  Log log_ GUARDED_BY(mutex_);
  Watch watch_ GUARDED_BY(mutex_);
};

}  // namespace sim

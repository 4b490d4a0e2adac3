// The base of the simulated services: rows of message and handler.
//
// A service gets decoded requests and fills decoded responses; it knows neither codec nor link.
//
// Threads: the modem calls handlers and every other function of a service with its mutex held, so
// they run one at a time and need no lock of their own.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/clock/process_clock.h"
#include "qcci/idl/service.h"
#include "sim/config/config.h"
#include "sim/modem/bus.h"
#include "sim/phone/phone.h"

namespace sim {

// A part of the modem's state that has changed: its key, as docs/control.md has it, and its value
// as TOML.
struct Change {
  std::string key;
  std::string value;
};

// What a service may ask of the modem that it is part of. phone() and config() may be called at any
// time, the others only while the modem calls the service: from a handler, or from an action given
// to after().
class ModemContext {
 public:
  virtual ~ModemContext() = default;
  virtual const Phone& phone() const = 0;
  virtual const PhoneConfig& config() const = 0;
  // Sends one client an indication; `c`: its C structure of `size` octets, copied. While a handler
  // runs, indications wait until its response has gone out. Dropped when the service is down or the
  // structure cannot be encoded, which is logged.
  virtual void indicate(const qmi_idl_service_object& service, Address client, uint16_t message,
                        const void* c, size_t size) = 0;
  // Restarts the modem, after what is being handled has been answered.
  virtual void schedule_restart() = 0;
  // Runs `action` later, outside of any handler. A restart does not cancel it.
  virtual void after(platform::Duration delay, std::function<void()> action) = 0;
  // One line for the modem's log, without a line end.
  virtual void log(const std::string& line) = 0;
  // The same of a change of state, which those who watch the modem are given as well.
  virtual void changed(const std::string& line, const std::vector<Change>& changes) = 0;
};

// Makes a response say "failure" with a QMI error.
template <class Response>
void refuse(Response& response, qmi_error error) {
  response.resp = {1, error};
}

// One service. Its constructor gives each request message a handler (on()); requests without one
// are refused by the modem with QMI_ERROR_INVALID_COMMAND. A handler answers at once: what takes
// time is answered, and its outcome indicated from an action given to after().
//
// State that a restart loses is kept in members and dropped by forget_all(); what must survive is
// kept in the phone's directory.
class Service {
 public:
  // The request structure of a message without TLVs.
  struct Empty {};
  // `request` and `response`: the message's C structures; the response comes zeroed, which says
  // "success".
  using Handler = std::function<void(Address client, const void* request, void* response)>;

  Service(ModemContext& modem, const qmi_idl_service_object& idl) : modem_(modem), idl_(idl) {}
  virtual ~Service() = default;
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  const qmi_idl_service_object& idl() const { return idl_; }
  // Null for a message that the service does not have.
  const Handler* handler(uint16_t message) const {
    const auto found = handlers_.find(message);
    return found == handlers_.end() ? nullptr : &found->second;
  }

  // Those that have sent the service a request since it last came up.
  const std::set<Address>& clients() const { return clients_; }
  void client_asked(Address client) { clients_.insert(client); }
  void client_gone(Address client) {
    clients_.erase(client);
    forget(client);
  }
  // Drops volatile state.
  void restarted() {
    clients_.clear();
    forget_all();
  }

 protected:
  // Makes `method` the message's handler. Throws std::logic_error when the sizes of its structures
  // are not those of the message's rows: a mistake in the source, which every start shows.
  template <class S, class Request, class Response>
  void on(uint16_t message, void (S::*method)(Address, const Request&, Response&)) {
    check_size(QMI_IDL_REQUEST, message, std::is_same_v<Request, Empty> ? 0 : sizeof(Request));
    check_size(QMI_IDL_RESPONSE, message, sizeof(Response));
    handlers_[message] = [this, method](Address client, const void* request, void* response) {
      static constexpr Empty kNothing{};
      if constexpr (std::is_same_v<Request, Empty>) request = &kNothing;
      (static_cast<S*>(this)->*method)(client, *static_cast<const Request*>(request),
                                       *static_cast<Response*>(response));
    };
  }
  // Sends one client an indication, as ModemContext has it.
  template <class Indication>
  void indicate(Address client, uint16_t message, const Indication& indication) {
    modem_.indicate(idl_, client, message, &indication, sizeof indication);
  }

  ModemContext& modem_;

 private:
  // Drop the volatile state of one client, and all of it.
  virtual void forget(Address /*client*/) {}
  virtual void forget_all() {}

  void check_size(qmi_idl_message_type type, uint16_t message, size_t size) const {
    const qcci::idl::Message* row = idl_.find(type, message);
    if (row == nullptr || row->c_size != size) throw std::logic_error("handler of another message");
  }

  const qmi_idl_service_object& idl_;
  std::map<uint16_t, Handler> handlers_;
  std::set<Address> clients_;
};

// Makes one service. Its constructor may use phone() and config() only.
using ServiceMaker = std::unique_ptr<Service> (*)(ModemContext& modem);

}  // namespace sim

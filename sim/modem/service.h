// The base of the simulated services: rows of message and handler.
//
// A service gets decoded requests and fills decoded responses; it knows neither codec nor link. Its
// handlers run one at a time.
#ifndef SIM_MODEM_SERVICE_H_
#define SIM_MODEM_SERVICE_H_

#include <chrono>
#include <functional>
#include <map>
#include <set>
#include <stdexcept>
#include <string>

#include "qcci/idl/service.h"
#include "sim/config/config.h"
#include "sim/modem/bus.h"
#include "sim/phone/phone.h"

namespace sim {

// What a service may ask of the modem that it is part of.
class ModemContext {
 public:
  virtual ~ModemContext() = default;
  virtual const Phone& phone() const = 0;
  virtual const PhoneConfig& config() const = 0;
  virtual void indicate(const qmi_idl_service_object& service, Address client, uint16_t message,
                        const void* c, size_t size) = 0;
  // After what is being handled now has been answered.
  virtual void restart() = 0;
  // Does something later, with no request at work. A modem that went down meanwhile does it too.
  virtual void after(std::chrono::milliseconds delay, std::function<void()> action) = 0;
  virtual void log(const std::string& line) = 0;
};

// Gives a response a QMI error.
template <class Response>
void refuse(Response& response, qmi_error error) {
  response.resp = {1, error};
}

class Service {
 public:
  // A request without content.
  struct Empty {};
  using Handler = std::function<void(Address client, const void* request, void* response)>;

  Service(ModemContext& modem, const qmi_idl_service_object& idl) : modem_(modem), idl_(idl) {}
  virtual ~Service() = default;
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  const qmi_idl_service_object& idl() const { return idl_; }
  const Handler* handler(uint16_t message) const {
    const auto found = handlers_.find(message);
    return found == handlers_.end() ? nullptr : &found->second;
  }

  // Those that have sent the service a request.
  const std::set<Address>& clients() const { return clients_; }
  void client_asked(Address client) { clients_.insert(client); }
  void client_gone(Address client) {
    clients_.erase(client);
    forget(client);
  }
  // What lives in the modem's memory is lost.
  void restarted() {
    clients_.clear();
    forget_all();
  }

 protected:
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
  template <class Indication>
  void indicate(Address client, uint16_t message, const Indication& indication) {
    modem_.indicate(idl_, client, message, &indication, sizeof indication);
  }

  ModemContext& modem_;

 private:
  // What a service keeps for one client, and all that it keeps.
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

using ServiceMaker = std::unique_ptr<Service> (*)(ModemContext& modem);

}  // namespace sim

#endif  // SIM_MODEM_SERVICE_H_

// What is known of the services on the bus: look-ups sent, answers complete or not, and where each
// instance is. Fed with control packets; no lock and no link of its own.
#ifndef QCCI_CLIENT_REGISTRY_H_
#define QCCI_CLIENT_REGISTRY_H_

#include <cstdint>
#include <deque>
#include <map>
#include <vector>

#include "qcci/wire/packet.h"

namespace qcci {

struct Instance {
  uint32_t instance = 0;
  uint32_t version = 0;
  Address address;
  bool operator==(const Instance&) const = default;
};

struct ServiceState {
  bool asked = false;     // a look-up for it is out, and stays registered
  bool answered = false;  // its list has come to the end
  uint64_t changes = 0;   // instances that came or went so far
  std::vector<Instance> instances;
};

// An instance that came or went.
struct ServiceChange {
  uint32_t service = 0;
  bool came = false;
  Instance instance;
};

class Registry {
 public:
  ServiceState& service(uint32_t id) { return services_[id]; }
  const std::map<uint32_t, ServiceState>& services() const { return services_; }

  // A look-up of the service has been sent; lists end in the order of the look-ups.
  void asked(uint32_t service);
  // What one control packet changes. Strays, repetitions and services nobody asked for change
  // nothing.
  [[nodiscard]] std::vector<ServiceChange> apply(const ControlPacket& packet);
  // Whether the packet belongs to a list that has not come to its end.
  bool within_list(const ControlPacket& packet) const;
  // The bus is gone, and every service and look-up with it.
  [[nodiscard]] std::vector<ServiceChange> lose_all();

 private:
  template <class Goes>
  void remove_if(Goes goes, std::vector<ServiceChange>* changes);

  std::map<uint32_t, ServiceState> services_;
  std::deque<uint32_t> unanswered_;
};

}  // namespace qcci

#endif  // QCCI_CLIENT_REGISTRY_H_

// What is known of the services on the bus: which look-ups have been sent and answered, and the
// address of each instance. It is updated with control packets and calls nothing; its owner locks
// it.
#pragma once

#include <cstdint>
#include <list>
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
  bool asked = false;     // its look-up has been sent, and stays registered
  bool answered = false;  // the list of its instances is complete
  uint64_t changes = 0;   // how many instances have come or gone
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
  // The state of a service, which is remembered as one to look up from then on.
  ServiceState& service(uint32_t id) { return services_[id]; }
  const std::map<uint32_t, ServiceState>& services() const { return services_; }

  // Records that a look-up has been sent. Lists are completed in the order of the look-ups.
  void asked(uint32_t service);
  // Applies a control packet and returns the changes. Stray and repeated packets, and services that
  // have not been looked up, change nothing.
  [[nodiscard]] std::vector<ServiceChange> apply(const ControlPacket& packet);
  // Whether the packet is part of a list that is not complete yet.
  bool within_list(const ControlPacket& packet) const;
  // Forgets every instance and look-up, since the bus is lost; returns the instances that went.
  [[nodiscard]] std::vector<ServiceChange> lose_all();

 private:
  template <class Goes>
  void remove_if(Goes goes, std::vector<ServiceChange>* changes);

  std::map<uint32_t, ServiceState> services_;
  std::list<uint32_t> unanswered_;
};

}  // namespace qcci

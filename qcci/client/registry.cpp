#include "qcci/client/registry.h"

#include <algorithm>

namespace qcci {

void Registry::asked(uint32_t service) {
  services_[service].asked = true;
  unanswered_.push_back(service);
}

template <class Goes>
void Registry::remove_if(Goes goes, std::vector<ServiceChange>* changes) {
  for (auto& [id, state] : services_) {
    for (size_t i = 0; i < state.instances.size();) {
      if (!goes(id, state.instances[i])) {
        ++i;
        continue;
      }
      changes->push_back({id, false, state.instances[i]});
      state.instances.erase(state.instances.begin() + static_cast<ptrdiff_t>(i));
      ++state.changes;
    }
  }
}

std::vector<ServiceChange> Registry::apply(const ControlPacket& packet) {
  std::vector<ServiceChange> changes;
  switch (packet.command) {
    case Control::kNewServer: {
      if (packet.ends_list()) {
        if (unanswered_.empty()) break;
        services_[unanswered_.front()].answered = true;
        unanswered_.pop_front();
        break;
      }
      const Instance named{packet.instance >> 8, packet.instance & 0xFF, packet.server()};
      const auto found = services_.find(packet.service);
      const bool asked = found != services_.end() && found->second.asked;
      if (asked) {
        const std::vector<Instance>& known = found->second.instances;
        if (std::find(known.begin(), known.end(), named) != known.end()) break;
      }
      // An address has one service; the name service does not announce the one that it replaces.
      remove_if([&](uint32_t, const Instance& i) { return i.address == named.address; }, &changes);
      if (!asked) break;
      found->second.instances.push_back(named);
      ++found->second.changes;
      changes.push_back({packet.service, true, named});
      break;
    }
    case Control::kDelServer:
      remove_if(
          [&](uint32_t id, const Instance& i) {
            return id == packet.service && i.address == packet.server();
          },
          &changes);
      break;
    case Control::kBye:
      remove_if([&](uint32_t, const Instance& i) { return i.address.node == packet.client().node; },
                &changes);
      break;
    case Control::kDelClient:
      remove_if([&](uint32_t, const Instance& i) { return i.address == packet.client(); },
                &changes);
      break;
    default:
      break;
  }
  return changes;
}

bool Registry::within_list(const ControlPacket& packet) const {
  if (packet.command != Control::kNewServer || packet.ends_list()) return false;
  const auto found = services_.find(packet.service);
  return found != services_.end() && !found->second.answered;
}

std::vector<ServiceChange> Registry::lose_all() {
  std::vector<ServiceChange> changes;
  remove_if([](uint32_t, const Instance&) { return true; }, &changes);
  for (auto& [id, state] : services_) state.asked = state.answered = false;
  unanswered_.clear();
  return changes;
}

}  // namespace qcci

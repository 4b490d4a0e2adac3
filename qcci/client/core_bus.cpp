// The half of Core that is about the bus: being on it, and finding services there.

#include <algorithm>

#include "qcci/client/core.h"

namespace qcci {
namespace {

using platform::Time;

// The longest wait for the answer to a look-up. A bus answers at once, whatever services it has;
// the limit is for one that has stopped.
constexpr auto kLookupTime = std::chrono::seconds(5);
// The pause before a lost bus is connected to again: short beside the seconds that a modem takes to
// restart, long beside the cost of an attempt.
constexpr auto kReconnectTime = std::chrono::milliseconds(100);
// The pause after a bus that accepts connections but does not answer. Each attempt blocks a caller,
// so it is as long as the longest of them (kLookupTime).
constexpr auto kUnresponsiveBackoff = std::chrono::seconds(5);
// An attempt that failed after more than this was not refused but left without an answer.
constexpr auto kSlowConnect = std::chrono::milliseconds(200);

}  // namespace

// Whether anything is waited for that only a bus can bring.
bool Core::bus_wanted() const {
  if (link_->never_opens()) return false;
  return waiting_openers_ != 0 ||
         std::any_of(clients_.begin(), clients_.end(),
                     [](const auto& entry) { return entry.second->is_notifier; });
}

// The end of a wait for a service that is not there; a link that never opens is not waited for.
Time Core::modem_deadline(uint32_t timeout_ms) const {
  return platform::clock().now() + std::chrono::milliseconds(link_->never_opens() ? 0 : timeout_ms);
}

// A link that has no memory for an endpoint counts as no bus.
bool Core::try_open(Endpoint* endpoint) {
  try {
    return link_->open(endpoint);
  } catch (const std::exception&) {
    return false;
  }
}

// Returns whether the library is on a bus. One thread connects at a time; the others wait for its
// result. The mutex is given up meanwhile.
bool Core::connect_control(Lock& lock) {
  while (connecting_) changed_.wait(lock);
  if (control_) return true;
  const Time begun = platform::clock().now();
  if (begun < no_bus_until_) return false;
  connecting_ = true;
  Endpoint endpoint;
  bool open = false;
  {
    const base::Unlock unlocked(mutex_);
    open = try_open(&endpoint);
  }
  connecting_ = false;
  changed_.notify_all();
  if (!open) {
    const Time now = platform::clock().now();
    if (now - begun > kSlowConnect) no_bus_until_ = now + kUnresponsiveBackoff;
    return false;
  }
  control_ = endpoint;
  control_shared_ = false;
  // What was looked up on an earlier bus is looked up on this one. A look-up that cannot be sent is
  // sent again by the library's thread.
  look_up_known();
  return control_.has_value();
}

// Sends the look-up of a service unless that has been done.
void Core::look_up(uint32_t service) {
  if (!control_ || registry_.service(service).asked) return;
  const ControlPacket packet{Control::kNewLookup, service, 0, 0, 0};
  switch (link_->send(control_->id, {control_->own.node, kControlPort}, packet.octets())) {
    case Sent::kSent:
      registry_.asked(service);
      break;
    case Sent::kBusy:  // the library's thread sends it again after kRetryTime
      if (!on_own_thread()) link_->wake();
      break;
    case Sent::kCut:  // no name service at the control port: of no use as a bus
      bus_lost();
      break;
  }
}

// Sends the look-ups that have not been sent. False when one could not be.
bool Core::look_up_known() {
  std::vector<uint32_t> missing;
  for (const auto& [id, state] : registry_.services()) {
    if (!state.asked) missing.push_back(id);
  }
  for (const uint32_t id : missing) look_up(id);
  bool all_asked = true;
  for (const uint32_t id : missing) all_asked = registry_.service(id).asked && all_asked;
  return all_asked;
}

// Returns when the list of the service's instances is complete, or no bus answers.
void Core::await_answer(Lock& lock, uint32_t service) {
  registry_.service(service);
  const bool on_a_bus = connect_control(lock);
  start_thread();
  if (!on_a_bus) return;
  look_up(service);
  if (on_own_thread()) return;  // the thread that would receive the answer
  const Time deadline = platform::clock().now() + kLookupTime;
  while (control_ && !registry_.service(service).answered) {
    if (platform::clock().now() >= deadline) {
      bus_lost();
      no_bus_until_ = platform::clock().now() + kUnresponsiveBackoff;
      return;
    }
    platform::clock().wait_until(changed_, lock, deadline);
  }
}

bool Core::is_there(qmi_idl_service_object_type service, Address server) {
  const auto& instances = registry_.service(service->id).instances;
  return std::any_of(instances.begin(), instances.end(),
                     [&](const Instance& i) { return i.address == server; });
}

const Instance* Core::find_instance(qmi_idl_service_object_type service, uint32_t instance) {
  for (const Instance& known : registry_.service(service->id).instances) {
    if (known.version != static_cast<uint32_t>(service->major)) continue;
    if (instance == QMI_CLIENT_INSTANCE_ANY || instance == known.instance) return &known;
  }
  return nullptr;
}

int Core::service_list(qmi_idl_service_object_type service, qmi_service_info* list,
                       uint32_t capacity, uint32_t* entries, uint32_t* services) {
  Lock lock(mutex_);
  const BusHold hold(*this);
  await_answer(lock, service->id);
  uint32_t found = 0;
  *entries = 0;
  for (const Instance& known : registry_.service(service->id).instances) {
    if (known.version != static_cast<uint32_t>(service->major)) continue;
    ++found;
    if (list == nullptr || *entries == capacity) continue;
    list[(*entries)++] = {service->id, known.instance, known.version, known.address.node,
                          known.address.port};
  }
  *services = found;
  return found != 0 ? QMI_CLIENT_OK : QMI_CLIENT_SERVICE_GONE;
}

void Core::on_control(const ControlPacket& packet) {
  apply(registry_.apply(packet));
  // Within a list nobody needs to wake: a wait for a service begins with one for its list's end.
  if (!registry_.within_list(packet)) changed_.notify_all();
}

// One endpoint that is cut off means that the process at the other end has gone, with all its
// services. An endpoint of a bus that is lost already says nothing about a later bus.
void Core::on_closed(EndpointId endpoint) {
  if (control_ && endpoint == control_->id) {
    bus_lost();
    return;
  }
  const auto found = by_endpoint_.find(endpoint);
  if (found != by_endpoint_.end() && !find(found->second)->gone) bus_lost();
}

void Core::bus_lost() {
  if (control_) link_->close(control_->id);
  control_.reset();
  ++bus_;
  no_bus_until_ = platform::clock().now() + kReconnectTime;
  apply(registry_.lose_all());
  link_->wake();  // for the callbacks that this makes due
  for (const auto& [handle, client] : clients_) {
    if (!client->is_notifier) lose(handle, *client);
  }
  changed_.notify_all();
}

// With the last handle. Needed only after a client that shared the look-ups' endpoint: its service
// sees that client until the endpoint is closed.
void Core::leave_if_idle() {
  if (!control_ || !control_shared_ || bus_holds_ != 0 || !clients_.empty()) return;
  link_->close(control_->id);
  control_.reset();
  registry_ = Registry();
}

void Core::apply(const std::vector<ServiceChange>& changes) {
  for (const ServiceChange& change : changes) {
    for (const auto& [handle, client] : clients_) {
      if (client->service->id != change.service) continue;
      if (client->is_notifier) {
        if (client->callbacks.on_notify == nullptr) continue;
        const auto event =
            change.came ? QMI_CLIENT_SERVICE_COUNT_INC : QMI_CLIENT_SERVICE_COUNT_DEC;
        due_.push_back({Event::kNotify, handle, event, {}});
      } else if (!change.came && client->server == change.instance.address) {
        lose(handle, *client);
      }
    }
  }
}

}  // namespace qcci

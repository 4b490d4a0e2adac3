// The half of Core that reads: what comes from the bus, being on it, and the library's thread.

#include <algorithm>
#include <system_error>

#include "qcci/client/core.h"

namespace qcci {
namespace {

using platform::Time;

// The longest wait for the answer to a look-up. A bus answers at once, whatever services it has;
// the limit is for one that has stopped, which is then left alone for as long.
constexpr auto kLookupTime = std::chrono::seconds(5);
constexpr auto kUnresponsiveBackoff = kLookupTime;
// The pause before a lost bus is connected to again: short beside the seconds that a modem takes to
// restart, long beside the cost of an attempt.
constexpr auto kReconnectTime = std::chrono::milliseconds(100);
// The pause before a reader connects, or sends a look-up, again.
constexpr auto kRetryTime = std::chrono::milliseconds(100);
// What is taken from the link before others get their turn, should it never run dry.
constexpr int kTurn = 64;

bool from_control(const Datagram& datagram, const Endpoint& endpoint) {
  return datagram.from == Address{endpoint.own.node, kControlPort};
}

}  // namespace

// ---- reading

void Core::start_thread() {
  callbacks_.start_thread([this] { run(); });
}

void Core::run() {
  Lock lock(mutex_);
  for (;;) {
    run_callbacks();
    Time deadline = platform::kNever;
    if (!readers_.led() && tend(lock, &deadline)) continue;
    if (!readers_.wait_as_thread(mutex_, lock, deadline)) continue;
    for (int i = 0; i < kTurn && take_one(); ++i) continue;
  }
}

void Core::run_callbacks() {
  Event event;
  while (callbacks_.begin(&event)) {
    const std::shared_ptr<Client> client = find(event.handle);
    if (client != nullptr) {
      const Callbacks call = client->callbacks;
      const bool reported = client->error_reported;
      if (event.kind == Event::kError && call.on_error != nullptr) client->error_reported = true;
      const base::Unlock unlocked(mutex_);
      const auto c = reinterpret_cast<qmi_client_type>(event.handle);
      switch (event.kind) {
        case Event::kIndication:
          call.on_indication(c, event.code, event.octets.data(),
                             static_cast<uint32_t>(event.octets.size()), call.indication_data);
          break;
        case Event::kError:
          if (call.on_error == nullptr || reported) break;
          call.on_error(c, QMI_CLIENT_SERVICE_GONE, call.error_data);
          break;
        case Event::kNotify:
          if (call.on_notify == nullptr) break;
          call.on_notify(c, client->service, static_cast<qmi_client_notify_event>(event.code),
                         call.notify_data);
          break;
      }
    }
    callbacks_.end();
  }
}

// The thread is started here for an indication of a service that has none. Without one, the event
// stays until there is.
void Core::post(Event event) {
  callbacks_.post(std::move(event));
  if (!callbacks_.started()) {
    try {
      start_thread();
    } catch (const std::system_error&) {
    }
  } else if (!callbacks_.on_own_thread()) {
    readers_.notify_thread();
  }
}

// Waits once: for the link if nobody else reads, until somebody notifies the waiter otherwise. The
// caller looks at what it waits for after each datagram, so that none is asked for in vain.
void Core::step(Lock& lock, Readers::Waiter& waiter, Time deadline) {
  if (!readers_.leads(waiter)) {
    readers_.wait_for_reader(waiter, lock, deadline);
    return;
  }
  if (more_ && take_one()) return;
  if (tend(lock, &deadline)) return;
  readers_.wait_for_link(mutex_, deadline);
  take_one();
}

// What a reader sees to besides: that the library is on the bus if anybody needs it, and that the
// look-ups are sent. True when it has given up the mutex; else *deadline is when to see to it
// again.
bool Core::tend(Lock& lock, Time* deadline) {
  const bool missing = bus_.missing_look_up() != nullptr;
  if (bus_.up() ? !missing : !bus_wanted()) return false;
  const Time now = platform::clock().now();
  if (now < retry_at_) {
    *deadline = std::min(*deadline, retry_at_);
    return false;
  }
  retry_at_ = now + kRetryTime;
  if (connect(lock)) look_up_known();
  return true;
}

bool Core::take_one() {
  Datagram datagram;
  const Received received = link_->take(&datagram);
  more_ = received != Received::kNothing;
  if (received == Received::kDatagram) on_datagram(datagram);
  if (received == Received::kClosed) on_closed(datagram.endpoint);
  return more_;
}

// Handles what has come while nobody was reading.
void Core::catch_up() {
  if (readers_.led() || callbacks_.started() || !bus_.up()) return;
  link_->wait(platform::clock().now(), link_->wakes());
  for (int i = 0; i < kTurn && take_one(); ++i) continue;
}

// ---- being on the bus

// Whether anything is waited for that only a bus can bring.
bool Core::bus_wanted() const {
  if (link_->never_opens()) return false;
  return bus_holds_ != 0 || std::any_of(clients_.begin(), clients_.end(), [](const auto& entry) {
           return entry.second->is_notifier;
         });
}

// Whether the library is on a bus; what was looked up on an earlier one is looked up on this one.
bool Core::connect(Lock& lock) {
  if (bus_.up()) return true;
  if (!bus_.connect(mutex_, lock)) return false;
  look_up_known();
  return bus_.up();
}

// Sends the look-ups that have not been sent. Those that the bus has no room for now are sent by
// whoever reads.
void Core::look_up_known() {
  while (const uint32_t* service = bus_.up() ? bus_.missing_look_up() : nullptr) {
    const Sent sent = bus_.look_up(*service);
    if (sent == Sent::kCut) bus_lost(kReconnectTime);
    if (sent != Sent::kSent) break;
  }
}

// Returns when the list of the service's instances is complete, or no bus answers.
void Core::await_answer(Lock& lock, uint32_t service) {
  bus_.service(service);
  if (!connect(lock)) return;
  look_up_known();
  if (callbacks_.on_own_thread()) return;  // a callback must not wait
  if (bus_.service(service).answered) {
    catch_up();
    return;
  }
  const Time deadline = platform::clock().now() + kLookupTime;
  Readers::Waiter waiter(readers_);
  while (bus_.up() && !bus_.service(service).answered) {
    if (platform::clock().now() >= deadline) {
      bus_lost(kUnresponsiveBackoff);
      return;
    }
    step(lock, waiter, deadline);
  }
}

// With the last handle.
void Core::leave_if_idle() {
  if (bus_holds_ == 0 && clients_.empty()) bus_.leave();
}

// ---- what has come

void Core::on_datagram(const Datagram& datagram) {
  if (bus_.up() && datagram.endpoint == bus_.control().id &&
      from_control(datagram, bus_.control())) {
    ControlPacket packet;
    if (ControlPacket::parse(datagram.octets, &packet)) on_control(packet);
    return;
  }
  const auto found = by_endpoint_.find(datagram.endpoint);
  if (found != by_endpoint_.end()) on_message(found->second, *find(found->second), datagram);
}

// Accepts messages from the client's own server only, and of the responses only one whose
// transaction and message are both those of a request that still waits.
void Core::on_message(Handle handle, Client& client, const Datagram& datagram) {
  QmiHeader header;
  if (datagram.from != client.server || !QmiHeader::parse(datagram.octets, &header)) return;
  const auto tlvs = std::span(datagram.octets).subspan(kQmiHeader);
  if (header.type == QMI_IDL_INDICATION) {
    if (client.callbacks.on_indication == nullptr) return;
    post({Event::kIndication, handle, header.message, {tlvs.begin(), tlvs.end()}});
    return;
  }
  if (header.type != QMI_IDL_RESPONSE) return;
  const auto found = client.pending.find(header.transaction);
  if (found == client.pending.end() || found->second->message != header.message) return;
  found->second->response.assign(tlvs.begin(), tlvs.end());
  found->second->events = callbacks_.posted();
  complete(*found->second, QMI_CLIENT_OK);
  client.pending.erase(found);
}

void Core::on_control(const ControlPacket& packet) {
  apply(bus_.apply(packet));
  // Within a list nobody needs to wake: a wait for a service begins with one for its list's end.
  if (!bus_.registry().within_list(packet)) readers_.notify_all();
}

// One endpoint that is cut off means that the process at the other end has gone, with all its
// services. An endpoint of a bus that is lost already says nothing about a later bus.
void Core::on_closed(EndpointId endpoint) {
  if (bus_.up() && endpoint == bus_.control().id) {
    bus_lost(kReconnectTime);
    return;
  }
  const auto found = by_endpoint_.find(endpoint);
  if (found != by_endpoint_.end() && !find(found->second)->gone) bus_lost(kReconnectTime);
}

void Core::bus_lost(platform::Duration pause) {
  apply(bus_.lose(pause));
  retry_at_ = {};
  for (const auto& [handle, client] : clients_) {
    if (!client->is_notifier) lose(handle, *client);
  }
  readers_.notify_all();
}

void Core::lose(Handle handle, Client& client) {
  if (client.gone) return;
  client.gone = true;
  for (const auto& [transaction, pending] : client.pending) {
    complete(*pending, QMI_CLIENT_SERVICE_GONE);
  }
  client.pending.clear();
  if (client.callbacks.on_error != nullptr) post({Event::kError, handle, 0, {}});
}

void Core::apply(const std::vector<ServiceChange>& changes) {
  for (const ServiceChange& change : changes) {
    for (const auto& [handle, client] : clients_) {
      if (client->service->id != change.service) continue;
      if (client->is_notifier) {
        if (client->callbacks.on_notify == nullptr) continue;
        const auto event =
            change.came ? QMI_CLIENT_SERVICE_COUNT_INC : QMI_CLIENT_SERVICE_COUNT_DEC;
        post({Event::kNotify, handle, event, {}});
      } else if (!change.came && client->server == change.instance.address) {
        lose(handle, *client);
      }
    }
  }
}

}  // namespace qcci

#include "qcci/client/core.h"

#include <algorithm>

#include "qcci/idl/codec.h"

namespace qcci {
namespace {

using platform::Time;

// How long the bus may take to answer a look-up. A bus answers at once, whatever services it has;
// this only keeps a dead one from holding its caller for ever.
constexpr auto kLookupTime = std::chrono::seconds(5);
// How often a bus that went away is looked for, while somebody waits for a service, and how long
// one that is there but does not answer is left alone.
constexpr auto kReconnectTime = std::chrono::milliseconds(100);
constexpr auto kMuteTime = std::chrono::seconds(5);
// An attempt to get on a bus that took longer has met one that does not answer.
constexpr auto kPromptTime = std::chrono::milliseconds(200);

std::unique_ptr<Link>& link_for_tests() {
  static std::unique_ptr<Link> link;
  return link;
}

Time in(uint32_t milliseconds) {
  return platform::clock().now() + std::chrono::milliseconds(milliseconds);
}

bool from_control(const Datagram& datagram, const Endpoint& endpoint) {
  return datagram.from == Address{endpoint.own.node, kControlPort};
}

}  // namespace

// Deliberately never destroyed: the library's thread goes on until the process ends.
Core& Core::instance() {
  static Core* const core =
      new Core(link_for_tests() != nullptr ? std::move(link_for_tests()) : make_process_link());
  return *core;
}

void Core::use_link(std::unique_ptr<Link> link) { link_for_tests() = std::move(link); }

Core::Core(std::unique_ptr<Link> link)
    : link_(std::move(link)),
      last_transaction_(static_cast<uint16_t>(platform::clock().now().time_since_epoch().count())) {
}

// ---- the library's thread

void Core::start_thread() {
  if (started_) return;
  std::thread([this] { run(); }).detach();
  started_ = true;
}

bool Core::anybody_waits_for_a_bus() const {
  if (link_->never_opens()) return false;
  return waiting_openers_ != 0 ||
         std::any_of(clients_.begin(), clients_.end(),
                     [](const auto& entry) { return entry.second->is_notifier; });
}

// Until when a service that is not there is waited for.
Time Core::modem_deadline(uint32_t timeout_ms) const {
  return in(link_->never_opens() ? 0 : timeout_ms);
}

void Core::run() {
  thread_id_ = std::this_thread::get_id();
  Datagram datagram;
  Lock lock(mutex_);
  for (;;) {
    Time deadline = platform::kNever;
    if (control_ || anybody_waits_for_a_bus()) {
      const bool all_asked = connect_control(lock) && look_up_known();
      if (!all_asked) deadline = platform::clock().now() + kReconnectTime;
    }
    lock.unlock();
    const Received received = link_->receive(&datagram, deadline);
    lock.lock();
    if (received == Received::kDatagram) on_datagram(datagram);
    if (received == Received::kClosed) on_closed(datagram.endpoint);
    run_callbacks(lock);
  }
}

void Core::on_datagram(const Datagram& datagram) {
  if (control_ && datagram.endpoint == control_->id && from_control(datagram, *control_)) {
    ControlPacket packet;
    if (ControlPacket::parse(datagram.octets, &packet)) on_control(packet);
    return;
  }
  const auto found = by_endpoint_.find(datagram.endpoint);
  if (found != by_endpoint_.end()) on_message(found->second, *find(found->second), datagram);
}

void Core::on_control(const ControlPacket& packet) {
  apply(registry_.apply(packet));
  // Everybody who waits for a service waits for the end of its list first.
  if (!registry_.within_list(packet)) changed_.notify_all();
}

// Only the client's own server is heard, and only a response whose transaction and message are
// both those of a request that still waits.
void Core::on_message(Handle handle, Client& client, const Datagram& datagram) {
  QmiHeader header;
  if (datagram.from != client.server || !QmiHeader::parse(datagram.octets, &header)) return;
  const auto tlvs = std::span(datagram.octets).subspan(kQmiHeader);
  if (header.type == QMI_IDL_INDICATION) {
    if (client.callbacks.on_indication == nullptr) return;
    due_.push_back({Event::kIndication, handle, header.message, {tlvs.begin(), tlvs.end()}});
    return;
  }
  if (header.type != QMI_IDL_RESPONSE) return;
  const auto found = client.pending.find(header.transaction);
  if (found == client.pending.end() || found->second->message != header.message) return;
  Pending& pending = *found->second;
  client.pending.erase(found);
  pending.response.assign(tlvs.begin(), tlvs.end());
  pending.result = QMI_CLIENT_OK;
  pending.done.notify_all();
}

// One cut endpoint means that the process at the other end is gone, and all its services. Endpoints
// of a bus that is known to be lost tell nothing of the one that may have come since.
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

// Only a client that shared the look-ups' endpoint is still known to its service then.
void Core::leave_if_idle() {
  if (!control_ || !control_shared_ || stays_ != 0 || !clients_.empty()) return;
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

void Core::lose(Handle handle, Client& client) {
  if (client.gone) return;
  client.gone = true;
  for (const auto& [transaction, pending] : client.pending) {
    pending->result = QMI_CLIENT_SERVICE_GONE;
    pending->done.notify_all();
  }
  client.pending.clear();
  if (client.callbacks.on_error != nullptr) due_.push_back({Event::kError, handle, 0, {}});
}

void Core::run_callbacks(Lock& lock) {
  while (!due_.empty()) {
    const Event event = std::move(due_.front());
    due_.pop_front();
    const std::shared_ptr<Client> client = find(event.handle);
    if (client == nullptr) continue;
    running_ = event.handle;
    const Callbacks call = client->callbacks;
    const bool told = client->error_told;
    if (event.kind == Event::kError && call.on_error != nullptr) client->error_told = true;
    lock.unlock();
    const auto c = reinterpret_cast<qmi_client_type>(event.handle);
    switch (event.kind) {
      case Event::kIndication:
        call.on_indication(c, event.code, event.octets.data(),
                           static_cast<uint32_t>(event.octets.size()), call.indication_data);
        break;
      case Event::kError:
        if (call.on_error == nullptr || told) break;
        call.on_error(c, QMI_CLIENT_SERVICE_GONE, call.error_data);
        break;
      case Event::kNotify:
        if (call.on_notify == nullptr) break;
        call.on_notify(c, client->service, static_cast<qmi_client_notify_event>(event.code),
                       call.notify_data);
        break;
    }
    lock.lock();
    running_ = 0;
    changed_.notify_all();
  }
}

// ---- finding services

// The link has no memory for it: as good as no bus.
bool Core::try_open(Endpoint* endpoint) {
  try {
    return link_->open(endpoint);
  } catch (const std::exception&) {
    return false;
  }
}

// One thread connects at a time; the others wait for how it ends.
bool Core::connect_control(Lock& lock) {
  while (connecting_) changed_.wait(lock);
  if (control_) return true;
  const Time begun = platform::clock().now();
  if (begun < no_bus_until_) return false;
  connecting_ = true;
  lock.unlock();
  Endpoint endpoint;
  const bool open = try_open(&endpoint);
  lock.lock();
  connecting_ = false;
  changed_.notify_all();
  if (!open) {
    const Time now = platform::clock().now();
    if (now - begun > kPromptTime) no_bus_until_ = now + kMuteTime;
    return false;
  }
  control_ = endpoint;
  control_shared_ = false;
  look_up_known();  // services that were asked for on a bus that is gone are asked for again
  return control_.has_value();
}

// Sends the look-up unless that has been done.
void Core::look_up(uint32_t service) {
  if (!control_ || registry_.service(service).asked) return;
  const ControlPacket packet{Control::kNewLookup, service, 0, 0, 0};
  switch (link_->send(control_->id, {control_->own.node, kControlPort}, packet.octets())) {
    case Sent::kSent:
      registry_.asked(service);
      break;
    case Sent::kBusy:  // the library's thread tries again, in a while
      if (!on_own_thread()) link_->wake();
      break;
    case Sent::kCut:  // nobody at the control port: a bus without names is none
      bus_lost();
      break;
  }
}

// False when a look-up could not be sent.
bool Core::look_up_known() {
  std::vector<uint32_t> missing;
  for (const auto& [id, state] : registry_.services()) {
    if (!state.asked) missing.push_back(id);
  }
  for (const uint32_t id : missing) look_up(id);
  return std::all_of(missing.begin(), missing.end(),
                     [this](uint32_t id) { return registry_.service(id).asked; });
}

// Returns when the list of the service's instances is complete, or there is no bus that answers.
void Core::await_answer(Lock& lock, uint32_t service) {
  registry_.service(service);
  const bool on_a_bus = connect_control(lock);
  start_thread();
  if (!on_a_bus) return;
  look_up(service);
  if (on_own_thread()) return;  // which is the one that would hear the answer
  const Time deadline = platform::clock().now() + kLookupTime;
  while (control_ && !registry_.service(service).answered) {
    if (platform::clock().now() >= deadline) {
      bus_lost();
      no_bus_until_ = platform::clock().now() + kMuteTime;
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
  const Stay stay(*this);
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

// ---- clients and notifiers

Handle Core::add(std::shared_ptr<Client> client) {
  const Handle handle = ++last_handle_;
  if (!client->is_notifier) by_endpoint_.emplace(client->endpoint.id, handle);
  clients_.emplace(handle, std::move(client));
  return handle;
}

std::shared_ptr<Core::Client> Core::find(Handle handle) {
  const auto found = clients_.find(handle);
  return found == clients_.end() ? nullptr : found->second;
}

int Core::open_client(qmi_idl_service_object_type service, const qmi_service_info& info,
                      qmi_client_ind_cb callback, void* data, Handle* handle) {
  auto client = std::make_shared<Client>();
  client->service = service;
  client->server = {info.node, info.port};
  client->callbacks.on_indication = callback;
  client->callbacks.indication_data = data;
  Lock lock(mutex_);
  const Stay stay(*this);
  await_answer(lock, service->id);
  if (!is_there(service, client->server)) return QMI_CLIENT_SERVICE_GONE;
  if (control_ && !control_shared_) {
    control_shared_ = true;
    client->endpoint = *control_;
  } else {
    const uint64_t bus = bus_;
    lock.unlock();
    const bool open = try_open(&client->endpoint);
    lock.lock();
    if (!open) return QMI_CLIENT_SERVICE_GONE;
    if (!is_there(service, client->server) || bus != bus_) {
      link_->close(client->endpoint.id);
      return QMI_CLIENT_SERVICE_GONE;
    }
  }
  start_thread();
  *handle = add(std::move(client));
  return QMI_CLIENT_OK;
}

int Core::open_instance(qmi_idl_service_object_type service, uint32_t instance,
                        qmi_client_ind_cb callback, void* data, uint32_t timeout_ms,
                        Handle* handle) {
  if (on_own_thread()) return QMI_CLIENT_INTERNAL;
  Lock lock(mutex_);
  const Stay stay(*this);
  await_answer(lock, service->id);
  const Time deadline = modem_deadline(timeout_ms);
  ++waiting_openers_;  // the library's thread looks for a bus meanwhile, if there is none
  if (!control_) link_->wake();
  int result = QMI_CLIENT_TIMED_OUT;
  for (;;) {
    if (const Instance* found = find_instance(service, instance)) {
      const qmi_service_info info{service->id, found->instance, found->version, found->address.node,
                                  found->address.port};
      lock.unlock();
      result = open_client(service, info, callback, data, handle);
      lock.lock();
      if (result != QMI_CLIENT_SERVICE_GONE) break;
    }
    // Not there, or gone again meanwhile.
    const Time now = platform::clock().now();
    if (now >= deadline) break;
    const bool known = find_instance(service, instance) != nullptr;
    platform::clock().wait_until(changed_, lock,
                                 known ? std::min(deadline, now + kReconnectTime) : deadline);
    if (!known) result = QMI_CLIENT_TIMED_OUT;
  }
  --waiting_openers_;
  return result;
}

int Core::open_notifier(qmi_idl_service_object_type service, qmi_client_os_params* os_params,
                        Handle* handle) {
  auto notifier = std::make_shared<Client>();
  notifier->service = service;
  notifier->is_notifier = true;
  Lock lock(mutex_);
  const bool on_a_bus = connect_control(lock);
  start_thread();
  *handle = add(std::move(notifier));
  if (on_a_bus) look_up(service->id);
  if (os_params != nullptr) {
    *os_params = {*handle, registry_.service(service->id).changes, 0, 0};
  }
  lock.unlock();
  link_->wake();
  return QMI_CLIENT_OK;
}

int Core::register_error(Handle handle, qmi_client_error_cb callback, void* data) {
  const Lock lock(mutex_);
  const auto client = find(handle);
  if (client == nullptr || client->is_notifier) return QMI_CLIENT_PORT_NOT_OPEN;
  client->callbacks.on_error = callback;
  client->callbacks.error_data = data;
  if (client->gone && !client->error_told && callback != nullptr) {
    due_.push_back({Event::kError, handle, 0, {}});
    link_->wake();
  }
  return QMI_CLIENT_OK;
}

int Core::register_notify(Handle handle, qmi_client_notify_cb callback, void* data) {
  const Lock lock(mutex_);
  const auto notifier = find(handle);
  if (notifier == nullptr || !notifier->is_notifier) return QMI_CLIENT_PORT_NOT_OPEN;
  notifier->callbacks.on_notify = callback;
  notifier->callbacks.notify_data = data;
  if (callback == nullptr) return QMI_CLIENT_OK;
  for ([[maybe_unused]] const Instance& known :
       registry_.service(notifier->service->id).instances) {
    due_.push_back({Event::kNotify, handle, QMI_CLIENT_SERVICE_COUNT_INC, {}});
  }
  link_->wake();
  return QMI_CLIENT_OK;
}

void Core::wait_signal(qmi_client_os_params* os_params, uint32_t timeout_ms) {
  const Time deadline = modem_deadline(timeout_ms);
  Lock lock(mutex_);
  for (;;) {
    const auto notifier = find(os_params->notifier);
    const uint64_t changes =
        notifier == nullptr ? os_params->seen : registry_.service(notifier->service->id).changes;
    os_params->timed_out = changes == os_params->seen ? 1 : 0;
    os_params->seen = changes;
    if (os_params->timed_out == 0 || platform::clock().now() >= deadline) return;
    platform::clock().wait_until(changed_, lock, deadline);
  }
}

void Core::wait_for_modem(uint32_t milliseconds) {
  platform::clock().sleep_until(modem_deadline(milliseconds));
}

qmi_idl_service_object_type Core::service_of(Handle handle) {
  const Lock lock(mutex_);
  const auto client = find(handle);
  return client == nullptr ? nullptr : client->service;
}

int Core::send(Handle handle, uint32_t message, const void* request, uint32_t request_length,
               void* response, uint32_t response_length, uint32_t timeout_ms) {
  if (on_own_thread()) return QMI_CLIENT_INTERNAL;
  const Time deadline = in(timeout_ms);
  Lock lock(mutex_);
  const auto client = find(handle);
  if (client == nullptr || client->is_notifier) return QMI_CLIENT_PORT_NOT_OPEN;
  const idl::Message* asks = client->service->find(QMI_IDL_REQUEST, message);
  const idl::Message* answers = client->service->find(QMI_IDL_RESPONSE, message);
  if (asks == nullptr || answers == nullptr || asks->c_size != request_length ||
      answers->c_size != response_length) {
    return QMI_CLIENT_BAD_ARGUMENT;
  }
  if (client->gone) return QMI_CLIENT_SERVICE_GONE;

  std::vector<uint8_t> octets(kQmiHeader + asks->max_encoded);
  const idl::Encoded encoded =
      idl::encode(*asks, request, request_length, std::span(octets).subspan(kQmiHeader));
  if (encoded.error != idl::CodecError::kOk) return QMI_CLIENT_INTERNAL;
  octets.resize(kQmiHeader + encoded.length);
  do {
    if (++last_transaction_ == 0) ++last_transaction_;
  } while (client->pending.contains(last_transaction_));
  const uint16_t own = last_transaction_;
  QmiHeader{QMI_IDL_REQUEST, own, static_cast<uint16_t>(message),
            static_cast<uint16_t>(encoded.length)}
      .write(octets.data());

  Pending pending;
  pending.message = static_cast<uint16_t>(message);
  client->pending.emplace(own, &pending);
  const EndpointId endpoint = client->endpoint.id;
  const Address server = client->server;
  lock.unlock();
  Sent sent = Sent::kBusy;
  try {
    sent = link_->send(endpoint, server, octets);
  } catch (const std::exception&) {
    // No memory on the way: the request has not gone out, and `pending` must not stay behind.
  }
  lock.lock();
  if (sent == Sent::kBusy && !pending.result) pending.result = QMI_CLIENT_INTERNAL;
  if (sent == Sent::kCut) {
    lose(handle, *client);
    if (!pending.result) pending.result = QMI_CLIENT_SERVICE_GONE;
    link_->wake();
  }
  while (!pending.result) {
    if (platform::clock().now() >= deadline) {
      pending.result = QMI_CLIENT_TIMED_OUT;
      break;
    }
    platform::clock().wait_until(pending.done, lock, deadline);
  }
  client->pending.erase(own);
  lock.unlock();
  if (*pending.result != QMI_CLIENT_OK) return *pending.result;
  const idl::CodecError error = idl::decode(*answers, pending.response, response, response_length);
  return error == idl::CodecError::kOk ? QMI_CLIENT_OK : QMI_CLIENT_INTERNAL;
}

int Core::release(Handle handle) {
  Lock lock(mutex_);
  const auto client = find(handle);
  if (client == nullptr) return QMI_CLIENT_PORT_NOT_OPEN;
  clients_.erase(handle);
  for (const auto& [transaction, pending] : client->pending) {
    pending->result = QMI_CLIENT_PORT_NOT_OPEN;
    pending->done.notify_all();
  }
  client->pending.clear();
  if (!client->is_notifier) by_endpoint_.erase(client->endpoint.id);
  if (!on_own_thread()) {
    while (running_ == handle) changed_.wait(lock);
  }
  const bool own_endpoint =
      !client->is_notifier && !(control_ && control_->id == client->endpoint.id);
  leave_if_idle();
  lock.unlock();
  if (own_endpoint) link_->close(client->endpoint.id);
  return QMI_CLIENT_OK;
}

}  // namespace qcci

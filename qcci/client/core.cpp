#include "qcci/client/core.h"

#include <algorithm>

#include "qcci/idl/codec.h"

namespace qcci {
namespace {

using platform::Time;

// The pause before the library's thread connects, or sends a look-up, again; and before an opener
// tries again an instance that it found but could not open.
constexpr auto kRetryTime = std::chrono::milliseconds(100);

Time in(uint32_t milliseconds) {
  return platform::clock().now() + std::chrono::milliseconds(milliseconds);
}

bool from_control(const Datagram& datagram, const Endpoint& endpoint) {
  return datagram.from == Address{endpoint.own.node, kControlPort};
}

}  // namespace

// Never destroyed: the library's thread goes on until the process ends.
Core& Core::instance() {
  static Core* const core = new Core(make_process_link());
  return *core;
}

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

void Core::run() {
  thread_id_ = std::this_thread::get_id();
  Datagram datagram;
  Lock lock(mutex_);
  for (;;) {
    Time deadline = platform::kNever;
    if (control_ || bus_wanted()) {
      const bool all_asked = connect_control(lock) && look_up_known();
      if (!all_asked) deadline = platform::clock().now() + kRetryTime;
    }
    lock.unlock();
    const Received received = link_->receive(&datagram, deadline);
    lock.lock();
    if (received == Received::kDatagram) on_datagram(datagram);
    if (received == Received::kClosed) on_closed(datagram.endpoint);
    run_callbacks();
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

// Accepts messages from the client's own server only, and of the responses only one whose
// transaction and message are both those of a request that still waits.
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

void Core::run_callbacks() {
  while (!due_.empty()) {
    const Event event = std::move(due_.front());
    due_.pop_front();
    const std::shared_ptr<Client> client = find(event.handle);
    if (client == nullptr) continue;
    running_ = event.handle;
    const Callbacks call = client->callbacks;
    const bool reported = client->error_reported;
    if (event.kind == Event::kError && call.on_error != nullptr) client->error_reported = true;
    {
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
    running_ = 0;
    changed_.notify_all();
  }
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
  const BusHold hold(*this);
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
  const BusHold hold(*this);
  await_answer(lock, service->id);
  const Time deadline = modem_deadline(timeout_ms);
  ++waiting_openers_;  // meanwhile the library's thread tries to connect, if there is no bus
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
                                 known ? std::min(deadline, now + kRetryTime) : deadline);
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
  if (client->gone && !client->error_reported && callback != nullptr) {
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
  const uint16_t transaction = next_transaction(*client);
  QmiHeader{.type = QMI_IDL_REQUEST,
            .transaction = transaction,
            .message = static_cast<uint16_t>(message),
            .length = static_cast<uint16_t>(encoded.length)}
      .write(octets.data());

  Pending pending;
  pending.message = static_cast<uint16_t>(message);
  client->pending.emplace(transaction, &pending);
  const Sent sent = send_on_link(*client, octets);
  if (sent == Sent::kBusy && !pending.result) pending.result = QMI_CLIENT_INTERNAL;
  if (sent == Sent::kCut) {
    lose(handle, *client);
    if (!pending.result) pending.result = QMI_CLIENT_SERVICE_GONE;
    link_->wake();
  }
  await_response(lock, pending, deadline);
  client->pending.erase(transaction);
  lock.unlock();
  if (*pending.result != QMI_CLIENT_OK) return *pending.result;
  const idl::CodecError error = idl::decode(*answers, pending.response, response, response_length);
  return error == idl::CodecError::kOk ? QMI_CLIENT_OK : QMI_CLIENT_INTERNAL;
}

// Never 0, and none that the client still waits for.
uint16_t Core::next_transaction(const Client& client) {
  do {
    if (++last_transaction_ == 0) ++last_transaction_;
  } while (client.pending.contains(last_transaction_));
  return last_transaction_;
}

// Without the mutex, since the kernel's bus may make a sender wait.
Sent Core::send_on_link(const Client& client, std::span<const uint8_t> octets) {
  const EndpointId endpoint = client.endpoint.id;
  const Address server = client.server;
  const base::Unlock unlocked(mutex_);
  try {
    return link_->send(endpoint, server, octets);
  } catch (const std::exception&) {
    // No memory: the request has not gone out. The caller still has to remove it from `pending`.
    return Sent::kBusy;
  }
}

// Returns with a result in `pending`.
void Core::await_response(Lock& lock, Pending& pending, Time deadline) {
  while (!pending.result) {
    if (platform::clock().now() >= deadline) {
      pending.result = QMI_CLIENT_TIMED_OUT;
      return;
    }
    platform::clock().wait_until(pending.done, lock, deadline);
  }
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

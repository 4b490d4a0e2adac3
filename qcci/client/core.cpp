#include "qcci/client/core.h"

#include <algorithm>

#include "qcci/idl/codec.h"

namespace qcci {
namespace {

using platform::Time;

// The pause before an opener tries again an instance that it found but could not open.
constexpr auto kRetryTime = std::chrono::milliseconds(100);

Time in(uint32_t milliseconds) {
  return platform::clock().now() + std::chrono::milliseconds(milliseconds);
}

// Whether a callback for indications means that somebody has to listen for them at all times: a
// service whose rows have none sends none.
bool listens(qmi_idl_service_object_type service, qmi_client_ind_cb callback) {
  return callback != nullptr && service->indicates();
}

// A request with its header; empty when it does not encode.
std::vector<uint8_t> encoded(const idl::Message& message, uint32_t id, uint16_t transaction,
                             const void* request, uint32_t length) {
  std::vector<uint8_t> octets(kQmiHeader + message.max_encoded);
  const idl::Encoded body =
      idl::encode(message, request, length, std::span(octets).subspan(kQmiHeader));
  if (body.error != idl::CodecError::kOk) return {};
  octets.resize(kQmiHeader + body.length);
  QmiHeader{.type = QMI_IDL_REQUEST,
            .transaction = transaction,
            .message = static_cast<uint16_t>(id),
            .length = static_cast<uint16_t>(body.length)}
      .write(octets.data());
  return octets;
}

}  // namespace

// Never destroyed: the library's thread goes on until the process ends.
Core& Core::instance() {
  static Core* const core = new Core(make_process_link());
  return *core;
}

Core::Core(std::unique_ptr<Link> link)
    : link_(std::move(link)),
      bus_(*link_),
      readers_(*link_),
      last_transaction_(static_cast<uint16_t>(platform::clock().now().time_since_epoch().count())) {
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

bool Core::is_there(qmi_idl_service_object_type service, Address server) {
  const auto& instances = bus_.service(service->id).instances;
  return std::any_of(instances.begin(), instances.end(),
                     [&](const Instance& i) { return i.address == server; });
}

const Instance* Core::find_instance(qmi_idl_service_object_type service, uint32_t instance) {
  for (const Instance& known : bus_.service(service->id).instances) {
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
  for (const Instance& known : bus_.service(service->id).instances) {
    if (known.version != static_cast<uint32_t>(service->major)) continue;
    ++found;
    if (list == nullptr || *entries == capacity) continue;
    list[(*entries)++] = {service->id, known.instance, known.version, known.address.node,
                          known.address.port};
  }
  *services = found;
  return found != 0 ? QMI_CLIENT_OK : QMI_CLIENT_SERVICE_GONE;
}

int Core::open_client(qmi_idl_service_object_type service, const qmi_service_info& info,
                      qmi_client_ind_cb callback, void* data, Handle* handle) {
  Lock lock(mutex_);
  const BusHold hold(*this);
  await_answer(lock, service->id);
  return open_at(service, {info.node, info.port}, callback, data, handle);
}

int Core::open_at(qmi_idl_service_object_type service, Address server, qmi_client_ind_cb callback,
                  void* data, Handle* handle) {
  if (!is_there(service, server)) return QMI_CLIENT_SERVICE_GONE;
  auto client = std::make_shared<Client>();
  client->service = service;
  client->server = server;
  client->callbacks.on_indication = callback;
  client->callbacks.indication_data = data;
  if (listens(service, callback)) start_thread();
  if (!bus_.share(&client->endpoint)) {
    const uint64_t losses = bus_.losses();
    bool open = false;
    {
      const base::Unlock unlocked(mutex_);
      open = try_open(*link_, &client->endpoint);
    }
    if (!open) return QMI_CLIENT_SERVICE_GONE;
    if (!is_there(service, client->server) || losses != bus_.losses()) {
      link_->close(client->endpoint.id);
      return QMI_CLIENT_SERVICE_GONE;
    }
  }
  *handle = add(std::move(client));
  return QMI_CLIENT_OK;
}

// The end of a wait for a service that is not there; a link that never opens is not waited for.
Time Core::modem_deadline(uint32_t timeout_ms) const {
  return in(link_->never_opens() ? 0 : timeout_ms);
}

int Core::open_instance(qmi_idl_service_object_type service, uint32_t instance,
                        qmi_client_ind_cb callback, void* data, uint32_t timeout_ms,
                        Handle* handle) {
  if (callbacks_.on_own_thread()) return QMI_CLIENT_INTERNAL;
  Lock lock(mutex_);
  const BusHold hold(*this);
  await_answer(lock, service->id);
  const Time deadline = modem_deadline(timeout_ms);
  int result = QMI_CLIENT_TIMED_OUT;
  for (;;) {
    if (const Instance* found = find_instance(service, instance)) {
      result = open_at(service, found->address, callback, data, handle);
      if (result != QMI_CLIENT_SERVICE_GONE) break;
    }
    // Not there, or gone again meanwhile.
    const Time now = platform::clock().now();
    if (now >= deadline) break;
    const bool known = find_instance(service, instance) != nullptr;
    Readers::Waiter waiter(readers_);
    step(lock, waiter, known ? std::min(deadline, now + kRetryTime) : deadline);
    if (!known) result = QMI_CLIENT_TIMED_OUT;
  }
  return result;
}

int Core::open_notifier(qmi_idl_service_object_type service, qmi_client_os_params* os_params,
                        Handle* handle) {
  auto notifier = std::make_shared<Client>();
  notifier->service = service;
  notifier->is_notifier = true;
  Lock lock(mutex_);
  bus_.service(service->id);
  const bool on_a_bus = connect(lock);
  *handle = add(std::move(notifier));
  if (on_a_bus) look_up_known();
  if (os_params != nullptr) *os_params = {*handle, bus_.service(service->id).changes, 0, 0};
  if (callbacks_.started()) readers_.notify_thread();  // perhaps it is to connect
  return QMI_CLIENT_OK;
}

int Core::register_error(Handle handle, qmi_client_error_cb callback, void* data) {
  const Lock lock(mutex_);
  const auto client = find(handle);
  if (client == nullptr || client->is_notifier) return QMI_CLIENT_PORT_NOT_OPEN;
  if (callback != nullptr) start_thread();
  client->callbacks.on_error = callback;
  client->callbacks.error_data = data;
  if (client->gone && !client->error_reported && callback != nullptr) {
    post({Event::kError, handle, 0, {}});
  }
  return QMI_CLIENT_OK;
}

int Core::register_notify(Handle handle, qmi_client_notify_cb callback, void* data) {
  const Lock lock(mutex_);
  const auto notifier = find(handle);
  if (notifier == nullptr || !notifier->is_notifier) return QMI_CLIENT_PORT_NOT_OPEN;
  if (callback != nullptr) start_thread();
  notifier->callbacks.on_notify = callback;
  notifier->callbacks.notify_data = data;
  if (callback == nullptr) return QMI_CLIENT_OK;
  for ([[maybe_unused]] const Instance& known : bus_.service(notifier->service->id).instances) {
    post({Event::kNotify, handle, QMI_CLIENT_SERVICE_COUNT_INC, {}});
  }
  return QMI_CLIENT_OK;
}

void Core::wait_signal(qmi_client_os_params* os_params, uint32_t timeout_ms) {
  const Time deadline = modem_deadline(timeout_ms);
  Lock lock(mutex_);
  catch_up();
  Readers::Waiter waiter(readers_);
  for (;;) {
    const auto notifier = find(os_params->notifier);
    const uint64_t changes =
        notifier == nullptr ? os_params->seen : bus_.service(notifier->service->id).changes;
    os_params->timed_out = changes == os_params->seen ? 1 : 0;
    os_params->seen = changes;
    if (os_params->timed_out == 0 || platform::clock().now() >= deadline) return;
    step(lock, waiter, deadline);
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
  if (callbacks_.on_own_thread()) return QMI_CLIENT_INTERNAL;
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

  const uint16_t transaction = next_transaction(*client);
  const auto octets = encoded(*asks, message, transaction, request, request_length);
  if (octets.empty()) return QMI_CLIENT_INTERNAL;
  Pending pending;
  pending.message = static_cast<uint16_t>(message);
  client->pending.emplace(transaction, &pending);
  try {
    exchange(lock, handle, *client, octets, deadline, pending);
  } catch (...) {
    client->pending.erase(transaction);
    throw;
  }
  client->pending.erase(transaction);
  lock.unlock();
  if (*pending.result != QMI_CLIENT_OK) return *pending.result;
  const idl::CodecError error = idl::decode(*answers, pending.response, response, response_length);
  return error == idl::CodecError::kOk ? QMI_CLIENT_OK : QMI_CLIENT_INTERNAL;
}

// Sends the request and returns with a result in `pending`.
void Core::exchange(Lock& lock, Handle handle, Client& client, std::span<const uint8_t> octets,
                    Time deadline, Pending& pending) {
  const Sent sent = send_on_link(client, octets);
  if (sent == Sent::kBusy && !pending.result) pending.result = QMI_CLIENT_INTERNAL;
  if (sent == Sent::kCut) {
    lose(handle, client);
    if (!pending.result) pending.result = QMI_CLIENT_SERVICE_GONE;
  }
  {
    Readers::Waiter waiter(readers_);
    pending.waiter = &waiter;
    while (!pending.result) {
      if (platform::clock().now() >= deadline) {
        pending.result = QMI_CLIENT_TIMED_OUT;
      } else {
        step(lock, waiter, deadline);
      }
    }
    pending.waiter = nullptr;
  }
  // The response comes after what came before it, on another thread too.
  callbacks_.await_run(lock, pending.events, deadline);
}

void Core::complete(Pending& pending, int result) {
  pending.result = result;
  if (pending.waiter != nullptr) readers_.notify(*pending.waiter);
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

int Core::release(Handle handle) {
  Lock lock(mutex_);
  const auto client = find(handle);
  if (client == nullptr) return QMI_CLIENT_PORT_NOT_OPEN;
  clients_.erase(handle);
  for (const auto& [transaction, pending] : client->pending) {
    complete(*pending, QMI_CLIENT_PORT_NOT_OPEN);
  }
  client->pending.clear();
  if (!client->is_notifier) by_endpoint_.erase(client->endpoint.id);
  callbacks_.await_end(lock, handle);
  const bool own_endpoint =
      !client->is_notifier && !(bus_.up() && bus_.control().id == client->endpoint.id);
  leave_if_idle();
  lock.unlock();
  if (own_endpoint) link_->close(client->endpoint.id);
  return QMI_CLIENT_OK;
}

}  // namespace qcci

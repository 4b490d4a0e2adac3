#include "vireo/modem_api/service_client.h"

#include <system_error>
#include <thread>
#include <tuple>
#include <utility>

#include "platform/clock.h"
#include "platform/idl/nas.h"
#include "vireo/vireo_common/vireo_mem.h"

namespace vireo {
namespace {

constexpr int kAttempts = 10;  // about nine seconds, in which a modem that restarts is back
constexpr uint32_t kBetweenAttemptsMs = 1000;
constexpr uint32_t kInitTimeout = 4;  // ms: a service that is not there is asked for again instead
constexpr uint32_t kSendTimeoutMs = 30000;

// Status callbacks that this thread is inside of.
thread_local int t_reports = 0;

}  // namespace

qmi_idl_service_object_type ServiceClient::init() {
  const TraceScope scope(site(names().init));
  // Ends a generation that was never released, without a report.
  give_back(next_generation());
  const base::Lock lock(mutex_);
  context_.service = member_.get_service(member_.major, member_.minor, member_.tool);
  return context_.service;
}

int ServiceClient::client_init(modem_api_indication_cb callback) {
  return traced(site(names().client_init), [&] {
    Generation generation = 0;
    {
      const base::Lock lock(mutex_);
      context_.on_event = callback;
      generation = generation_;
    }
    TRACE_DEBUG("Client connecting to QMI FW");
    if (member_.suspends) report(generation, OP_STATUS_CONNECTING);
    const bool connected = connect(generation);
    announce(generation, connected, OP_STATUS_CONNECT_FAILED);
    return connected ? 1 : 0;
  });
}

// Reports how connecting ended. A loss that comes before this report waits for it, so that no
// status overtakes another.
void ServiceClient::announce(Generation generation, bool connected,
                             ModemApiOperationalStatus failure) {
  if (!member_.suspends) return;
  report(generation, connected ? OP_STATUS_CONNECTED : failure);
  bool lost = false;
  {
    const base::Lock lock(mutex_);
    if (generation != generation_) return;
    context_.announcing = false;
    lost = std::exchange(context_.lost, false);
  }
  if (lost) enter_suspend(generation);
}

void ServiceClient::set_status_callback(modem_api_operational_cb callback) {
  const TraceScope scope(site(names().set_status));
  const base::Lock lock(mutex_);
  context_.on_status = callback;
}

uint32_t ServiceClient::master_port() const {
  return traced(site(names().master_port), [] {
    constexpr uint32_t kPort = QMI_CLIENT_INSTANCE_ANY;
    TRACE_DEBUG("using port %d", kPort);
    return kPort;
  });
}

bool ServiceClient::connect(Generation generation) {
  return traced(site(names().connect), [&] {
    const uint32_t port = master_port();
    qmi_client_type client = nullptr;
    std::shared_ptr<qmi_client_os_params> os_params;
    int error = QMI_CLIENT_SERVICE_GONE;
    for (int attempt = 0; attempt < kAttempts && error != 0; ++attempt) {
      if (attempt > 0) platform_wait_for_modem_ms(kBetweenAttemptsMs);
      qmi_idl_service_object_type service = nullptr;
      {
        const base::Lock lock(mutex_);
        if (generation != generation_) return false;
        service = context_.service;
        os_params = context_.os_params;
      }
      TRACE_DEBUG("Trying qmi_client_init_instance() try # %d port[%d]", attempt, port);
      error = qmi_client_init_instance(service, port, member_.own.on_indication, nullptr,
                                       os_params.get(), kInitTimeout, &client);
      if (member_.subscription != kNoSubscription) bind(client);
    }
    TRACE_DEBUG("qmi_client_init_instance returned (%d)", error);
    if (error != 0) {
      return TRACED_ERROR(false, "qmi_client_init_instance returned failure(%d)", error);
    }
    if (member_.subscription != kNoSubscription) std::ignore = register_indications(client);
    {
      const base::Lock lock(mutex_);
      if (generation == generation_) {
        context_.client = client;
        context_.resuming = false;
        context_.announcing = member_.suspends;
        qmi_client_register_error_cb(client, member_.own.on_service_down, nullptr);
        return true;
      }
    }
    qmi_client_release(client);
    return false;
  });
}

// Sent after a failed attempt too, when there is no client to send it.
void ServiceClient::bind(qmi_client_type client) {
  const nas_bind_subscription_req request{static_cast<uint32_t>(member_.subscription)};
  nas_plain_resp response;
  std::ignore = qmi_client_send_msg_sync(client, NAS_BIND_SUBSCRIPTION, &request, sizeof request,
                                         &response, sizeof response, kSendTimeoutMs);
}

int ServiceClient::register_indications(qmi_client_type client) {
  return traced(site(names().set_indications), [&] {
    nas_indication_register_req request{};
    request.serving_system_valid = 1;  // with the value 0
    nas_plain_resp response;
    const int result =
        qmi_client_send_msg_sync(client, NAS_INDICATION_REGISTER, &request, sizeof request,
                                 &response, sizeof response, kSendTimeoutMs);
    TRACE_DEBUG("enable_indication result: %d", result);
    return result;
  });
}

qmi_client_type ServiceClient::client() {
  const base::Lock lock(mutex_);
  return context_.client;
}

int ServiceClient::set_networking_indications() { return register_indications(client()); }

int ServiceClient::send(uint32_t message_id, const void* request, uint32_t request_len,
                        void* response, uint32_t response_len) {
  return traced(site(names().send), [&] {
    return qmi_client_send_msg_sync(client(), message_id, request, request_len, response,
                                    response_len, kSendTimeoutMs);
  });
}

// Ends the generation and its context; what the context held is the caller's to give back.
ServiceClient::Context ServiceClient::next_generation() {
  const base::Lock lock(mutex_);
  ++generation_;
  return std::exchange(context_, {});
}

void ServiceClient::give_back(const Context& context) {
  if (context.client != nullptr) qmi_client_release(context.client);
  if (context.notifier != nullptr) qmi_client_release(context.notifier);
  await_reports();
}

int ServiceClient::release() {
  return traced(site(names().release), [&] {
    const Context old = next_generation();
    if (old.on_status != nullptr) old.on_status(member_.type, OP_STATUS_RELEASED);
    give_back(old);
    return 1;
  });
}

void ServiceClient::await_reports() {
  base::Lock lock(mutex_);
  while (reports_ > t_reports) reported_.wait(lock);
}

void ServiceClient::report(Generation generation, ModemApiOperationalStatus status) {
  modem_api_operational_cb callback = nullptr;
  {
    const base::Lock lock(mutex_);
    if (generation != generation_ || context_.on_status == nullptr) return;
    callback = context_.on_status;
    ++reports_;
  }
  ++t_reports;
  callback(member_.type, status);
  --t_reports;
  const base::Lock lock(mutex_);
  --reports_;
  reported_.notify_all();
}

bool ServiceClient::start(void (ServiceClient::*body)(Generation), Generation generation) {
  try {
    std::thread([this, body, generation] { (this->*body)(generation); }).detach();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

// ---- the service goes

void ServiceClient::service_down(qmi_client_type client, int error) {
  const Operation operation(site(names().service_down));
  TRACE_DEBUG("service down with error %d", error);
  if (!member_.suspends) return;
  Generation generation = 0;
  {
    const base::Lock lock(mutex_);
    if (client != context_.client) return;  // of an earlier generation
    if (context_.announcing) {
      context_.lost = true;
      return;
    }
    generation = generation_;
  }
  enter_suspend(generation);
}

void ServiceClient::enter_suspend(Generation generation) {
  const TraceScope scope(site(names().enter_suspend));
  report(generation, OP_STATUS_SUSPENDING);
  if (start(&ServiceClient::release_thread, generation)) return;
  // There is no thread that would release the client: that is done before it is reported.
  if (const qmi_client_type client = take_client(generation)) qmi_client_release(client);
  report(generation, OP_STATUS_RELEASED);
}

// The generation's client, which is the caller's to release from then on.
qmi_client_type ServiceClient::take_client(Generation generation) {
  const base::Lock lock(mutex_);
  if (generation != generation_) return nullptr;
  return std::exchange(context_.client, nullptr);
}

void ServiceClient::release_thread(Generation generation) {
  const TraceScope scope(site(names().release_thread));
  if (const qmi_client_type client = take_client(generation)) qmi_client_release(client);
  report(generation, OP_STATUS_SUSPENDED);
  qmi_client_type notifier = nullptr;
  qmi_idl_service_object_type service = nullptr;
  std::shared_ptr<qmi_client_os_params> os_params;
  {
    const base::Lock lock(mutex_);
    if (generation != generation_) return;
    notifier = context_.notifier;
    service = context_.service;
    os_params = context_.os_params;
  }
  if (notifier == nullptr) {
    const int error = qmi_client_notifier_init(service, os_params.get(), &notifier);
    TRACE_DEBUG("qmi_client_notifier_init return %d", error);
    if (error != 0) return;
    base::Lock lock(mutex_);
    if (generation != generation_) {
      lock.unlock();
      qmi_client_release(notifier);
      return;
    }
    context_.notifier = notifier;
  }
  const int error = qmi_client_register_notify_cb(notifier, member_.own.on_service_up, nullptr);
  TRACE_DEBUG("qmi_client_register_notify_cb %d", error);
}

// ---- and comes back

void ServiceClient::service_up(qmi_client_type notifier, qmi_client_notify_event event) {
  if (event != QMI_CLIENT_SERVICE_COUNT_INC) return;
  const TraceScope scope(site(names().enter_resume));
  Generation generation = 0;
  {
    const base::Lock lock(mutex_);
    // Of an earlier generation, or a second instance while the first is being connected to.
    if (notifier != context_.notifier || context_.resuming) return;
    context_.resuming = true;
    generation = generation_;
  }
  report(generation, OP_STATUS_RESUMING);
  if (start(&ServiceClient::resume_thread, generation)) return;
  end_resuming(generation);
  report(generation, OP_STATUS_RESUME_FAILED);
}

// Lets service_up accept the service's next return.
void ServiceClient::end_resuming(Generation generation) {
  const base::Lock lock(mutex_);
  if (generation == generation_) context_.resuming = false;
}

void ServiceClient::resume_thread(Generation generation) {
  const TraceScope scope(site(names().resume_thread));
  qmi_client_type notifier = nullptr;
  {
    const base::Lock lock(mutex_);
    if (generation != generation_) return;
    notifier = std::exchange(context_.notifier, nullptr);
  }
  if (notifier != nullptr) qmi_client_release(notifier);
  const bool connected = connect(generation);
  if (!connected) end_resuming(generation);
  announce(generation, connected, OP_STATUS_RESUME_FAILED);
}

// ---- indications

void ServiceClient::unsol_indication(qmi_client_type client, uint32_t message_id,
                                     const void* encoded, uint32_t length) {
  const TraceScope scope(site(names().unsol_ind));
  modem_api_indication_cb callback = nullptr;
  qmi_idl_service_object_type service = nullptr;
  {
    const base::Lock lock(mutex_);
    callback = context_.on_event;
    service = context_.service;
  }
  if (callback == nullptr) {
    TRACE_ERROR("Unexpected NULL pointer!");
    return;
  }
  uint32_t size = 0;
  std::ignore = qmi_idl_get_message_c_struct_len(service, QMI_IDL_INDICATION, message_id, &size);
  if (static_cast<int32_t>(size) <= 0 && member_.handle != nullptr) {
    TRACE_ERROR("decoded_payload_len(%d) can not <= 0", size);
    return;
  }
  // One octet more than nothing for an indication that the service does not describe.
  void* decoded = vireo_malloc_adv(size_t{size} + 1, names().unsol_ind, __LINE__);
  if (decoded == nullptr) {
    TRACE_ERROR("%s", member_.no_memory);
    return;
  }
  const int failed = size == 0 ? 0
                               : qmi_client_message_decode(client, QMI_IDL_INDICATION, message_id,
                                                           encoded, length, decoded, size);
  if (failed != 0) {
    TRACE_ERROR("Indication decode failed for msg 0x%x with error %d", message_id, failed);
  } else {
    const Operation operation(site(names().ind_hdlr));
    TRACE_DEBUG("Handling indication msg 0x%x", message_id);
    if (member_.handle == nullptr || !member_.handle(message_id, decoded, callback)) {
      TRACE_DEBUG("Unknown indication msg %0x", message_id);
    }
  }
  vireo_free_adv(decoded, names().unsol_ind, __LINE__);
}

}  // namespace vireo

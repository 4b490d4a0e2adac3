// The client library: the handles, the requests that wait for their response, and the operations.
//
// Threads. Every public function may be called from any thread. One mutex guards everything; it is
// not held while a callback runs, a request is sent or an endpoint is opened. Look-ups are sent
// with it held, so that their answers come in the order in which they are noted; a link never
// calls back, so its own locks always come last. What the link has is taken with it held, by the
// one thread that reads (readers.h), so that it is handled in its order. A caller that reads for
// others completes their requests; callbacks it leaves to the library's thread, which is started
// when there is one that may have to be called while nobody waits. A function that waits, and one
// that sends, returns QMI_CLIENT_INTERNAL on that thread.
//
// Endpoints. Look-ups and the first client share one. On the kernel's bus an endpoint is a socket,
// and each socket delays the end of its process by a grace period of the kernel's RCU (8 to 12 ms),
// which is most of what one request costs. The library leaves the bus with the last handle, so that
// the modem sees the end of the first client too.
//
// Results are those of qmi_client_result; time-outs are milliseconds. Functions throw
// std::bad_alloc and std::system_error only. The one instance is made at its first use and never
// destroyed.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "base/mutex.h"
#include "platform/qmi_client.h"
#include "qcci/client/bus.h"
#include "qcci/client/callback_queue.h"
#include "qcci/client/readers.h"
#include "qcci/idl/service.h"
#include "qcci/link/link.h"

namespace qcci {

class Core {
 public:
  // With the link that make_process_link() gives.
  static Core& instance();

  // Up to `capacity` instances of the service's major version are written to `list`, which may be
  // null; their number to *entries, and the number that exist to *services.
  [[nodiscard]] int service_list(qmi_idl_service_object_type service, qmi_service_info* list,
                                 uint32_t capacity, uint32_t* entries, uint32_t* services)
      EXCLUDES(mutex_);
  // *handle is written on success only.
  [[nodiscard]] int open_client(qmi_idl_service_object_type service, const qmi_service_info& info,
                                qmi_client_ind_cb callback, void* data, Handle* handle)
      EXCLUDES(mutex_);
  [[nodiscard]] int open_instance(qmi_idl_service_object_type service, uint32_t instance,
                                  qmi_client_ind_cb callback, void* data, uint32_t timeout_ms,
                                  Handle* handle) EXCLUDES(mutex_);
  // os_params may be null.
  [[nodiscard]] int open_notifier(qmi_idl_service_object_type service,
                                  qmi_client_os_params* os_params, Handle* handle) EXCLUDES(mutex_);
  [[nodiscard]] int register_error(Handle handle, qmi_client_error_cb callback, void* data)
      EXCLUDES(mutex_);
  [[nodiscard]] int register_notify(Handle handle, qmi_client_notify_cb callback, void* data)
      EXCLUDES(mutex_);
  void wait_signal(qmi_client_os_params* os_params, uint32_t timeout_ms) EXCLUDES(mutex_);
  // Sleeps that long; not at all on a link that never opens.
  void wait_for_modem(uint32_t milliseconds);
  // `response` is written on success, and may be after a response that does not decode.
  [[nodiscard]] int send(Handle handle, uint32_t message, const void* request,
                         uint32_t request_length, void* response, uint32_t response_length,
                         uint32_t timeout_ms) EXCLUDES(mutex_);
  // The service that a handle was opened for; null for a handle that is not open.
  [[nodiscard]] qmi_idl_service_object_type service_of(Handle handle) EXCLUDES(mutex_);
  [[nodiscard]] int release(Handle handle) EXCLUDES(mutex_);

 private:
  using Lock = base::Lock;

  // A request that waits for its response, on its sender's stack.
  struct Pending {
    uint16_t message = 0;
    Readers::Waiter* waiter = nullptr;  // once the request has been sent
    std::optional<int> result;          // set once, when the wait is over
    std::vector<uint8_t> response;      // TLVs
    uint64_t events = 0;                // that came before the response
  };

  struct Callbacks {
    qmi_client_ind_cb on_indication = nullptr;
    void* indication_data = nullptr;
    qmi_client_error_cb on_error = nullptr;
    void* error_data = nullptr;
    qmi_client_notify_cb on_notify = nullptr;  // a notifier's; the others are a client's
    void* notify_data = nullptr;
  };

  // A handle's state: a client, or a notifier, which has nothing but a service and callbacks.
  struct Client {
    qmi_idl_service_object_type service = nullptr;
    bool is_notifier = false;
    Endpoint endpoint;
    Address server;
    bool gone = false;  // its service has gone, and does not come back to this client
    bool error_reported = false;
    std::map<uint16_t, Pending*> pending;  // by transaction
    Callbacks callbacks;
  };

  // Keeps the library on the bus, or trying to be there, for a scope, within which the mutex is
  // held at both ends.
  class BusHold {
   public:
    explicit BusHold(Core& core) REQUIRES(core.mutex_) : core_(core) { ++core.bus_holds_; }
    // The analysis does not know that core_.mutex_ is the mutex that the scope holds.
    ~BusHold() NO_THREAD_SAFETY_ANALYSIS {
      --core_.bus_holds_;
      core_.leave_if_idle();
    }
    BusHold(const BusHold&) = delete;
    BusHold& operator=(const BusHold&) = delete;

   private:
    Core& core_;
  };

  explicit Core(std::unique_ptr<Link> link);

  // core.cpp: the handles and the requests.
  Handle add(std::shared_ptr<Client> client) REQUIRES(mutex_);
  std::shared_ptr<Client> find(Handle handle) REQUIRES(mutex_);
  [[nodiscard]] int open_at(qmi_idl_service_object_type service, Address server,
                            qmi_client_ind_cb callback, void* data, Handle* handle)
      REQUIRES(mutex_);
  bool is_there(qmi_idl_service_object_type service, Address server) REQUIRES(mutex_);
  const Instance* find_instance(qmi_idl_service_object_type service, uint32_t instance)
      REQUIRES(mutex_);
  void exchange(Lock& lock, Handle handle, Client& client, std::span<const uint8_t> octets,
                platform::Time deadline, Pending& pending) REQUIRES(mutex_);
  Sent send_on_link(const Client& client, std::span<const uint8_t> octets) REQUIRES(mutex_);
  uint16_t next_transaction(const Client& client) REQUIRES(mutex_);
  void complete(Pending& pending, int result) REQUIRES(mutex_);
  platform::Time modem_deadline(uint32_t timeout_ms) const;

  // core_reading.cpp: what comes from the bus, and the library's thread. A function that takes the
  // lock waits with it.
  void start_thread() REQUIRES(mutex_);
  void run() EXCLUDES(mutex_);
  void run_callbacks() REQUIRES(mutex_);
  void post(Event event) REQUIRES(mutex_);
  void step(Lock& lock, Readers::Waiter& waiter, platform::Time deadline) REQUIRES(mutex_);
  [[nodiscard]] bool tend(Lock& lock, platform::Time* deadline) REQUIRES(mutex_);
  bool take_one() REQUIRES(mutex_);
  void catch_up() REQUIRES(mutex_);
  [[nodiscard]] bool connect(Lock& lock) REQUIRES(mutex_);
  void look_up_known() REQUIRES(mutex_);
  void await_answer(Lock& lock, uint32_t service) REQUIRES(mutex_);
  bool bus_wanted() const REQUIRES(mutex_);
  void on_datagram(const Datagram& datagram) REQUIRES(mutex_);
  void on_message(Handle handle, Client& client, const Datagram& datagram) REQUIRES(mutex_);
  void on_control(const ControlPacket& packet) REQUIRES(mutex_);
  void on_closed(EndpointId endpoint) REQUIRES(mutex_);
  void bus_lost(platform::Duration pause) REQUIRES(mutex_);
  void lose(Handle handle, Client& client) REQUIRES(mutex_);
  void apply(const std::vector<ServiceChange>& changes) REQUIRES(mutex_);
  void leave_if_idle() REQUIRES(mutex_);

  const std::unique_ptr<Link> link_;
  base::Mutex mutex_;
  Bus bus_ GUARDED_BY(mutex_);
  Readers readers_ GUARDED_BY(mutex_);
  CallbackQueue callbacks_;  // on_own_thread() needs no mutex; everything else does

  size_t bus_holds_ GUARDED_BY(mutex_) = 0;
  // When a reader tries again to connect, or to send the look-ups that are missing.
  platform::Time retry_at_ GUARDED_BY(mutex_){};
  bool more_ GUARDED_BY(mutex_) = false;  // the link may have more than was taken

  Handle last_handle_ GUARDED_BY(mutex_) = 0;
  // One sequence for all clients, begun at a random number: a client may get the port that another
  // has just left, and a response on its way to that one must not match a request of its own.
  uint16_t last_transaction_ GUARDED_BY(mutex_);
  std::map<Handle, std::shared_ptr<Client>> clients_ GUARDED_BY(mutex_);
  std::map<EndpointId, Handle> by_endpoint_ GUARDED_BY(mutex_);
};

}  // namespace qcci

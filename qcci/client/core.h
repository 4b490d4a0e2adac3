// The client library's state: the link, the known services, the handles and the library's thread.
//
// Threads. Every public function may be called from any thread. One mutex guards everything; it is
// not held while a callback runs, a request is sent or an endpoint is opened. Look-ups are sent
// with it held, so that their answers come in the order in which they are noted; a link never
// calls back, so its own locks always come last. The library's thread alone receives: it completes
// pending requests with the mutex held, and then runs the callbacks that are due, in order, without
// it. A function that waits, and one that sends, returns QMI_CLIENT_INTERNAL on that thread.
//
// Endpoints. Look-ups and the first client share one. On the kernel's bus an endpoint is a socket,
// and each socket delays the end of its process by a grace period of the kernel's RCU (8 to 12 ms),
// which is most of what one request costs. The library leaves the bus with the last handle, so that
// the modem sees the end of the first client too.
//
// Results are those of qmi_client_result; time-outs are milliseconds. Functions throw
// std::bad_alloc and std::system_error only. The one instance is made at its first use and never
// destroyed.
#ifndef QCCI_CLIENT_CORE_H_
#define QCCI_CLIENT_CORE_H_

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "base/mutex.h"
#include "platform/qmi_client.h"
#include "qcci/client/registry.h"
#include "qcci/idl/service.h"
#include "qcci/link/link.h"

namespace qcci {

using Handle = uint64_t;  // 0: none

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

  // A request that waits for its response, on its sender's stack. Guarded by mutex_.
  struct Pending {
    uint16_t message = 0;
    std::optional<int> result;      // set once, when the wait is over
    std::vector<uint8_t> response;  // TLVs
    std::condition_variable done;
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

  // A callback that is due.
  struct Event {
    enum Kind { kIndication, kError, kNotify } kind;
    Handle handle;
    uint32_t code;                // an indication's message id, or the notify event
    std::vector<uint8_t> octets;  // an indication's TLVs
  };

  // Keeps the library on the bus for a scope, within which the mutex is held at both ends.
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

  // core.cpp: the thread, the handles and the requests.
  void start_thread() REQUIRES(mutex_);
  void run() EXCLUDES(mutex_);
  void on_datagram(const Datagram& datagram) REQUIRES(mutex_);
  void on_message(Handle handle, Client& client, const Datagram& datagram) REQUIRES(mutex_);
  void lose(Handle handle, Client& client) REQUIRES(mutex_);
  void run_callbacks() REQUIRES(mutex_);
  bool on_own_thread() const { return std::this_thread::get_id() == thread_id_.load(); }
  Handle add(std::shared_ptr<Client> client) REQUIRES(mutex_);
  std::shared_ptr<Client> find(Handle handle) REQUIRES(mutex_);
  uint16_t next_transaction(const Client& client) REQUIRES(mutex_);
  Sent send_on_link(const Client& client, std::span<const uint8_t> octets) REQUIRES(mutex_);
  void await_response(Lock& lock, Pending& pending, platform::Time deadline) REQUIRES(mutex_);

  // core_bus.cpp: the bus and the services on it. A function that takes the lock waits with it.
  bool try_open(Endpoint* endpoint);
  [[nodiscard]] bool connect_control(Lock& lock) REQUIRES(mutex_);
  void look_up(uint32_t service) REQUIRES(mutex_);
  bool look_up_known() REQUIRES(mutex_);
  void await_answer(Lock& lock, uint32_t service) REQUIRES(mutex_);
  void on_control(const ControlPacket& packet) REQUIRES(mutex_);
  void on_closed(EndpointId endpoint) REQUIRES(mutex_);
  void bus_lost() REQUIRES(mutex_);
  void leave_if_idle() REQUIRES(mutex_);
  void apply(const std::vector<ServiceChange>& changes) REQUIRES(mutex_);
  bool bus_wanted() const REQUIRES(mutex_);
  platform::Time modem_deadline(uint32_t timeout_ms) const;
  bool is_there(qmi_idl_service_object_type service, Address server) REQUIRES(mutex_);
  const Instance* find_instance(qmi_idl_service_object_type service, uint32_t instance)
      REQUIRES(mutex_);

  const std::unique_ptr<Link> link_;
  base::Mutex mutex_;
  // Notified when services, the bus, or the callback that runs have changed.
  std::condition_variable changed_;
  bool started_ GUARDED_BY(mutex_) = false;
  std::atomic<std::thread::id> thread_id_;

  // The endpoint of the look-ups, while the library is on a bus.
  std::optional<Endpoint> control_ GUARDED_BY(mutex_);
  bool control_shared_ GUARDED_BY(mutex_) = false;  // a client has, or had, the same endpoint
  size_t bus_holds_ GUARDED_BY(mutex_) = 0;
  // How many buses have been lost: an endpoint opened before a loss is of no use after it.
  uint64_t bus_ GUARDED_BY(mutex_) = 0;
  // No attempt to connect before then.
  platform::Time no_bus_until_ GUARDED_BY(mutex_){};
  bool connecting_ GUARDED_BY(mutex_) = false;  // one of the threads is
  size_t waiting_openers_ GUARDED_BY(mutex_) = 0;
  Registry registry_ GUARDED_BY(mutex_);

  Handle last_handle_ GUARDED_BY(mutex_) = 0;
  // One sequence for all clients, begun at a random number: a client may get the port that another
  // has just left, and a response on its way to that one must not match a request of its own.
  uint16_t last_transaction_ GUARDED_BY(mutex_);
  std::map<Handle, std::shared_ptr<Client>> clients_ GUARDED_BY(mutex_);
  std::map<EndpointId, Handle> by_endpoint_ GUARDED_BY(mutex_);
  std::deque<Event> due_ GUARDED_BY(mutex_);
  Handle running_ GUARDED_BY(mutex_) = 0;  // whose callback runs now
};

}  // namespace qcci

#endif  // QCCI_CLIENT_CORE_H_

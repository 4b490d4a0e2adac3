// The client library's one state: the link, the services, the handles, and the library's thread.
//
// One mutex guards everything; it is not held while a callback runs, a request is sent or an
// endpoint is opened. (Look-ups are sent under it, so that their answers come in the order in which
// they are noted; no link calls back, so its own locks always come last.) The library's thread
// alone receives: it completes pending requests under the mutex and then runs the callbacks that
// have become due, in order, without it.
//
// Look-ups and the first client share an endpoint. On the kernel's bus an endpoint is a socket, and
// every socket that goes keeps its process for a grace period of the kernel's RCU: that is most of
// what one request costs. So that a modem hears of the end of that client too, the library leaves
// the bus with the last of its handles.
//
// The state is made at the first use, and lives until the process ends.
#ifndef QCCI_CLIENT_CORE_H_
#define QCCI_CLIENT_CORE_H_

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "platform/qmi_client.h"
#include "qcci/client/registry.h"
#include "qcci/idl/service.h"
#include "qcci/link/link.h"

namespace qcci {

using Handle = uint64_t;  // 0: none

class Core {
 public:
  static Core& instance();
  // For tests, before the first use of instance(): the link instead of the platform's.
  static void use_link(std::unique_ptr<Link> link);

  int service_list(qmi_idl_service_object_type service, qmi_service_info* list, uint32_t capacity,
                   uint32_t* entries, uint32_t* services);
  int open_client(qmi_idl_service_object_type service, const qmi_service_info& info,
                  qmi_client_ind_cb callback, void* data, Handle* handle);
  int open_instance(qmi_idl_service_object_type service, uint32_t instance,
                    qmi_client_ind_cb callback, void* data, uint32_t timeout_ms, Handle* handle);
  int open_notifier(qmi_idl_service_object_type service, qmi_client_os_params* os_params,
                    Handle* handle);
  int register_error(Handle handle, qmi_client_error_cb callback, void* data);
  int register_notify(Handle handle, qmi_client_notify_cb callback, void* data);
  void wait_signal(qmi_client_os_params* os_params, uint32_t timeout_ms);
  // Sleeps, unless no modem can come.
  void wait_for_modem(uint32_t milliseconds);
  int send(Handle handle, uint32_t message, const void* request, uint32_t request_length,
           void* response, uint32_t response_length, uint32_t timeout_ms);
  // The service that a handle is of; null when it is none.
  qmi_idl_service_object_type service_of(Handle handle);
  int release(Handle handle);

 private:
  using Lock = std::unique_lock<std::mutex>;

  // A request on its way; lives on its sender's stack.
  struct Pending {
    uint16_t message = 0;
    std::optional<int> result;
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

  struct Client {
    qmi_idl_service_object_type service = nullptr;
    bool is_notifier = false;  // then it has callbacks only
    Endpoint endpoint;
    Address server;
    bool gone = false;
    bool error_told = false;
    std::map<uint16_t, Pending*> pending;
    Callbacks callbacks;
  };

  // A callback that is due.
  struct Event {
    enum Kind { kIndication, kError, kNotify } kind;
    Handle handle;
    uint32_t code;                // message id, or notify event
    std::vector<uint8_t> octets;  // an indication's TLVs
  };

  // While there is one, the library does not leave the bus. Made and ended under the mutex.
  class Stay {
   public:
    explicit Stay(Core& core) : core_(core) { ++core_.stays_; }
    ~Stay() {
      --core_.stays_;
      core_.leave_if_idle();
    }
    Stay(const Stay&) = delete;
    Stay& operator=(const Stay&) = delete;

   private:
    Core& core_;
  };

  explicit Core(std::unique_ptr<Link> link);

  void start_thread();
  void run();
  void on_datagram(const Datagram& datagram);
  void on_control(const ControlPacket& packet);
  void on_message(Handle handle, Client& client, const Datagram& datagram);
  void on_closed(EndpointId endpoint);
  void bus_lost();
  void leave_if_idle();
  void apply(const std::vector<ServiceChange>& changes);
  void lose(Handle handle, Client& client);
  void run_callbacks(Lock& lock);

  platform::Time modem_deadline(uint32_t timeout_ms) const;
  bool on_own_thread() const { return std::this_thread::get_id() == thread_id_.load(); }
  bool try_open(Endpoint* endpoint);
  bool connect_control(Lock& lock);
  void look_up(uint32_t service);
  bool look_up_known();
  void await_answer(Lock& lock, uint32_t service);
  bool is_there(qmi_idl_service_object_type service, Address server);
  const Instance* find_instance(qmi_idl_service_object_type service, uint32_t instance);
  bool anybody_waits_for_a_bus() const;
  Handle add(std::shared_ptr<Client> client);
  std::shared_ptr<Client> find(Handle handle);

  const std::unique_ptr<Link> link_;
  std::mutex mutex_;
  std::condition_variable changed_;  // services, the bus, the running callback
  bool started_ = false;
  std::atomic<std::thread::id> thread_id_;
  std::optional<Endpoint> control_;
  bool control_shared_ = false;  // a client has, or had, its endpoint
  size_t stays_ = 0;
  uint64_t bus_ = 0;  // how many have been lost: an endpoint of an earlier one is worth nothing
  platform::Time
      no_bus_until_{};  // a bus that went away or does not answer is left alone till then
  bool connecting_ = false;
  size_t waiting_openers_ = 0;
  Registry registry_;
  Handle last_handle_ = 0;
  // Of whatever client, and begun anywhere: a client may get the port that another has just left,
  // and an answer that is still on its way there must not look like one of its own.
  uint16_t last_transaction_;
  std::map<Handle, std::shared_ptr<Client>> clients_;
  std::map<EndpointId, Handle> by_endpoint_;
  std::deque<Event> due_;
  Handle running_ = 0;  // whose callback runs now
};

}  // namespace qcci

#endif  // QCCI_CLIENT_CORE_H_

// The one mechanism behind the four service clients: `vs`, `sar`, `nas_0`, `nas_1`.
//
// A client connects with a bounded number of attempts, notices when its service goes, drops its
// handle, waits for the service to come back and reconnects, and reports each change of state.
// Differences between the services are in their Member rows; their prefixed operations are
// forwards.
//
// Threads. Every operation may be called from any thread. The mutex guards the context and is held
// neither while a callback runs nor while the modem is waited for. Suspending and resuming run on
// detached threads, each for the generation of the context in which it was started: `release`
// begins the next one, after which an old thread changes nothing, reports nothing and releases what
// it holds. Once release has returned, no callback of that generation is running or will run (but
// for the one that called release).
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>

#include "base/mutex.h"
#include "common/trace.h"
#include "platform/qmi_client.h"

// The numbers by which callers of the client manager name a service client.
enum ModemApiClientType : uint32_t {
  kModemApiVs = 0,
  kModemApiSar = 1,
  kModemApiNas0 = 2,
  kModemApiNas1 = 3,
  kModemApiClientTypes = 4,
};

// The states of a connection, and what reports them. A member that does not suspend reports
// RELEASED alone.
//
//   client_init          CONNECTING, then CONNECTED or CONNECT_FAILED
//   the service goes     SUSPENDING, then SUSPENDED; RELEASED when no thread can be started
//   it comes back        RESUMING, then CONNECTED or RESUME_FAILED
//   release              RELEASED
//
// After a failure there is no connection: the client is to be released and initialised again.
enum ModemApiOperationalStatus : uint64_t {
  OP_STATUS_RELEASED = 0,
  OP_STATUS_CONNECTING = 1,
  OP_STATUS_CONNECT_FAILED = 2,
  OP_STATUS_CONNECTED = 3,
  OP_STATUS_SUSPENDING = 4,
  OP_STATUS_SUSPENDED = 5,
  OP_STATUS_RESUMING = 6,
  OP_STATUS_RESUME_FAILED = 7,
};

extern "C" {
// An event: its id and its structure, `length` octets that are valid during the call only. Called
// on the client library's thread.
typedef void (*modem_api_indication_cb)(uint32_t event_id, const void* data, uint32_t length);
typedef void (*modem_api_operational_cb)(uint32_t client_type, uint64_t operational_status);
}

namespace vireo {

// The names that a member's trace lines bear, and where the member stands.
struct MemberNames {
  const char* file;
  int line;
  const char *init, *client_init, *set_status, *connect, *send, *set_indications, *release,
      *master_port, *unsol_ind, *ind_hdlr, *service_down, *enter_suspend, *release_thread,
      *enter_resume, *resume_thread;
};
#define VIREO_MEMBER_NAMES(prefix)                                                                 \
  {                                                                                                \
    __FILE__, __LINE__, prefix "_init", prefix "_client_init",                                     \
        prefix "_client_set_operational_status_callback", prefix "_client_init_client_handles",    \
        prefix "_client_send_msg_sync", prefix "_client_set_networking_indications",               \
        prefix "_client_release", prefix "_client_get_master_port", prefix "_client_unsol_ind_cb", \
        prefix "_client_ind_hdlr", prefix "_client_service_down_event",                            \
        prefix "_client_enter_suspend", prefix "_client_release_qmi_client_thread",                \
        prefix "_client_enter_resume", prefix "_client_resume_qmi_client_thread"                   \
  }

// A member's own functions, as the client library calls them, and the names of all of them.
struct MemberFunctions {
  qmi_client_ind_cb on_indication;
  qmi_client_error_cb on_service_down;
  qmi_client_notify_cb on_service_up;
  MemberNames names;
};

constexpr int kNoSubscription = -1;

// How a member differs from the others. A row is of static lifetime: its client keeps a reference.
struct Member {
  ModemApiClientType type;
  qmi_idl_service_object_type (*get_service)(int32_t major, int32_t minor, int32_t tool);
  int32_t major, minor, tool;          // the version of the service that get_service is asked for
  int subscription = kNoSubscription;  // bound to after every attempt; none: and no registration
  bool suspends = true;                // and reports its status
  const char* no_memory = "Unexpected NULL pointer!";  // traced when an indication finds none
  // Turns a decoded indication into an event; false for an id without a row.
  bool (*handle)(uint32_t message_id, const void* decoded,
                 modem_api_indication_cb callback) = nullptr;
  MemberFunctions own;
};

// One member's connection. init comes first, then set_status_callback, then client_init; they may
// be repeated after a release.
class ServiceClient {
 public:
  explicit ServiceClient(const Member& member) : member_(member) {}

  // The service's object, null when there is none. Ends what was not released.
  qmi_idl_service_object_type init() EXCLUDES(mutex_);
  // Connects: ten attempts, a second apart. 1 when connected, 0 after the last attempt or when
  // another thread has released the client meanwhile.
  [[nodiscard]] int client_init(modem_api_indication_cb callback) EXCLUDES(mutex_);
  void set_status_callback(modem_api_operational_cb callback) EXCLUDES(mutex_);
  // The client library's result; lengths are those of the C structures, in octets. Gives up after
  // 30 seconds. QMI_CLIENT_PORT_NOT_OPEN while there is no connection.
  [[nodiscard]] int send(uint32_t message_id, const void* request, uint32_t request_len,
                         void* response, uint32_t response_len) EXCLUDES(mutex_);
  // Registers for the reports of NAS; for NAS members alone. The client library's result.
  [[nodiscard]] int set_networking_indications() EXCLUDES(mutex_);
  // Reports OP_STATUS_RELEASED, closes the connection and forgets the callbacks. 1.
  int release() EXCLUDES(mutex_);
  uint32_t master_port() const;

  // What the client library calls back.

  void unsol_indication(qmi_client_type client, uint32_t message_id, const void* encoded,
                        uint32_t length) EXCLUDES(mutex_);
  void service_down(qmi_client_type client, int error) EXCLUDES(mutex_);
  void service_up(qmi_client_type notifier, qmi_client_notify_event event) EXCLUDES(mutex_);

 private:
  using Generation = uint64_t;
  struct Context {
    qmi_idl_service_object_type service = nullptr;
    qmi_client_type client = nullptr;
    // Shared with the threads that give it to the client library: it lasts as long as any client or
    // notifier that was made with it.
    std::shared_ptr<qmi_client_os_params> os_params = std::make_shared<qmi_client_os_params>();
    qmi_client_type notifier = nullptr;
    modem_api_indication_cb on_event = nullptr;
    modem_api_operational_cb on_status = nullptr;
    bool resuming = false;
    bool announcing = false;  // connected, but that has not been reported yet
    bool lost = false;        // meanwhile the service has gone
  };

  const MemberNames& names() const { return member_.own.names; }
  // The member's function of that name.
  TraceSite site(const char* name) const { return {name, names().file, names().line}; }

  // The connected client, or null.
  [[nodiscard]] qmi_client_type client() EXCLUDES(mutex_);
  [[nodiscard]] bool connect(Generation generation) EXCLUDES(mutex_);
  void announce(Generation generation, bool connected, ModemApiOperationalStatus failure)
      EXCLUDES(mutex_);
  void bind(qmi_client_type client) EXCLUDES(mutex_);
  [[nodiscard]] int register_indications(qmi_client_type client) EXCLUDES(mutex_);
  void report(Generation generation, ModemApiOperationalStatus status) EXCLUDES(mutex_);
  void enter_suspend(Generation generation) EXCLUDES(mutex_);
  [[nodiscard]] qmi_client_type take_client(Generation generation) EXCLUDES(mutex_);
  void release_thread(Generation generation) EXCLUDES(mutex_);
  void resume_thread(Generation generation) EXCLUDES(mutex_);
  void end_resuming(Generation generation) EXCLUDES(mutex_);
  // Runs on a detached thread; false when there is none to be had.
  [[nodiscard]] bool start(void (ServiceClient::*body)(Generation), Generation generation)
      EXCLUDES(mutex_);
  // Until no status callback but the caller's own is running.
  void await_reports() EXCLUDES(mutex_);
  [[nodiscard]] Context next_generation() EXCLUDES(mutex_);
  void give_back(const Context& context) EXCLUDES(mutex_);

  const Member& member_;
  base::Mutex mutex_;
  std::condition_variable reported_;
  Generation generation_ GUARDED_BY(mutex_) = 0;
  int reports_ GUARDED_BY(mutex_) = 0;  // status callbacks that are running
  Context context_ GUARDED_BY(mutex_);
};

}  // namespace vireo

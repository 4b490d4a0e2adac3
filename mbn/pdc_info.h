// The state of the PDC client, and what the module's parts do to it. For mbn/ alone.
#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>

#include "base/mutex.h"
#include "common/trace.h"
#include "mbn/pdc_utils.h"

namespace pdc {

// One kind of request: what it is called and what its indication is like.
struct RequestKind {
  int req_type;
  const char* name;
  uint16_t message;
  uint32_t indication_size;  // octets of the C structure
  void (*handler)(void* ind, unsigned int len);
};
inline constexpr size_t kKinds = 10;
extern const RequestKind kRequestKinds[kKinds];

// Index into kRequestKinds; any other number counts as PDC_REQ_DEFAULT_INFO.
constexpr size_t index_of(int req_type) {
  const bool own = req_type >= PDC_REQ_LIST && req_type <= PDC_REQ_SET_FEATURE;
  return static_cast<size_t>(own ? req_type - PDC_REQ_LIST : PDC_REQ_DEFAULT_INFO - PDC_REQ_LIST);
}

struct Context {
  uint32_t busy = 0;     // a caller has it
  uint32_t waiting = 0;  // the caller waits, its timer runs
  uint32_t done = 0;     // by indication or expiry
  int32_t result = 0;
  std::condition_variable ended;
  uint32_t timer_id = 0;  // 0: none runs
};

}  // namespace pdc

struct pdc_info_s_type {
  base::Mutex mutex;
  qmi_idl_service_object_type service GUARDED_BY(mutex) = nullptr;
  qmi_client_type client GUARDED_BY(mutex) = nullptr;  // null: not connected
  qmi_client_os_params os_params{};  // the client library's, for as long as there is a client
  std::array<pdc::Context, pdc::kKinds> contexts GUARDED_BY(mutex);

  pdc_config_pdc_info current GUARDED_BY(mutex){};  // of the last PDC_REQ_GET_SELECTED

  // The list that is being gathered; the arrays are the caller's.
  uint32_t is_pdc_list_handling GUARDED_BY(mutex) = 0;
  pdc_config_type_enum_v01 list_type GUARDED_BY(mutex) = PDC_CONFIG_TYPE_PLATFORM;
  unsigned int* num_of_configs GUARDED_BY(mutex) = nullptr;
  pdc_config_info** config_list_holder GUARDED_BY(mutex) = nullptr;
  unsigned int list_room GUARDED_BY(mutex) = 0;
  // Where in the list the last indication's configurations begin.
  unsigned int last_frame GUARDED_BY(mutex) = 0;
  uint32_t follow_up_timer GUARDED_BY(mutex) = 0;  // 0: none is awaited

  pdc::Context& context(int req_type) REQUIRES(mutex) { return contexts[pdc::index_of(req_type)]; }
};

namespace pdc {

// The one instance. Never destroyed: threads may still wait on it when the process ends.
pdc_info_s_type& info();

// Whether an indication of the kind is there and says success; traces what is wrong with it.
[[nodiscard]] bool succeeded(const RequestKind& kind, const void* ind, unsigned int len);
// Whether the request that is under way has its outcome already, which holds whatever comes after
// it.
[[nodiscard]] bool has_outcome(int req_type) REQUIRES(info().mutex);
// Ends the kind's request and wakes who waits for it.
void complete(int req_type, int32_t result) REQUIRES(info().mutex);
// A whole indication handler, for the kinds whose outcome is all there is.
void handle_outcome(TraceSite handler, int req_type, const void* ind, unsigned int len);

// Sends a list request. The client library's result.
[[nodiscard]] int send_list_request(qmi_client_type client, pdc_config_type_enum_v01 type,
                                    pdc_plain_resp* response) EXCLUDES(info().mutex);

}  // namespace pdc

extern "C" {

// A timer's callback: asks for more of the list.
void qmi_pdc_list_configs_follow_up_request(union sigval value);

// The request timers.

// The slot of a kind's timer.
uint32_t* qmi_pdc_request_timer_get_ptr_by_req_type(int req_type) REQUIRES(pdc::info().mutex);
// The slot that holds a running timer; null, after an error trace, when none does.
uint32_t* qmi_pdc_request_timer_get_ptr_by_timer_id(unsigned int timer_id)
    REQUIRES(pdc::info().mutex);
// Its kind; -1, after the same trace, when there is none.
int qmi_pdc_request_timer_get_req_type_by_timer_id(unsigned int timer_id)
    REQUIRES(pdc::info().mutex);
// 0, or -1 when no timer can be had.
[[nodiscard]] int qmi_pdc_request_timer_start(int req_type) REQUIRES(pdc::info().mutex);
void qmi_pdc_request_timer_stop(int req_type) REQUIRES(pdc::info().mutex);
// A timer's callback: ends every request that waits, whichever timer expired. One that was stopped
// when it had already expired ends them too; that it holds no slot any more is traced.
void qmi_pdc_request_timer_timeout_proc(union sigval value);

}  // extern "C"

// The request timers: what ends a request whose indication never comes.

#include "mbn/pdc_info.h"
#include "platform/timer.h"

namespace {

constexpr unsigned long kRequestTimeoutS = 5;

// The context whose timer it is; null, after an error trace, when none has it.
pdc::Context* find(uint32_t timer_id) REQUIRES(pdc::info().mutex) {
  for (pdc::Context& context : pdc::info().contexts) {
    if (timer_id != 0 && context.timer_id == timer_id) return &context;
  }
  TRACE_ERROR("not find this timer_id(%u)", timer_id);
  return nullptr;
}

int req_type_of(const pdc::Context& context) REQUIRES(pdc::info().mutex) {
  return static_cast<int>(&context - pdc::info().contexts.data()) + PDC_REQ_LIST;
}

}  // namespace

extern "C" uint32_t* qmi_pdc_request_timer_get_ptr_by_req_type(int req_type) {
  return &pdc::info().context(req_type).timer_id;
}

extern "C" uint32_t* qmi_pdc_request_timer_get_ptr_by_timer_id(unsigned int timer_id) {
  const Operation operation(__func__);
  pdc::Context* context = find(timer_id);
  return context != nullptr ? &context->timer_id : nullptr;
}

extern "C" int qmi_pdc_request_timer_get_req_type_by_timer_id(unsigned int timer_id) {
  const Operation operation(__func__);
  const pdc::Context* context = find(timer_id);
  return context != nullptr ? req_type_of(*context) : -1;
}

extern "C" int qmi_pdc_request_timer_start(int req_type) {
  const Operation operation(__func__);
  uint32_t* timer_id = qmi_pdc_request_timer_get_ptr_by_req_type(req_type);
  if (*timer_id != 0) {
    TRACE_DEBUG("find the timer is running, will stop it af first, timer_id = %u, req_type = %d",
                *timer_id, req_type);
    qmi_pdc_request_timer_stop(req_type);
  }
  const uint32_t started = kelvor_timer_start(qmi_pdc_request_timer_timeout_proc, kRequestTimeoutS);
  TRACE_DEBUG("req_type = %d, timer_id = %u", req_type, started);
  *timer_id = started;
  return started != 0 ? 0 : -1;
}

extern "C" void qmi_pdc_request_timer_stop(int req_type) {
  const Operation operation(__func__);
  uint32_t* timer_id = qmi_pdc_request_timer_get_ptr_by_req_type(req_type);
  TRACE_DEBUG("req_type = %d, timer_id = %u", req_type, *timer_id);
  kelvor_timer_stop(*timer_id);
  *timer_id = 0;
}

extern "C" void qmi_pdc_request_timer_timeout_proc(union sigval value) {
  const Operation operation(__func__);
  const uint32_t timer_id = static_cast<uint32_t>(value.sival_int);
  TRACE_DEBUG("timer_id = %u", timer_id);
  kelvor_timer_stop(timer_id);

  const base::Lock lock(pdc::info().mutex);
  for (size_t i = 0; i < pdc::kKinds; ++i) {
    pdc::Context& context = pdc::info().contexts[i];
    if (context.waiting == 0 || context.done != 0) continue;
    TRACE_DEBUG("%s is waiting, will stop it.", pdc::kRequestKinds[i].name);
    context.result = PDC_FAILED;
    context.ended.notify_one();
    context.done = 1;
  }
  pdc::Context* expired = find(timer_id);
  if (expired == nullptr) return;
  expired->timer_id = 0;
  TRACE_DEBUG("reset this timer_id(%u), req_type = %d.", timer_id, req_type_of(*expired));
}

// The operations on carrier configurations with odd arguments, on a modem that answers, indicates
// and lets timers expire as the input says.

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>
#include <tuple>
#include <vector>

#include "common/qcril_mem.h"
#include "fed.h"
#include "mbn/kelvor_mbn_utils.h"
#include "mbn/pdc_info.h"
#include "platform/timer.h"

namespace {

using fed::octet;

std::atomic<uint32_t> g_timers = 0;
thread_local std::vector<uint32_t> g_follow_ups;
// Those in which a timer of a request expires: the request's caller waits meanwhile.
std::vector<std::thread> g_threads GUARDED_BY(pdc::info().mutex);

sigval value_of(uint32_t timer) {
  sigval value{};
  value.sival_int = static_cast<int>(timer);
  return value;
}

// One indication, or none of the services's, and what the product does because of it.
void indicate() {
  const pdc::RequestKind& kind = pdc::kRequestKinds[octet() % pdc::kKinds];
  const uint8_t how = octet();
  const uint32_t message = how == 0xFF ? octet() : kind.message;
  if (how == 0xFE) {
    std::vector<uint8_t> any(octet());
    kind.handler(any.size() > 1 ? any.data() : nullptr, static_cast<unsigned int>(any.size()));
  } else {
    fed::deliver(qcci::idl::kPdcService, message, qmi_pdc_unsol_ind_cb);
  }
  while (!g_follow_ups.empty()) {
    const uint32_t timer = g_follow_ups.back();
    g_follow_ups.pop_back();
    qmi_pdc_list_configs_follow_up_request(value_of(timer));
  }
}

// ---- the operations, with odd arguments

pdc_config_type_enum_v01 type() { return static_cast<pdc_config_type_enum_v01>(octet() & 1); }

// Into an array of exactly its room.
void list() {
  const uint8_t room = octet();
  std::vector<pdc_config_info*> configs(room);
  unsigned int count = room;
  const int result = pdc_list_configs(type(), room == 0xFF ? nullptr : configs.data(), &count);
  if (count > room || (result != PDC_OK && room < 0xFF && count != 0)) std::abort();
  while (result == PDC_OK && count > 0) qcril_free(configs[--count]);
}
void get_current() {
  pdc_config_pdc_info id{};
  std::ignore = pdc_get_current_config(octet() == 0xFF ? nullptr : &id, type(), octet());
  if (id.id_len > sizeof id.id) std::abort();
}
void select() {
  pdc_config_pdc_info id{octet(), {}};
  std::ignore = pdc_select_config(id.id_len == 0xFF ? nullptr : &id, type(), octet());
}

constexpr void (*kCalls[])() = {
    list,
    get_current,
    select,
    indicate,
    pdc_clean,
    fed::with_numbers<pdc_activate_config_ex>,
    fed::with_numbers<pdc_deactivate_config>,
    fed::with_numbers<kelvor_mbn_init>,
    fed::with_numbers<kelvor_refresh_mbn>,
    fed::with_numbers<kelvor_refresh_sw_mbn>,
    fed::with_numbers<kelvor_reactivate_mbn>,
    fed::with_numbers<kelvor_reactivate_sw_mbn>,
    fed::with_numbers<kelvor_mbn_deactivate_config>,
};

// When this returns, nothing of the operation is left.
void finish() {
  for (;;) {
    std::thread next;
    {
      const base::Lock lock(pdc::info().mutex);
      for (const pdc::Context& context : pdc::info().contexts) {
        if (context.busy != 0 || context.waiting != 0) std::abort();
      }
      if (g_threads.empty()) break;
      next = std::move(g_threads.back());
      g_threads.pop_back();
    }
    next.join();
  }
  if (qcril_mem_blocks() != 0) std::abort();
}

}  // namespace

int fed::answer(qmi_client_type client, uint32_t message, const void* request, uint32_t length,
                void* response, uint32_t room) {
  for (int early = octet() % 4; early > 0; --early) indicate();
  return respond(client, message, request, length, response, room);
}

extern "C" {

// Called with the mutex held.
uint32_t kelvor_timer_start(kelvor_timer_callback callback,
                            unsigned long) NO_THREAD_SAFETY_ANALYSIS {
  const uint8_t what = octet();
  if (what == 0xFF) return 0;
  const uint32_t timer = ++g_timers;
  if (callback == qmi_pdc_list_configs_follow_up_request) {
    g_follow_ups.push_back(timer);
    return timer;
  }
  g_threads.emplace_back([timer, callback, part = fed::octets(what)] {
    fed::g_input = part;
    while (!fed::g_input.empty()) indicate();
    callback(value_of(timer));
  });
  return timer;
}
int32_t kelvor_timer_stop(uint32_t) { return 0; }
int32_t kelvor_nvefs_sync(void) { return 0; }

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  fed::g_input = {data, size};
  std::ignore = kelvor_mbn_init(1);
  while (!fed::g_input.empty()) {
    kCalls[octet() % std::size(kCalls)]();
    finish();
  }
  return 0;
}

}  // extern "C"

// Every PDC indication, of any octets, while a request of every kind may wait for it. Input: the
// caller's room; then, repeated, the message id, two octets for the length, the octets.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "common/qcril_mem.h"
#include "fed.h"
#include "mbn/pdc_info.h"
#include "platform/timer.h"

namespace {

uint32_t g_timers = 0;
std::vector<uint32_t> g_follow_ups;

// A list request in progress, into an array of exactly its room.
class Gathering {
 public:
  explicit Gathering(unsigned int room) : holder_(room) {
    const base::Lock lock(pdc::info().mutex);
    pdc_info_s_type& state = pdc::info();
    state.num_of_configs = &count_;
    state.config_list_holder = holder_.data();
    state.list_room = room;
    state.last_frame = 0;
    state.is_pdc_list_handling = 1;
    for (pdc::Context& context : state.contexts) {
      context.done = 0;
      context.busy = context.waiting = 1;
    }
  }
  ~Gathering() {
    {
      const base::Lock lock(pdc::info().mutex);
      pdc_info_s_type& state = pdc::info();
      state.is_pdc_list_handling = 0;
      state.num_of_configs = nullptr;
      state.config_list_holder = nullptr;
      state.follow_up_timer = 0;
    }
    if (count_ > holder_.size()) std::abort();
    while (count_ > 0) qcril_free(holder_[--count_]);
    if (qcril_mem_blocks() != 0) std::abort();
  }

 private:
  unsigned int count_ = 0;
  std::vector<pdc_config_info*> holder_;
};

}  // namespace

int fed::answer(qmi_client_type, uint32_t, const void*, uint32_t, void*, uint32_t) { return 0; }
int fed::indication(uint32_t message, std::span<const uint8_t> wire, void* c, uint32_t room) {
  return decode(qcci::idl::kPdcService, QMI_IDL_INDICATION, message, wire, c, room);
}

extern "C" {

uint32_t kelvor_timer_start(kelvor_timer_callback callback, unsigned long) {
  ++g_timers;
  if (callback == qmi_pdc_list_configs_follow_up_request) g_follow_ups.push_back(g_timers);
  return g_timers;
}
int32_t kelvor_timer_stop(uint32_t) { return 0; }
int32_t kelvor_nvefs_sync(void) { return 0; }

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool ready = pdc_init() == 0;
  if (!ready || size < 1) return 0;
  const Gathering gathering(data[0]);
  const uint8_t* at = data + 1;
  // Message id, length, octets, and again.
  while (data + size - at >= 3) {
    const uint32_t message = at[0];
    const uint32_t stated = at[1] | static_cast<uint32_t>(at[2]) << 8;
    const uint32_t length = std::min(stated, static_cast<uint32_t>(data + size - at - 3));
    const std::vector<uint8_t> octets(at + 3, at + 3 + length);
    at += 3 + length;
    qmi_pdc_unsol_ind_cb(nullptr, message, octets.data(), length, nullptr);
    while (!g_follow_ups.empty()) {
      sigval value{};
      value.sival_int = static_cast<int>(g_follow_ups.back());
      g_follow_ups.pop_back();
      qmi_pdc_list_configs_follow_up_request(value);
    }
  }
  return 0;
}

}  // extern "C"

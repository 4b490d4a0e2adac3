// The list of configurations, which comes in several indications: each that says "more available"
// is followed by another request, from a timer's thread, since the client library's must not wait.

#include <algorithm>
#include <cstring>

#include "common/qcril_mem.h"
#include "mbn/pdc_info.h"
#include "platform/timer.h"

namespace {

using pdc::info;

#define FLAG "pdc_list_configs_flag, "

// get_list_complete as both messages print it, which are written for incomplete lists only.
constexpr int kNotComplete = 0;

// Whether the indication is the last one once more, as an id that it repeats says.
bool is_duplicate(const pdc_list_configs_ind& ind) REQUIRES(info().mutex) {
  if (*info().num_of_configs == 0 || ind.configs_valid == 0 || ind.configs_len == 0) return false;
  const pdc_config& last = info().config_list_holder[info().last_frame]->config;
  const pdc_config& now = ind.configs[0];
  return last.type == now.type && last.id_len == now.id_len &&
         std::memcmp(last.id, now.id, std::min<size_t>(now.id_len, sizeof now.id)) == 0;
}

// Appends what the indication has. False when it cannot be kept.
bool append(const pdc_list_configs_ind& ind) REQUIRES(info().mutex) {
  const uint32_t reported = ind.configs_valid != 0 ? ind.configs_len : 0;
  TRACE_DEBUG(FLAG "config_list_len %d, old num_of_configs %d", reported, *info().num_of_configs);
  for (uint32_t i = 0; i < reported; ++i) {
    if (*info().num_of_configs == info().list_room) {
      return TRACED_ERROR(false, FLAG "more configs than there is room for: %u", info().list_room);
    }
    auto* element = static_cast<pdc_config_info*>(qcril_malloc(sizeof(pdc_config_info)));
    if (element == nullptr) {
      return TRACED_ERROR(false, FLAG "Unable to allocate memory for the list element: %d", i);
    }
    element->config = ind.configs[i];
    info().config_list_holder[(*info().num_of_configs)++] = element;
  }
  TRACE_DEBUG(FLAG "new num_of_configs %d", *info().num_of_configs);
  return true;
}

// Whether the list that a follow-up timer belongs to still goes on: it may have ended, and another
// begun.
bool still_wanted(uint32_t timer_id) REQUIRES(info().mutex) {
  return info().is_pdc_list_handling != 0 && info().follow_up_timer == timer_id &&
         info().context(PDC_REQ_LIST).done == 0;
}

// Ends the list when it can be neither continued nor completed.
void abort_list() REQUIRES(info().mutex) {
  TRACE_ERROR(FLAG "Abort to req, get_list_complete %d", kNotComplete);
  pdc::complete(PDC_REQ_LIST, PDC_FAILED);
}

}  // namespace

extern "C" void qmi_pdc_list_configs_ind_hdlr(void* ind_data, unsigned int len) {
  const Operation operation(__func__);
  const base::Lock lock(info().mutex);
  if (info().is_pdc_list_handling == 0 || pdc::has_outcome(PDC_REQ_LIST)) {
    TRACE_DEBUG(FLAG "g_pdc_info.is_pdc_list_handling is not running, do nothing");
    return;
  }
  if (ind_data == nullptr || len != sizeof(pdc_list_configs_ind) ||
      info().num_of_configs == nullptr || info().config_list_holder == nullptr) {
    TRACE_ERROR(FLAG
                "NULL pointer for ind_data_ptr or  g_pdc_info.num_of_configs or "
                "g_pdc_info.config_list_holder");
    abort_list();
    return;
  }
  const auto& ind = *static_cast<const pdc_list_configs_ind*>(ind_data);
  if (ind.error != 0) {
    TRACE_ERROR(FLAG "QMI error, error code: %d", ind.error);
    abort_list();
    return;
  }
  if (is_duplicate(ind)) {
    TRACE_DEBUG(FLAG "the indication came twice, do nothing");
    return;
  }
  const uint32_t before = *info().num_of_configs;
  if (!append(ind)) {
    abort_list();
    return;
  }
  info().last_frame = before;
  if (ind.more_available_valid != 0 && ind.more_available != 0) {
    // A modem that promises more but sends nothing would be asked for ever.
    if (*info().num_of_configs == before) {
      abort_list();
      return;
    }
    TRACE_DEBUG(FLAG "Continue to req, get_list_complete %d", kNotComplete);
    info().follow_up_timer = kelvor_timer_start(qmi_pdc_list_configs_follow_up_request, 0);
    if (info().follow_up_timer == 0) abort_list();
    return;
  }
  if (*info().num_of_configs == 0) TRACE_DEBUG(FLAG "None MBN available in modem EFS");
  pdc::complete(PDC_REQ_LIST, PDC_OK);
}

extern "C" void qmi_pdc_list_configs_follow_up_request(union sigval value) {
  const Operation operation(__func__);
  TRACE_DEBUG("qmi_pdc_list_configs_follow_up_request, timer_id = %d", value.sival_int);
  const uint32_t id = static_cast<uint32_t>(value.sival_int);
  base::Lock lock(info().mutex);
  if (!still_wanted(id)) return;
  const pdc::Context& context = info().context(PDC_REQ_LIST);
  if (context.timer_id != 0) qmi_pdc_request_timer_stop(PDC_REQ_LIST);
  const qmi_client_type client = info().client;
  const pdc_config_type_enum_v01 type = info().list_type;
  lock.unlock();
  pdc_plain_resp response{};
  const int error = pdc::send_list_request(client, type, &response);
  if (error != 0) {
    TRACE_ERROR("qmi send mssage error for list_configs, errno: %d %d", error, response.resp.error);
  }
  lock.lock();
  if (!still_wanted(id)) return;
  // A caller that does not wait yet starts the timer itself.
  const bool goes_on =
      error == 0 && (context.waiting == 0 || qmi_pdc_request_timer_start(PDC_REQ_LIST) == 0);
  if (!goes_on) abort_list();
}

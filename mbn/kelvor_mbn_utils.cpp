#include "mbn/kelvor_mbn_utils.h"

#include <atomic>

#include "common/result.h"
#include "common/trace.h"
#include "mbn/pdc_info.h"
#include "platform/kelvor_utils.h"
#include "qmi/kelvor_extend_nvefs.h"

namespace {

// A step that fails is the operation's failure, whatever its last step returns.
int step(int code) { return result::fail(result::Layer::kPdc, code); }

constexpr int kBadArgument = -1;
constexpr unsigned int kTypes = 2;  // platform and software

std::atomic<int> g_kelvor_pdc_init_status{-1};

// Connects and checks the arguments of a refresh or a reactivation.
int prepare(unsigned char force_init, unsigned int sub_mask, unsigned int mbn_type) {
  if (const int status = step(kelvor_mbn_init(force_init)); status != 0) {
    return TRACED_ERROR(status, "pdc init failed, do nothing");
  }
  TRACE_DEBUG("mbn_type %d", mbn_type);
  if (mbn_type >= kTypes) return TRACED_ERROR(kBadArgument, "config_type is invalid");
  TRACE_DEBUG("sub_mask %d", sub_mask);
  if (sub_mask == 0 || sub_mask > 3) return TRACED_ERROR(kBadArgument, "sub_mask is out of range");
  return 0;
}

bool includes(unsigned int sub_mask, unsigned int sub) { return (sub_mask >> sub & 1) != 0; }

// Reactivates one subscription's configuration. *result is that of the last step; false: its
// current configuration cannot be read, which ends the operation.
bool reactivate(pdc_config_type_enum_v01 type, unsigned int sub, int* result) {
  pdc_config_pdc_info id{};
  *result = step(pdc_get_current_config(&id, type, sub));
  TRACE_DEBUG("SUB_%u pdc_get_current_config ret_val %d", sub, *result);
  if (*result != 0) return TRACED_ERROR(false, "SUB_%u pdc_get_current_config fail", sub);
  result::octets("configuration", id.id, id.id_len, sub == 0 ? "SUB_0" : "SUB_1");
  // Its failure is traced; the configuration is selected and activated all the same.
  step(kelvor_mbn_deactivate_config(sub, type));
  *result = step(pdc_select_config(&id, type, sub));
  TRACE_DEBUG("SUB_%u pdc_select_config ret_val %d", sub, *result);
  *result = step(pdc_activate_config(type, sub));
  TRACE_DEBUG("SUB_%u pdc_activate_config ret_val %d", sub, *result);
  return true;
}

}  // namespace

extern "C" int kelvor_mbn_init(unsigned char force_init) {
  const TraceScope scope(__func__);
  if (force_init == 0 && g_kelvor_pdc_init_status == 0) {
    return TRACED_DEBUG(0, "pdc init have been done, do nothing");
  }
  pdc_clean();
  TRACE_DEBUG("start kelvor pdc init, g_kelvor_pdc_init_status = %d, force_init = %d",
              g_kelvor_pdc_init_status.load(), force_init);
  const int status = pdc_init();
  g_kelvor_pdc_init_status = status;
  if (status != 0) TRACE_ERROR("pdc init failed, g_kelvor_pdc_init_status = %d", status);
  return status;
}

extern "C" int kelvor_refresh_mbn(unsigned int sub_mask, unsigned int mbn_type) {
  const TraceScope scope(__func__);
  int result = prepare(0, sub_mask, mbn_type);
  if (result != 0) return result;
  const auto type = static_cast<pdc_config_type_enum_v01>(mbn_type);
  for (unsigned int sub = 0; sub < KELVOR_SUBSCRIPTIONS; ++sub) {
    if (!includes(sub_mask, sub)) continue;
    result = step(pdc_activate_config_ex(type, PDC_ACTIVATION_SOFT, sub, sub));
    TRACE_DEBUG("SUB_%u pdc_activate_config_ex ret %d", sub, result);
  }
  return result;
}

extern "C" int kelvor_refresh_sw_mbn(unsigned int sub_mask) {
  const TraceScope scope(__func__);
  return kelvor_refresh_mbn(sub_mask, PDC_CONFIG_TYPE_SOFTWARE);
}

extern "C" int kelvor_reactivate_mbn(unsigned int sub_mask, unsigned int mbn_type) {
  const TraceScope scope(__func__);
  int result = prepare(1, sub_mask, mbn_type);
  if (result != 0) return result;
  const auto type = static_cast<pdc_config_type_enum_v01>(mbn_type);
  for (unsigned int sub = 0; sub < KELVOR_SUBSCRIPTIONS; ++sub) {
    if (includes(sub_mask, sub) && !reactivate(type, sub, &result)) break;
  }
  return result;
}

extern "C" int kelvor_reactivate_sw_mbn(unsigned int sub_mask) {
  const TraceScope scope(__func__);
  return kelvor_reactivate_mbn(sub_mask, PDC_CONFIG_TYPE_SOFTWARE);
}

extern "C" int kelvor_mbn_deactivate_config(unsigned int sub, pdc_config_type_enum_v01 type) {
  const TraceScope scope(__func__);
  if (sub >= KELVOR_SUBSCRIPTIONS) {
    return TRACED_ERROR(kBadArgument, "sub is invalid, sub: %d", sub);
  }
  if (static_cast<unsigned int>(type) >= kTypes) {
    return TRACED_ERROR(kBadArgument, "config_type is invalid, config_type: %d", type);
  }
  const int pdc = pdc_deactivate_config(sub, type);
  const int32_t sync = kelvor_nvefs_sync();
  TRACE_DEBUG("pdc_deactivate_config, ret_pdc: %d, ret_sync: %d, sub: %d, config_type: %d", pdc,
              sync, sub, type);
  return pdc;
}

extern "C" void kelvor_mbn_get_default_config_info_ind_hdlr(void* ind, unsigned int len) {
  const TraceScope scope(__func__);
  TRACE_DEBUG("ind_data_len = %d", len);
  int32_t result = PDC_FAILED;
  if (ind == nullptr || len != sizeof(pdc_get_default_config_info_ind)) {
    TRACE_ERROR("NULL pointer for config_info");
  } else {
    const auto* def_ind = static_cast<const pdc_get_default_config_info_ind*>(ind);
    TRACE_DEBUG("def_ind->error = %d", def_ind->error);
    TRACE_DEBUG("def_ind->config_desc_valid = %d", def_ind->description_valid);
    TRACE_DEBUG("def_ind->config_desc_len = %d", def_ind->description_len);
    TRACE_DEBUG("def_ind->config_version_valid = %d", def_ind->version_valid);
    TRACE_DEBUG("def_ind->config_version = %d", def_ind->version);
    if (def_ind->error == 0) result = PDC_OK;
  }
  const base::Lock lock(pdc::info().mutex);
  pdc::complete(PDC_REQ_DEFAULT_INFO, result);
}

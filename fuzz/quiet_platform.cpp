// The platform of the targets that have a client library of their own: prints nothing, never waits.

#include <cstdint>

#include "platform/clock.h"
#include "platform/kelvor_utils.h"

extern "C" {

bool kelvor_hal_get_logcat_print_flag(uint32_t) { return false; }
bool kelvor_hal_get_shell_print_flag(uint32_t) { return false; }
int32_t kelvor_get_qcril_process_instance_id(void) { return KELVOR_NO_PROCESS_INSTANCE; }
const char* kelvor_get_current_pid_name(void) { return "vex"; }
const char* kelvor_utils_get_pid_name(void) { return "vex"; }
void kelvor_utils_syslog_dbg(const char*, ...) {}
void kelvor_utils_syslog_err(const char*, ...) {}
void platform_sleep_ms(uint32_t) {}
void platform_wait_for_modem_ms(uint32_t) {}

}  // extern "C"

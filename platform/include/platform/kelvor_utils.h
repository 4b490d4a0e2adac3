// The maker's utility library: trace switches, system log, process identity, small helpers.
//
// Every function may be called from any thread. Returned strings belong to the library and are
// valid until the process ends.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

// The instance id of a process that is not bound to a subscription.
#define KELVOR_NO_PROCESS_INSTANCE 255

// Whether messages of a level (1, 2, 4 or 8) go to the system log, and to the shell.
bool kelvor_hal_get_logcat_print_flag(uint32_t level);
bool kelvor_hal_get_shell_print_flag(uint32_t level);
// Replaces the set of levels that go to the shell (a bit set over the level values).
void kelvor_hal_set_shell_print_mask(uint32_t mask);
// Stops trace output to the shell and to the system log until the process ends.
void kelvor_hal_close_print(void);

// The subscription that this process serves, or KELVOR_NO_PROCESS_INSTANCE. Constant for a process.
int32_t kelvor_get_qcril_process_instance_id(void);
// The name of the running process, without a directory.
const char* kelvor_get_current_pid_name(void);
const char* kelvor_utils_get_pid_name(void);

// Write one line to the system log, at debug and at error priority. A line that cannot be written
// is dropped: no caller could do anything about it.
__attribute__((format(printf, 1, 2))) void kelvor_utils_syslog_dbg(const char* format, ...);
__attribute__((format(printf, 1, 2))) void kelvor_utils_syslog_err(const char* format, ...);

// Subscriptions of the phone, which count from 0.
enum { KELVOR_SUBSCRIPTIONS = 2 };
// The default data subscription.
int32_t kelvor_get_default_data_sub(void);

// Sets *value to a property's decimal number and returns 0. Sets it to `fallback` and returns -1
// when the property is absent or not a number.
int32_t kelvor_get_property_value_from_int(const char* name, int32_t* value, int32_t fallback);

// The octets of `value` from its least significant, two upper-case digits each, cut to whole
// octets that fit; always terminated when size is at least 1.
void kelvor_get_hex_str(char* buffer, size_t size, uint64_t value);

__END_DECLS

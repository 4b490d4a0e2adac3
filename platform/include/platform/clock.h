// Waiting: in real time, except in a test, which may replace the clock.
//
// Units: milliseconds. Every function may be called from any thread, and none fails.
#pragma once

#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

// Returns after at least that time. Signals do not shorten it.
void platform_sleep_ms(uint32_t milliseconds);
// The pause between two attempts to reach the modem: like platform_sleep_ms, but returns at once
// when no modem can appear in this process (see "No modem" in qmi_client.h).
void platform_wait_for_modem_ms(uint32_t milliseconds);

// Time that passes steadily, from a moment that means nothing.
uint64_t platform_now_ms(void);

__END_DECLS

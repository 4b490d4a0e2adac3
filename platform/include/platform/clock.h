// Waiting, in real time on a phone and in the test's own time in a test.
#ifndef PLATFORM_CLOCK_H_
#define PLATFORM_CLOCK_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Returns after at least that time, whatever signals arrive.
void platform_sleep_ms(uint32_t milliseconds);
// The pause between two attempts to reach the modem: as platform_sleep_ms, but returns at once
// where no modem can come (qmi_client.h).
void platform_wait_for_modem_ms(uint32_t milliseconds);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_CLOCK_H_

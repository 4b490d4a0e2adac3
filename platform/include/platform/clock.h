// Waiting, in real time on a phone and in the test's own time in a test.
#ifndef PLATFORM_CLOCK_H_
#define PLATFORM_CLOCK_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Returns after at least that time, whatever signals arrive.
void platform_sleep_ms(uint32_t milliseconds);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_CLOCK_H_

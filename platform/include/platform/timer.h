// The maker's one-shot timers.
//
// Callbacks run one after another, in the order of their expiry, on a thread of the timer facility
// that is none of the caller's. Starting and stopping is allowed from a callback and never waits
// for one, so no lock that the caller holds can deadlock with a callback: a timer that is stopped
// while its callback runs is simply too late, and the callback finds out by its own state.
#ifndef PLATFORM_TIMER_H_
#define PLATFORM_TIMER_H_

#include <signal.h>
#include <stdint.h>

#include "platform/nodiscard.h"

#ifdef __cplusplus
extern "C" {
#endif

// value.sival_int: the timer's id.
typedef void (*kelvor_timer_callback)(union sigval value);

// Calls back once after timeout_s seconds (0: at once, still on the timer's thread). The id, never
// 0; 0 when the timer cannot be started.
PLATFORM_NODISCARD uint32_t kelvor_timer_start(kelvor_timer_callback callback,
                                               unsigned long timeout_s);
// 0 when the timer was still to expire and now never will; -1 when it had expired, or never was.
int32_t kelvor_timer_stop(uint32_t timer_id);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_TIMER_H_

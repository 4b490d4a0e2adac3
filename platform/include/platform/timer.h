// The maker's one-shot timers.
//
// Threads. Callbacks run one at a time, in the order of their expiry, on a dedicated timer thread.
// Both functions may be called from any thread and from a callback, and never wait for a callback,
// so a lock that the caller holds cannot deadlock with one. It follows that a timer may be stopped
// too late, while its callback runs: the callback has to recognise that from its own state.
//
// Units. Seconds.
#pragma once

#include <signal.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/nodiscard.h"

__BEGIN_DECLS

// value.sival_int: the timer's id.
typedef void (*kelvor_timer_callback)(union sigval value);

// Starts a timer that calls back once, after timeout_s seconds; with 0 at once, still on the timer
// thread. Returns its id, or 0 when the callback is null or the timer cannot be started.
PLATFORM_NODISCARD uint32_t kelvor_timer_start(kelvor_timer_callback callback,
                                               unsigned long timeout_s);
// Returns 0 when the timer will not call back any more; -1 when it has expired, or there is no such
// timer.
int32_t kelvor_timer_stop(uint32_t timer_id);

__END_DECLS

// A mutex that one record's fields, and the condition variables that tell of them, share.
//
// Lock it with std::unique_lock<std::mutex>, which is what condition variables wait with. Not
// recursive; no thread may call out of the module that owns the record while it holds it, except to
// operations that promise not to wait (timers are such).
#ifndef COMMON_QTI_SHARED_MUTEX_H_
#define COMMON_QTI_SHARED_MUTEX_H_

#include <mutex>

class QtiSharedMutex : public std::mutex {};
using QtiSharedLock = std::unique_lock<std::mutex>;

#endif  // COMMON_QTI_SHARED_MUTEX_H_

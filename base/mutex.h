// Mutexes whose rules the compiler checks.
//
// The macros say which mutex guards a member, and which a function needs, takes or must not hold.
// clang checks them (-Wthread-safety, in the fuzz preset); for other compilers they are empty. The
// order of all mutexes is in docs/architecture.md.
//
//   base::Mutex mutex_;
//   size_t waiting_ GUARDED_BY(mutex_) = 0;
//   void wake_all() REQUIRES(mutex_);
//
// A lock passes for a std::unique_lock<std::mutex>, so that a std::condition_variable waits with
// it. The analysis does not see into lambdas: wait in a loop, not with a predicate.
#pragma once

#include <mutex>

#ifdef __clang__
#define BASE_THREAD_ANNOTATION(...) __attribute__((__VA_ARGS__))
#else
#define BASE_THREAD_ANNOTATION(...)
#endif

// Of members: readable and writable only with the mutex held.
#define GUARDED_BY(mutex) BASE_THREAD_ANNOTATION(guarded_by(mutex))
// Of a mutex: those that a thread takes after this one.
#define ACQUIRED_BEFORE(...) BASE_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
// Of functions: the caller holds the mutex; or must not hold it, because the function takes it.
#define REQUIRES(...) BASE_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) BASE_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
// Of functions: returns with the mutex held, or no longer held.
#define ACQUIRE(...) BASE_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) BASE_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
// Of a function whose locking the analysis cannot follow; a comment says why it is right.
#define NO_THREAD_SAFETY_ANALYSIS BASE_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace base {

template <class Native>
class BasicLock;

template <class Native>
class BASE_THREAD_ANNOTATION(capability("mutex")) BasicMutex {
 public:
  void lock() ACQUIRE() { mutex_.lock(); }
  void unlock() RELEASE() { mutex_.unlock(); }

 private:
  friend class BasicLock<Native>;
  Native mutex_;
};

using Mutex = BasicMutex<std::mutex>;
// May be taken again by the thread that holds it.
using RecursiveMutex = BasicMutex<std::recursive_mutex>;

// Holds a mutex until the end of its scope; may give it up and take it again meanwhile.
template <class Native>
class BASE_THREAD_ANNOTATION(scoped_lockable) BasicLock {
 public:
  explicit BasicLock(BasicMutex<Native>& mutex) ACQUIRE(mutex) : lock_(mutex.mutex_) {}
  ~BasicLock() RELEASE() {}
  BasicLock(const BasicLock&) = delete;
  BasicLock& operator=(const BasicLock&) = delete;

  void lock() ACQUIRE() { lock_.lock(); }
  void unlock() RELEASE() { lock_.unlock(); }
  // For condition variables, which return with the mutex held.
  operator std::unique_lock<Native>&() { return lock_; }

 private:
  std::unique_lock<Native> lock_;
};

using Lock = BasicLock<std::mutex>;
using RecursiveLock = BasicLock<std::recursive_mutex>;

// Gives a mutex up until the end of its scope, in a function that REQUIRES it.
class BASE_THREAD_ANNOTATION(scoped_lockable) Unlock {
 public:
  explicit Unlock(Mutex& mutex) RELEASE(mutex) : mutex_(mutex) { mutex_.unlock(); }
  // A scope's end is a release to the analysis, even the end of one that releases.
  ~Unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { mutex_.lock(); }
  Unlock(const Unlock&) = delete;
  Unlock& operator=(const Unlock&) = delete;

 private:
  Mutex& mutex_;
};

}  // namespace base

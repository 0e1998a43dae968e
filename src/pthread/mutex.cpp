// Guest mutexes and their attributes. The host mutex lives in place at the start of the guest
// object; the guest's attribute word holds the host's attribute value verbatim.
#include <pthread.h>
#include <string.h>
#include <time.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "host/bionic_pthread.h"
#include "pthread/attr_word.h"
#include "pthread/timeout.h"

static_assert(sizeof(pthread_mutex_t) <= 24, "the host mutex fits in the guest's");

namespace {

constexpr int kProtocolProtect = 2;
constexpr int kProcessShared = 1;

}  // namespace

KELP_EXPORT int kelp_adaptor_pthread_mutexattr_init(uint32_t* attr) {
  if (attr != nullptr) *attr = 0;
  return OnAttrWord<pthread_mutexattr_t>(
      attr, true, [](pthread_mutexattr_t* a) { return pthread_mutexattr_init(a); });
}

KELP_EXPORT int kelp_adaptor_pthread_mutexattr_destroy(uint32_t* attr) {
  if (attr != nullptr) *attr = kDestroyedAttrWord;
  return 0;
}

KELP_EXPORT int kelp_adaptor_pthread_mutexattr_gettype(uint32_t* attr, int* type) {
  return OnAttrWord<pthread_mutexattr_t>(
      attr, false, [&](pthread_mutexattr_t* a) { return pthread_mutexattr_gettype(a, type); });
}

KELP_EXPORT int kelp_adaptor_pthread_mutexattr_settype(uint32_t* attr, int type) {
  return OnAttrWord<pthread_mutexattr_t>(
      attr, true, [&](pthread_mutexattr_t* a) { return pthread_mutexattr_settype(a, type); });
}

KELP_EXPORT int kelp_adaptor_pthread_mutexattr_getprotocol(uint32_t* attr, int* protocol) {
  return OnAttrWord<pthread_mutexattr_t>(attr, false, [&](pthread_mutexattr_t* a) {
    return pthread_mutexattr_getprotocol(a, protocol);
  });
}

// Priority ceilings are not supported: refused before anything else is looked at.
KELP_EXPORT int kelp_adaptor_pthread_mutexattr_setprotocol(uint32_t* attr, int protocol) {
  if (protocol == kProtocolProtect) return 95;
  return OnAttrWord<pthread_mutexattr_t>(attr, true, [&](pthread_mutexattr_t* a) {
    return pthread_mutexattr_setprotocol(a, protocol);
  });
}

KELP_EXPORT int kelp_adaptor_pthread_mutexattr_getpshared(uint32_t* attr, int* shared) {
  return OnAttrWord<pthread_mutexattr_t>(
      attr, false, [&](pthread_mutexattr_t* a) { return pthread_mutexattr_getpshared(a, shared); });
}

KELP_EXPORT int kelp_adaptor_pthread_mutexattr_setpshared(uint32_t* attr, int shared) {
  if (shared == kProcessShared) KELP_LOG(kLogWarn, "Process shared mutex is not supported!");
  return OnAttrWord<pthread_mutexattr_t>(
      attr, true, [&](pthread_mutexattr_t* a) { return pthread_mutexattr_setpshared(a, shared); });
}

KELP_EXPORT int kelp_adaptor_pthread_mutex_init(pthread_mutex_t* mutex, const uint32_t* attr) {
  return pthread_mutex_init(mutex, AttrWordCopy<pthread_mutexattr_t>(attr).get());
}

KELP_EXPORT int kelp_adaptor_pthread_mutex_destroy(pthread_mutex_t* m) {
  return pthread_mutex_destroy(m);
}
KELP_EXPORT int kelp_adaptor_pthread_mutex_lock(pthread_mutex_t* m) {
  return pthread_mutex_lock(m);
}
KELP_EXPORT int kelp_adaptor_pthread_mutex_trylock(pthread_mutex_t* m) {
  return pthread_mutex_trylock(m);
}
KELP_EXPORT int kelp_adaptor_pthread_mutex_unlock(pthread_mutex_t* m) {
  return pthread_mutex_unlock(m);
}

KELP_EXPORT int kelp_adaptor_pthread_mutex_timedlock(pthread_mutex_t* m, const GuestTimespec* ts) {
  return pthread_mutex_timedlock(m, HostTimeout(ts).get());
}

KELP_EXPORT int kelp_adaptor_pthread_mutex_timedlock_monotonic_np(pthread_mutex_t* m,
                                                                  const GuestTimespec* ts) {
  return pthread_mutex_timedlock_monotonic_np(m, HostTimeout(ts).get());
}

KELP_EXPORT int kelp_adaptor_pthread_mutex_clocklock(pthread_mutex_t* m, clockid_t clock,
                                                     const GuestTimespec* ts) {
  return pthread_mutex_clocklock(m, clock, HostTimeout(ts).get());
}

// The time-out must not be null here.
KELP_EXPORT int __pthread_mutex_timedlock_time64(pthread_mutex_t* m, const GuestTimespec* ts) {
  if (OutOfHostRange(ts)) return 22;
  return pthread_mutex_timedlock(m, HostTimeout(ts).get());
}

// `ms` from now on the monotonic clock.
KELP_EXPORT int kelp_adaptor_pthread_mutex_lock_timeout_np(pthread_mutex_t* m, uint32_t ms) {
  struct timespec deadline;
  clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += ms / 1000;
  deadline.tv_nsec += (ms % 1000) * 1000000;
  if (deadline.tv_nsec >= 1000000000) {
    deadline.tv_sec += 1;
    deadline.tv_nsec -= 1000000000;
  }
  return pthread_mutex_timedlock_monotonic_np(m, &deadline);
}

// Guest condition variables (host object in place) and their attribute word.
#include <pthread.h>
#include <string.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "host/bionic_pthread.h"
#include "pthread/attr_word.h"
#include "pthread/timeout.h"

static_assert(sizeof(pthread_cond_t) <= 48, "the host condition variable fits in the guest's");

KELP_EXPORT int kelp_adaptor_pthread_condattr_init(uint32_t* attr) {
  if (attr != nullptr) *attr = 0;
  return OnAttrWord<pthread_condattr_t>(
      attr, true, [](pthread_condattr_t* a) { return pthread_condattr_init(a); });
}

KELP_EXPORT int kelp_adaptor_pthread_condattr_destroy(uint32_t* attr) {
  if (attr != nullptr) *attr = kDestroyedAttrWord;
  return 0;
}

KELP_EXPORT int kelp_adaptor_pthread_condattr_getclock(uint32_t* attr, clockid_t* clock) {
  return OnAttrWord<pthread_condattr_t>(
      attr, false, [&](pthread_condattr_t* a) { return pthread_condattr_getclock(a, clock); });
}

KELP_EXPORT int kelp_adaptor_pthread_condattr_setclock(uint32_t* attr, clockid_t clock) {
  return OnAttrWord<pthread_condattr_t>(
      attr, true, [&](pthread_condattr_t* a) { return pthread_condattr_setclock(a, clock); });
}

KELP_EXPORT int kelp_adaptor_pthread_condattr_getpshared(uint32_t* attr, int* shared) {
  return OnAttrWord<pthread_condattr_t>(
      attr, false, [&](pthread_condattr_t* a) { return pthread_condattr_getpshared(a, shared); });
}

KELP_EXPORT int kelp_adaptor_pthread_condattr_setpshared(uint32_t* attr, int shared) {
  if (shared == 1) KELP_LOG(kLogWarn, "Process shared cond is not supported!");
  return OnAttrWord<pthread_condattr_t>(
      attr, true, [&](pthread_condattr_t* a) { return pthread_condattr_setpshared(a, shared); });
}

KELP_EXPORT int kelp_adaptor_pthread_cond_init(pthread_cond_t* cond, const uint32_t* attr) {
  return pthread_cond_init(cond, AttrWordCopy<pthread_condattr_t>(attr).get());
}

KELP_EXPORT int kelp_adaptor_pthread_cond_destroy(pthread_cond_t* c) {
  return pthread_cond_destroy(c);
}
KELP_EXPORT int kelp_adaptor_pthread_cond_broadcast(pthread_cond_t* c) {
  return pthread_cond_broadcast(c);
}
KELP_EXPORT int kelp_adaptor_pthread_cond_signal(pthread_cond_t* c) {
  return pthread_cond_signal(c);
}
KELP_EXPORT int kelp_adaptor_pthread_cond_wait(pthread_cond_t* c, pthread_mutex_t* m) {
  return pthread_cond_wait(c, m);
}

KELP_EXPORT int kelp_adaptor_pthread_cond_timedwait(pthread_cond_t* c, pthread_mutex_t* m,
                                                    const GuestTimespec* ts) {
  return pthread_cond_timedwait(c, m, HostTimeout(ts).get());
}

KELP_EXPORT int kelp_adaptor_pthread_cond_timedwait_monotonic_np(pthread_cond_t* c,
                                                                 pthread_mutex_t* m,
                                                                 const GuestTimespec* ts) {
  return pthread_cond_timedwait_monotonic_np(c, m, HostTimeout(ts).get());
}

KELP_EXPORT int kelp_adaptor_pthread_cond_clockwait(pthread_cond_t* c, pthread_mutex_t* m,
                                                    clockid_t clock, const GuestTimespec* ts) {
  return pthread_cond_clockwait(c, m, clock, HostTimeout(ts).get());
}

KELP_EXPORT int __pthread_cond_timedwait_time64(pthread_cond_t* c, pthread_mutex_t* m,
                                                const GuestTimespec* ts) {
  if (OutOfHostRange(ts)) return 22;
  return pthread_cond_timedwait(c, m, HostTimeout(ts).get());
}

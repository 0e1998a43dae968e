// Guest semaphores: the host sem_t lives in place; what bionic cannot do is said in the log.
#include <semaphore.h>
#include <stdarg.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "host/bionic_errno.h"
#include "pthread/timeout.h"

static_assert(sizeof(sem_t) <= 16, "the host semaphore fits in the guest's");

KELP_EXPORT sem_t* kelp_adaptor_sem_open(const char*, int, ...) {
  KELP_LOG(kLogError, "sem_open is not supported on bionic");
  errno = ENOSYS;
  return nullptr;
}

KELP_EXPORT int kelp_adaptor_sem_close(sem_t* sem) {
  KELP_LOG(kLogError, "sem_close is not supported on bionic");
  return sem_close(sem);
}

KELP_EXPORT int kelp_adaptor_sem_unlink(const char* name) {
  KELP_LOG(kLogError, "sem_unlink is not supported on bionic");
  return sem_unlink(name);
}

// The "sem_close" wording on destroy is the platform's own line, kept as it is.
KELP_EXPORT int kelp_adaptor_sem_destroy(sem_t* sem) {
  KELP_LOG(kLogError, "sem_close is not supported on bionic");
  return sem_destroy(sem);
}

KELP_EXPORT int kelp_adaptor_sem_init(sem_t* sem, int shared, unsigned value) {
  if (shared != 0) KELP_LOG(kLogError, "semaphore can not be shared between processes on bionic");
  return sem_init(sem, shared, value);
}

KELP_EXPORT int kelp_adaptor_sem_wait(sem_t* sem) { return sem_wait(sem); }
KELP_EXPORT int kelp_adaptor_sem_trywait(sem_t* sem) { return sem_trywait(sem); }
KELP_EXPORT int kelp_adaptor_sem_post(sem_t* sem) { return sem_post(sem); }
KELP_EXPORT int kelp_adaptor_sem_getvalue(sem_t* sem, int* value) {
  return sem_getvalue(sem, value);
}
KELP_EXPORT int kelp_adaptor_sem_timedwait(sem_t* sem, const GuestTimespec* timeout) {
  return sem_timedwait(sem, HostTimeout(timeout).get());
}

// No null check and no range check: the low word of the seconds goes to the host.
KELP_EXPORT int __sem_timedwait_time64(sem_t* sem, const GuestTimespec* timeout) {
  HostTimespec host;
  timespec_musl2bionic(timeout, &host);
  return sem_timedwait(sem, reinterpret_cast<const timespec*>(&host));
}

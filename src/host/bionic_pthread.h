// bionic's thread interfaces that other C libraries lack, and the one reading of the host's
// private thread record. bionic declares the functions in <pthread.h>; they are declared here
// on both platforms, so that bionic's own header checks this reading of them.
#pragma once

#include <pthread.h>
#include <sys/types.h>

extern "C" {
#if !defined(__BIONIC__)
typedef struct __pthread_cleanup_t {
  struct __pthread_cleanup_t* __cleanup_prev;
  void (*__cleanup_routine)(void*);
  void* __cleanup_arg;
} __pthread_cleanup_t;
#endif

pid_t pthread_gettid_np(pthread_t thread);
void __pthread_cleanup_push(__pthread_cleanup_t* c, void (*routine)(void*), void* arg);
void __pthread_cleanup_pop(__pthread_cleanup_t* c, int execute);

// The kernel thread id kept in the host's own record of `thread` (on Android its third word).
pid_t KelpHostThreadKernelId(pthread_t thread);
}

static_assert(sizeof(__pthread_cleanup_t) == 12);

#include <time.h>

extern "C" {
int pthread_mutex_timedlock_monotonic_np(pthread_mutex_t* mutex, const struct timespec* timeout);
int pthread_cond_timedwait_monotonic_np(pthread_cond_t* cond, pthread_mutex_t* mutex,
                                        const struct timespec* timeout);
int pthread_rwlock_timedrdlock_monotonic_np(pthread_rwlock_t* lock, const struct timespec* timeout);
int pthread_rwlock_timedwrlock_monotonic_np(pthread_rwlock_t* lock, const struct timespec* timeout);
}

// Guest barriers (host barrier boxed in word 0 from init to a successful destroy) and spin
// locks (the guest's one word, operated on atomically).
#include <errno.h>
#include <pthread.h>
#include <sched.h>
#include <stdlib.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "pthread/boxed.h"

namespace {

struct GuestBarrier {
  uint32_t words[5];
};
static_assert(sizeof(GuestBarrier) == 20);

// Spinning this many times on a held lock before each yield of the processor.
constexpr int kSpinsBeforeYield = 100;

}  // namespace

KELP_EXPORT int kelp_adaptor_pthread_barrier_init(GuestBarrier* barrier,
                                                  const pthread_barrierattr_t* attr,
                                                  unsigned count) {
  auto* block = static_cast<pthread_barrier_t*>(malloc(sizeof(pthread_barrier_t)));
  if (block == nullptr) {
    KELP_LOG(kLogError, "Failed to malloc pthread_barrier_t in adaptor");
    return -1;
  }
  SetBoxedHost(barrier, block);
  return pthread_barrier_init(block, attr, count);
}

KELP_EXPORT int kelp_adaptor_pthread_barrier_wait(GuestBarrier* barrier) {
  return pthread_barrier_wait(BoxedHost<pthread_barrier_t>(barrier));
}

KELP_EXPORT int kelp_adaptor_pthread_barrier_destroy(GuestBarrier* barrier) {
  auto* block = BoxedHost<pthread_barrier_t>(barrier);
  if (block == nullptr) return 22;
  int result = pthread_barrier_destroy(block);
  if (result != 0) return result;  // still in use: the box stays
  free(block);
  SetBoxedHost<pthread_barrier_t>(barrier, nullptr);
  return 0;
}

KELP_EXPORT int kelp_adaptor_pthread_barrierattr_init(pthread_barrierattr_t* attr) {
  return pthread_barrierattr_init(attr);
}
KELP_EXPORT int kelp_adaptor_pthread_barrierattr_destroy(pthread_barrierattr_t* attr) {
  return pthread_barrierattr_destroy(attr);
}
KELP_EXPORT int kelp_adaptor_pthread_barrierattr_getpshared(const pthread_barrierattr_t* attr,
                                                            int* shared) {
  return pthread_barrierattr_getpshared(attr, shared);
}
KELP_EXPORT int kelp_adaptor_pthread_barrierattr_setpshared(pthread_barrierattr_t* attr,
                                                            int shared) {
  if (shared == 1) KELP_LOG(kLogWarn, "Process shared barrier is not supported!");
  return pthread_barrierattr_setpshared(attr, shared);
}

// The guest's one word is the lock itself (0 free, 1 held), operated on atomically: acquire on
// locking, release on unlocking, so that the data it guards is seen whole by the next holder.
// The mutex wording is the platform's own, shared with the mutex attribute's warning.
KELP_EXPORT int kelp_adaptor_pthread_spin_init(uint32_t* lock, int shared) {
  if (shared == 1) {
    KELP_LOG(kLogWarn, "Process shared mutex is not supported!");
    return 22;
  }
  __atomic_store_n(lock, 0, __ATOMIC_RELEASE);
  return 0;
}

KELP_EXPORT int kelp_adaptor_pthread_spin_trylock(uint32_t* lock) {
  uint32_t expected = 0;
  return __atomic_compare_exchange_n(lock, &expected, 1, false, __ATOMIC_ACQUIRE,
                                     __ATOMIC_RELAXED)
             ? 0
             : EBUSY;
}

// Waits on the shared word with plain loads, trying to take it only when it looks free; a
// holder that was preempted gets the processor back through the yields.
KELP_EXPORT int kelp_adaptor_pthread_spin_lock(uint32_t* lock) {
  while (kelp_adaptor_pthread_spin_trylock(lock) != 0) {
    for (int spins = 0; __atomic_load_n(lock, __ATOMIC_RELAXED) != 0; ++spins) {
      if (spins >= kSpinsBeforeYield) {
        sched_yield();
        spins = 0;
      }
    }
  }
  return 0;
}

KELP_EXPORT int kelp_adaptor_pthread_spin_unlock(uint32_t* lock) {
  __atomic_store_n(lock, 0, __ATOMIC_RELEASE);
  return 0;
}

KELP_EXPORT int kelp_adaptor_pthread_spin_destroy(uint32_t*) { return 0; }

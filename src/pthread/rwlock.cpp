// Guest read-write locks: word 0 holds a heap block with the host lock, created by init or, for
// a statically initialised (zero) lock, on first use.
#include <pthread.h>
#include <stdlib.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "host/bionic_pthread.h"
#include "pthread/boxed.h"
#include "pthread/timeout.h"

namespace {

struct GuestRwlock {
  uint32_t words[8];
};
static_assert(sizeof(GuestRwlock) == 32);

// Serialises only the check-allocate-initialise-store of word 0, never a wait for a lock.
pthread_mutex_t g_creation_lock = PTHREAD_MUTEX_INITIALIZER;

constexpr char kAllocationFailure[] = "Failed to malloc pthread_rwlock_t in adaptor";

// Inlined into every entry: finding a published lock then costs one load, not one more call.
__attribute__((always_inline)) inline pthread_rwlock_t* HostLock(GuestRwlock* guest);

// The host lock behind a guest lock, created on first use. A published lock is found with one
// acquire load, so threads using their own locks never meet on the creation lock; racing first
// users meet there and get one and the same host lock. When the allocation fails the creation
// lock is released and the result is null: the caller answers ENOMEM, and a later call tries
// again.
pthread_rwlock_t* HostLock(GuestRwlock* guest) {
  uint32_t word = __atomic_load_n(&guest->words[0], __ATOMIC_ACQUIRE);
  if (word != 0) return reinterpret_cast<pthread_rwlock_t*>(static_cast<uintptr_t>(word));
  pthread_mutex_lock(&g_creation_lock);
  auto* block = BoxedHost<pthread_rwlock_t>(guest);
  if (block == nullptr) {
    block = static_cast<pthread_rwlock_t*>(malloc(sizeof(pthread_rwlock_t)));
    if (block == nullptr) {
      pthread_mutex_unlock(&g_creation_lock);
      KELP_LOG(kLogError, kAllocationFailure);
      return nullptr;
    }
    pthread_rwlock_init(block, nullptr);
    __atomic_store_n(&guest->words[0], static_cast<uint32_t>(reinterpret_cast<uintptr_t>(block)),
                     __ATOMIC_RELEASE);
  }
  pthread_mutex_unlock(&g_creation_lock);
  return block;
}

constexpr int kNoMemory = 12;  // ENOMEM

}  // namespace

KELP_EXPORT int kelp_adaptor_pthread_rwlock_init(GuestRwlock* lock,
                                                 const pthread_rwlockattr_t* attr) {
  auto* block = static_cast<pthread_rwlock_t*>(malloc(sizeof(pthread_rwlock_t)));
  if (block == nullptr) {
    KELP_LOG(kLogError, kAllocationFailure);
    return -1;
  }
  SetBoxedHost(lock, block);
  return pthread_rwlock_init(block, attr);
}

// Word 0 keeps the stale address, as the guest ABI's lock keeps its memory.
KELP_EXPORT int kelp_adaptor_pthread_rwlock_destroy(GuestRwlock* lock) {
  pthread_rwlock_t* block = HostLock(lock);
  if (block == nullptr) return kNoMemory;
  int result = pthread_rwlock_destroy(block);
  free(block);
  return result;
}

#define KELP_RWLOCK_OP(name)                                \
  KELP_EXPORT int kelp_adaptor_##name(GuestRwlock* lock) { \
    pthread_rwlock_t* block = HostLock(lock);               \
    return block != nullptr ? name(block) : kNoMemory;      \
  }
KELP_RWLOCK_OP(pthread_rwlock_rdlock)
KELP_RWLOCK_OP(pthread_rwlock_tryrdlock)
KELP_RWLOCK_OP(pthread_rwlock_wrlock)
KELP_RWLOCK_OP(pthread_rwlock_trywrlock)
KELP_RWLOCK_OP(pthread_rwlock_unlock)
#undef KELP_RWLOCK_OP

#define KELP_RWLOCK_TIMED_OP(name, host)                                                   \
  KELP_EXPORT int kelp_adaptor_##name(GuestRwlock* lock, const GuestTimespec* timeout) { \
    pthread_rwlock_t* block = HostLock(lock);                                             \
    if (block == nullptr) return kNoMemory;                                               \
    return host(block, HostTimeout(timeout).get());                                       \
  }
KELP_RWLOCK_TIMED_OP(pthread_rwlock_timedrdlock, pthread_rwlock_timedrdlock)
KELP_RWLOCK_TIMED_OP(pthread_rwlock_timedwrlock, pthread_rwlock_timedwrlock)
KELP_RWLOCK_TIMED_OP(pthread_rwlock_timedrdlock_monotonic_np,
                     pthread_rwlock_timedrdlock_monotonic_np)
KELP_RWLOCK_TIMED_OP(pthread_rwlock_timedwrlock_monotonic_np,
                     pthread_rwlock_timedwrlock_monotonic_np)
#undef KELP_RWLOCK_TIMED_OP

KELP_EXPORT int kelp_adaptor_pthread_rwlock_clockrdlock(GuestRwlock* lock, clockid_t clock,
                                                        const GuestTimespec* timeout) {
  pthread_rwlock_t* block = HostLock(lock);
  if (block == nullptr) return kNoMemory;
  return pthread_rwlock_clockrdlock(block, clock, HostTimeout(timeout).get());
}

KELP_EXPORT int kelp_adaptor_pthread_rwlock_clockwrlock(GuestRwlock* lock, clockid_t clock,
                                                        const GuestTimespec* timeout) {
  pthread_rwlock_t* block = HostLock(lock);
  if (block == nullptr) return kNoMemory;
  return pthread_rwlock_clockwrlock(block, clock, HostTimeout(timeout).get());
}

// The range is checked before the lock is created or touched; the time-out must not be null.
KELP_EXPORT int __pthread_rwlock_timedrdlock_time64(GuestRwlock* lock,
                                                    const GuestTimespec* timeout) {
  if (OutOfHostRange(timeout)) return 22;
  pthread_rwlock_t* block = HostLock(lock);
  if (block == nullptr) return kNoMemory;
  return pthread_rwlock_timedrdlock(block, HostTimeout(timeout).get());
}

KELP_EXPORT int __pthread_rwlock_timedwrlock_time64(GuestRwlock* lock,
                                                    const GuestTimespec* timeout) {
  if (OutOfHostRange(timeout)) return 22;
  pthread_rwlock_t* block = HostLock(lock);
  if (block == nullptr) return kNoMemory;
  return pthread_rwlock_timedwrlock(block, HostTimeout(timeout).get());
}

KELP_EXPORT int kelp_adaptor_pthread_rwlockattr_init(pthread_rwlockattr_t* attr) {
  return pthread_rwlockattr_init(attr);
}
KELP_EXPORT int kelp_adaptor_pthread_rwlockattr_destroy(pthread_rwlockattr_t* attr) {
  return pthread_rwlockattr_destroy(attr);
}
KELP_EXPORT int kelp_adaptor_pthread_rwlockattr_getpshared(const pthread_rwlockattr_t* attr,
                                                           int* shared) {
  return pthread_rwlockattr_getpshared(attr, shared);
}
KELP_EXPORT int kelp_adaptor_pthread_rwlockattr_setpshared(pthread_rwlockattr_t* attr,
                                                           int shared) {
  if (shared == 1) KELP_LOG(kLogWarn, "Process shared rwlock is not supported!");
  return pthread_rwlockattr_setpshared(attr, shared);
}

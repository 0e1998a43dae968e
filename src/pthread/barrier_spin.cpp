// Guest barriers (host barrier boxed in word 0 from init to a successful destroy) and spin
// locks (one guest word copied through a host-sized local).
#include <pthread.h>
#include <stdlib.h>
#include <string.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "pthread/boxed.h"

namespace {

struct GuestBarrier {
  uint32_t words[5];
};
static_assert(sizeof(GuestBarrier) == 20);

// bionic's spin lock is two words; the guest keeps the first, the second is always 0.
union HostSpin {
  pthread_spinlock_t lock;
  uint32_t words[2];
};

template <typename Call>
int OnSpin(uint32_t* guest, Call call) {
  HostSpin local;
  memset(&local, 0, sizeof(local));
  local.words[0] = *guest;
  int result = call(&local.lock);
  *guest = local.words[0];
  return result;
}

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

// The mutex wording is the platform's own, shared with the mutex attribute's warning.
KELP_EXPORT int kelp_adaptor_pthread_spin_init(uint32_t* lock, int shared) {
  if (shared == 1) {
    KELP_LOG(kLogWarn, "Process shared mutex is not supported!");
    return 22;
  }
  HostSpin local;
  memset(&local, 0, sizeof(local));
  int result = pthread_spin_init(&local.lock, shared);
  *lock = local.words[0];
  return result;
}

#define KELP_SPIN_OP(name)                                                   \
  KELP_EXPORT int kelp_adaptor_##name(uint32_t* lock) {                     \
    return OnSpin(lock, [](pthread_spinlock_t* host) { return name(host); }); \
  }
KELP_SPIN_OP(pthread_spin_lock)
KELP_SPIN_OP(pthread_spin_trylock)
KELP_SPIN_OP(pthread_spin_unlock)
KELP_SPIN_OP(pthread_spin_destroy)
#undef KELP_SPIN_OP

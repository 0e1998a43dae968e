// C11 mutexes and condition variables: host objects in place, mutex types renumbered.
#include <pthread.h>
#include <threads.h>

#include "core/export.h"
#include "pthread/timeout.h"

static_assert(sizeof(mtx_t) <= 24 && sizeof(cnd_t) <= 48, "host C11 objects fit the guest's");

namespace {
// Guest type (plain 0, recursive 1, timed 2, timed|recursive 3) to bionic's bits.
constexpr int kMutexTypes[] = {1, 3, 4, 6};
}  // namespace

KELP_EXPORT int kelp_adaptor_mtx_init(mtx_t* mutex, unsigned type) {
  if (type > 3) return thrd_error;
  return mtx_init(mutex, kMutexTypes[type]);
}

KELP_EXPORT int kelp_adaptor_mtx_lock(mtx_t* m) { return mtx_lock(m); }
KELP_EXPORT int kelp_adaptor_mtx_trylock(mtx_t* m) { return mtx_trylock(m); }
KELP_EXPORT int kelp_adaptor_mtx_unlock(mtx_t* m) { return mtx_unlock(m); }
KELP_EXPORT void kelp_adaptor_mtx_destroy(mtx_t* m) {
  pthread_mutex_destroy(reinterpret_cast<pthread_mutex_t*>(m));
}

KELP_EXPORT int kelp_adaptor_cnd_init(cnd_t* c) { return cnd_init(c); }
KELP_EXPORT int kelp_adaptor_cnd_signal(cnd_t* c) { return cnd_signal(c); }
KELP_EXPORT void kelp_adaptor_cnd_destroy(cnd_t* c) {
  pthread_cond_destroy(reinterpret_cast<pthread_cond_t*>(c));
}

KELP_EXPORT int __cnd_timedwait_time64(cnd_t* c, mtx_t* m, const GuestTimespec* ts) {
  return cnd_timedwait(c, m, HostTimeout(ts).get());
}

// The host value is written back into the guest's time-out afterwards, as the guest ABI does.
KELP_EXPORT int __mtx_timedlock_time64(mtx_t* m, GuestTimespec* ts) {
  HostTimeout timeout(ts);
  int result = mtx_timedlock(m, timeout.get());
  if (ts != nullptr) timespec_bionic2musl(ts, &timeout.host);
  return result;
}

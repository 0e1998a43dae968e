// Threads each locking their own read-write lock: through the adaptor (boxed, found with one
// acquire load) against the host's locks directly.
#include <pthread.h>
#include <stdint.h>

#include <benchmark/benchmark.h>

extern "C" {
int kelp_adaptor_pthread_rwlock_rdlock(void*);
int kelp_adaptor_pthread_rwlock_unlock(void*);
}

namespace {

constexpr int kMaxThreads = 8;
struct alignas(64) GuestLock { uint32_t words[8]; };
GuestLock g_guest[kMaxThreads];
struct alignas(64) HostLock { pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER; };
HostLock g_host[kMaxThreads];

void BM_adaptor_rwlock_own_lock(benchmark::State& state) {
  GuestLock* lock = &g_guest[state.thread_index()];
  for (auto _ : state) {
    kelp_adaptor_pthread_rwlock_rdlock(lock);
    kelp_adaptor_pthread_rwlock_unlock(lock);
  }
}
BENCHMARK(BM_adaptor_rwlock_own_lock)->Threads(1)->Threads(2)->Threads(4)->UseRealTime();

void BM_host_rwlock_own_lock(benchmark::State& state) {
  pthread_rwlock_t* lock = &g_host[state.thread_index()].lock;
  for (auto _ : state) {
    pthread_rwlock_rdlock(lock);
    pthread_rwlock_unlock(lock);
  }
}
BENCHMARK(BM_host_rwlock_own_lock)->Threads(1)->Threads(2)->Threads(4)->UseRealTime();

// The design the acquire-load fast path replaces: one process-wide creation lock taken by every
// operation to find the host lock.
pthread_mutex_t g_creation_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_rwlock_t* FindUnderCreationLock(HostLock* lock) {
  pthread_mutex_lock(&g_creation_lock);
  pthread_rwlock_t* host = &lock->lock;
  pthread_mutex_unlock(&g_creation_lock);
  return host;
}

void BM_creation_lock_every_op_own_lock(benchmark::State& state) {
  HostLock* lock = &g_host[state.thread_index()];
  for (auto _ : state) {
    pthread_rwlock_rdlock(FindUnderCreationLock(lock));
    pthread_rwlock_unlock(FindUnderCreationLock(lock));
  }
}
BENCHMARK(BM_creation_lock_every_op_own_lock)->Threads(1)->Threads(2)->Threads(4)->UseRealTime();

}  // namespace

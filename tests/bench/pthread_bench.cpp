// Thread synchronisation: in-place objects (mutex, condition variable, semaphore), the boxed
// read-write lock found with one acquire load, and the boxed thread attributes. Lock rows run
// with 1, 2 and 4 threads, each on its own lock.
#include <pthread.h>
#include <semaphore.h>
#include <stdint.h>

#include "pair.h"

extern "C" {
int kelp_adaptor_pthread_mutex_lock(void*);
int kelp_adaptor_pthread_mutex_unlock(void*);
int kelp_adaptor_pthread_cond_signal(void*);
int kelp_adaptor_pthread_rwlock_rdlock(void*);
int kelp_adaptor_pthread_rwlock_unlock(void*);
int kelp_adaptor_sem_init(void*, int, unsigned);
int kelp_adaptor_sem_destroy(void*);
int kelp_adaptor_sem_post(void*);
int kelp_adaptor_sem_trywait(void*);
int kelp_adaptor_pthread_attr_init(void*);
int kelp_adaptor_pthread_attr_destroy(void*);
}

namespace {

constexpr int kMaxThreads = 4;

// Guest objects in their musl sizes, zero (statically initialised), one cache line each.
struct alignas(64) GuestMutex { uint32_t words[6]; };
struct alignas(64) GuestRwlock { uint32_t words[8]; };
struct alignas(64) GuestCond { uint32_t words[12]; };
struct GuestSem { uint32_t words[4]; };
struct GuestAttr { uint32_t words[9]; };

GuestMutex g_guest_mutex[kMaxThreads];
GuestRwlock g_guest_rwlock[kMaxThreads];
struct alignas(64) HostMutex { pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER; };
struct alignas(64) HostRwlock { pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER; };
HostMutex g_host_mutex[kMaxThreads];
HostRwlock g_host_rwlock[kMaxThreads];

void AdaptorMutex(benchmark::State& state) {
  GuestMutex* m = &g_guest_mutex[state.thread_index()];
  for (auto _ : state) {
    kelp_adaptor_pthread_mutex_lock(m);
    kelp_adaptor_pthread_mutex_unlock(m);
  }
  state.SetLabel("forwarders: two more calls through a PLT");
}

void HostMutexLock(benchmark::State& state) {
  pthread_mutex_t* m = &g_host_mutex[state.thread_index()].lock;
  for (auto _ : state) {
    pthread_mutex_lock(m);
    pthread_mutex_unlock(m);
  }
}
KELP_BENCH_PAIR_THREADS("pthread_mutex_lock+unlock", AdaptorMutex, HostMutexLock);

void AdaptorRwlock(benchmark::State& state) {
  GuestRwlock* lock = &g_guest_rwlock[state.thread_index()];
  for (auto _ : state) {
    kelp_adaptor_pthread_rwlock_rdlock(lock);
    kelp_adaptor_pthread_rwlock_unlock(lock);
  }
  state.SetLabel("boxed host lock (one acquire load), two more calls through a PLT");
}

void HostRwlockLock(benchmark::State& state) {
  pthread_rwlock_t* lock = &g_host_rwlock[state.thread_index()].lock;
  for (auto _ : state) {
    pthread_rwlock_rdlock(lock);
    pthread_rwlock_unlock(lock);
  }
}
KELP_BENCH_PAIR_THREADS("pthread_rwlock_rdlock+unlock", AdaptorRwlock, HostRwlockLock);

void AdaptorCondSignal(benchmark::State& state) {
  GuestCond cond = {};
  for (auto _ : state) benchmark::DoNotOptimize(kelp_adaptor_pthread_cond_signal(&cond));
  state.SetLabel("forwarder: one more call through a PLT");
}

void HostCondSignal(benchmark::State& state) {
  pthread_cond_t cond = PTHREAD_COND_INITIALIZER;
  for (auto _ : state) benchmark::DoNotOptimize(pthread_cond_signal(&cond));
}
KELP_BENCH_PAIR("pthread_cond_signal", AdaptorCondSignal, HostCondSignal);

void AdaptorSem(benchmark::State& state) {
  GuestSem sem = {};
  kelp_adaptor_sem_init(&sem, 0, 0);
  for (auto _ : state) {
    kelp_adaptor_sem_post(&sem);
    kelp_adaptor_sem_trywait(&sem);
  }
  state.SetLabel("forwarders: two more calls through a PLT");
  kelp_adaptor_sem_destroy(&sem);
}

void HostSem(benchmark::State& state) {
  sem_t sem;
  sem_init(&sem, 0, 0);
  for (auto _ : state) {
    sem_post(&sem);
    sem_trywait(&sem);
  }
  sem_destroy(&sem);
}
KELP_BENCH_PAIR("sem_post+trywait", AdaptorSem, HostSem);

void AdaptorAttr(benchmark::State& state) {
  GuestAttr attr = {};
  for (auto _ : state) {
    kelp_adaptor_pthread_attr_init(&attr);
    kelp_adaptor_pthread_attr_destroy(&attr);
  }
  state.SetLabel("boxed host attributes: one malloc and one free");
}

void HostAttr(benchmark::State& state) {
  pthread_attr_t attr;
  for (auto _ : state) {
    pthread_attr_init(&attr);
    pthread_attr_destroy(&attr);
  }
}
KELP_BENCH_PAIR("pthread_attr_init+destroy", AdaptorAttr, HostAttr);

// The design the acquire-load look-up replaces, for reference: one process-wide creation lock
// taken by every operation to find the host lock.
pthread_mutex_t g_creation_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_rwlock_t* FindUnderCreationLock(HostRwlock* lock) {
  pthread_mutex_lock(&g_creation_lock);
  pthread_rwlock_t* host = &lock->lock;
  pthread_mutex_unlock(&g_creation_lock);
  return host;
}

void CreationLockEveryOp(benchmark::State& state) {
  HostRwlock* lock = &g_host_rwlock[state.thread_index()];
  for (auto _ : state) {
    pthread_rwlock_rdlock(FindUnderCreationLock(lock));
    pthread_rwlock_unlock(FindUnderCreationLock(lock));
  }
}
BENCHMARK(CreationLockEveryOp)
    ->Name("pthread_rwlock_rdlock+unlock/creation lock on every op (rejected design)")
    ->Threads(1)
    ->Threads(2)
    ->Threads(4);

}  // namespace

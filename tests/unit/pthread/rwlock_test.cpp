// Lazily boxed read-write locks, barriers, spin locks and semaphores.
#include <errno.h>
#include <pthread.h>
#include <semaphore.h>
#include <string.h>
#include <time.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "guest/time.h"
#include "support/fake_log_daemon.h"
#include "support/guest_time.h"

extern "C" {
int kelp_adaptor_pthread_rwlock_init(void*, const pthread_rwlockattr_t*);
int kelp_adaptor_pthread_rwlock_destroy(void*);
int kelp_adaptor_pthread_rwlock_rdlock(void*);
int kelp_adaptor_pthread_rwlock_wrlock(void*);
int kelp_adaptor_pthread_rwlock_trywrlock(void*);
int kelp_adaptor_pthread_rwlock_tryrdlock(void*);
int kelp_adaptor_pthread_rwlock_unlock(void*);
int kelp_adaptor_pthread_rwlock_timedwrlock(void*, const GuestTimespec*);
int __pthread_rwlock_timedwrlock_time64(void*, const GuestTimespec*);
int __pthread_rwlock_timedrdlock_time64(void*, const GuestTimespec*);
int kelp_adaptor_pthread_barrier_init(void*, const pthread_barrierattr_t*, unsigned);
int kelp_adaptor_pthread_barrier_wait(void*);
int kelp_adaptor_pthread_barrier_destroy(void*);
int kelp_adaptor_pthread_spin_init(uint32_t*, int);
int kelp_adaptor_pthread_spin_lock(uint32_t*);
int kelp_adaptor_pthread_spin_trylock(uint32_t*);
int kelp_adaptor_pthread_spin_unlock(uint32_t*);
sem_t* kelp_adaptor_sem_open(const char*, int, ...);
int kelp_adaptor_sem_init(void*, int, unsigned);
int kelp_adaptor_sem_destroy(void*);
int kelp_adaptor_sem_post(void*);
int kelp_adaptor_sem_wait(void*);
int __sem_timedwait_time64(void*, const GuestTimespec*);
}

namespace {
struct alignas(8) GuestRwlock { uint32_t words[8] = {}; };
struct alignas(8) GuestBarrier { uint32_t words[5] = {}; };
struct alignas(8) GuestSem { uint32_t words[4] = {}; };

}  // namespace

TEST(rwlock, zero_filled_lock_is_created_once_and_shared) {
  GuestRwlock lock;
  ASSERT_EQ(0, kelp_adaptor_pthread_rwlock_rdlock(&lock));
  uint32_t box = lock.words[0];
  EXPECT_NE(0u, box);
  EXPECT_EQ(EBUSY, kelp_adaptor_pthread_rwlock_trywrlock(&lock));
  EXPECT_EQ(0, kelp_adaptor_pthread_rwlock_tryrdlock(&lock)) << "readers share";
  EXPECT_EQ(box, lock.words[0]);
  kelp_adaptor_pthread_rwlock_unlock(&lock);
  kelp_adaptor_pthread_rwlock_unlock(&lock);
  EXPECT_EQ(0, kelp_adaptor_pthread_rwlock_destroy(&lock));
}

TEST(rwlock, racing_first_users_get_one_host_lock) {
  for (int round = 0; round < 20; ++round) {
    GuestRwlock lock;
    std::atomic<int> go{0};
    uint32_t seen[6] = {};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
      threads.emplace_back([&, t] {
        while (go.load() == 0) {}
        kelp_adaptor_pthread_rwlock_rdlock(&lock);
        seen[t] = __atomic_load_n(&lock.words[0], __ATOMIC_ACQUIRE);
        kelp_adaptor_pthread_rwlock_unlock(&lock);
      });
    }
    go = 1;
    for (auto& t : threads) t.join();
    // A second creation would have replaced word 0 and left someone holding another lock.
    ASSERT_NE(0u, lock.words[0]);
    for (uint32_t box : seen) EXPECT_EQ(lock.words[0], box);
    EXPECT_EQ(0, kelp_adaptor_pthread_rwlock_trywrlock(&lock)) << "every reader unlocked it";
    kelp_adaptor_pthread_rwlock_unlock(&lock);
    EXPECT_EQ(0, kelp_adaptor_pthread_rwlock_destroy(&lock));
  }
}

TEST(rwlock, readers_and_writers_keep_an_invariant) {
  GuestRwlock lock;
  ASSERT_EQ(0, kelp_adaptor_pthread_rwlock_init(&lock, nullptr));
  long a = 0, b = 0;  // writers keep a == b; readers check it
  std::atomic<int> broken{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        kelp_adaptor_pthread_rwlock_wrlock(&lock);
        a = a + 1;
        std::this_thread::yield();
        b = b + 1;
        kelp_adaptor_pthread_rwlock_unlock(&lock);
      }
    });
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        kelp_adaptor_pthread_rwlock_rdlock(&lock);
        if (a != b) broken = broken + 1;
        kelp_adaptor_pthread_rwlock_unlock(&lock);
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(0, broken.load());
  EXPECT_EQ(1000, a);
  EXPECT_EQ(0, kelp_adaptor_pthread_rwlock_destroy(&lock));
}

TEST(rwlock, destroy_of_a_never_used_lock_and_time_outs) {
  GuestRwlock unused;
  EXPECT_EQ(0, kelp_adaptor_pthread_rwlock_destroy(&unused));

  GuestRwlock lock;
  GuestTimespec too_far = {2147483648LL, 0, 0};
  EXPECT_EQ(22, __pthread_rwlock_timedwrlock_time64(&lock, &too_far));
  EXPECT_EQ(22, __pthread_rwlock_timedrdlock_time64(&lock, &too_far));
  EXPECT_EQ(0u, lock.words[0]) << "refused before the lock was created";
  ASSERT_EQ(0, kelp_adaptor_pthread_rwlock_rdlock(&lock));
  std::thread([&] {
    GuestTimespec soon = RealtimeIn(30);
    EXPECT_EQ(ETIMEDOUT, __pthread_rwlock_timedwrlock_time64(&lock, &soon));
    EXPECT_EQ(ETIMEDOUT, kelp_adaptor_pthread_rwlock_timedwrlock(&lock, nullptr));
  }).join();
  kelp_adaptor_pthread_rwlock_unlock(&lock);
  kelp_adaptor_pthread_rwlock_destroy(&lock);
}

TEST(barrier, threads_meet_and_destroy_unboxes) {
  GuestBarrier barrier;
  ASSERT_EQ(0, kelp_adaptor_pthread_barrier_init(&barrier, nullptr, 4));
  std::atomic<int> serial{0}, arrived{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      arrived = arrived + 1;
      if (kelp_adaptor_pthread_barrier_wait(&barrier) == PTHREAD_BARRIER_SERIAL_THREAD) {
        serial = serial + 1;
      }
      EXPECT_EQ(4, arrived.load()) << "nobody passes before all have arrived";
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(1, serial.load());
  EXPECT_EQ(0, kelp_adaptor_pthread_barrier_destroy(&barrier));
  EXPECT_EQ(0u, barrier.words[0]);
  EXPECT_EQ(22, kelp_adaptor_pthread_barrier_destroy(&barrier));
}

TEST(spin, the_guest_word_is_the_lock_and_the_shared_refusal) {
  FakeLogDaemon daemon;
  uint32_t lock = 0x1234;
  EXPECT_EQ(22, kelp_adaptor_pthread_spin_init(&lock, 1));
  EXPECT_EQ(0x1234u, lock);
  EXPECT_EQ((std::vector<std::string>{"Process shared mutex is not supported!"}),
            daemon.Messages());
  ASSERT_EQ(0, kelp_adaptor_pthread_spin_init(&lock, 0));
  EXPECT_EQ(0u, lock);
  EXPECT_EQ(0, kelp_adaptor_pthread_spin_lock(&lock));
  EXPECT_NE(0u, lock) << "the held state lives in the guest word";
  EXPECT_EQ(EBUSY, kelp_adaptor_pthread_spin_trylock(&lock));
  EXPECT_EQ(0, kelp_adaptor_pthread_spin_unlock(&lock));
  EXPECT_EQ(0u, lock);
  EXPECT_EQ(0, kelp_adaptor_pthread_spin_trylock(&lock));
  EXPECT_EQ(EBUSY, kelp_adaptor_pthread_spin_trylock(&lock));
  kelp_adaptor_pthread_spin_unlock(&lock);
}

namespace {
// Heap-held so that threads that never finish do not outlive what they use.
struct SpinCounter {
  uint32_t lock = 0;
  long counter = 0;
  std::atomic<int> finished{0};
};
}  // namespace

TEST(spin, four_threads_count_exactly_under_the_lock) {
  constexpr int kThreads = 4, kIncrements = 200000;
  auto* shared = new SpinCounter;
  ASSERT_EQ(0, kelp_adaptor_pthread_spin_init(&shared->lock, 0));
  for (int t = 0; t < kThreads; ++t) {
    std::thread([shared] {
      for (int i = 0; i < kIncrements; ++i) {
        kelp_adaptor_pthread_spin_lock(&shared->lock);
        shared->counter = shared->counter + 1;
        kelp_adaptor_pthread_spin_unlock(&shared->lock);
      }
      shared->finished.fetch_add(1);
    }).detach();
  }
  for (int waits = 0; shared->finished.load() < kThreads && waits < 6000; ++waits) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));  // a minute at most
  }
  ASSERT_EQ(kThreads, shared->finished.load()) << "a thread never got the lock";
  EXPECT_EQ(long{kThreads} * kIncrements, shared->counter);
  delete shared;
}

TEST(semaphore, posts_waits_and_messages) {
  FakeLogDaemon daemon;
  errno = 0;
  EXPECT_EQ(nullptr, kelp_adaptor_sem_open("/kelp", 0));
  EXPECT_EQ(ENOSYS, errno);
  GuestSem sem;
  ASSERT_EQ(0, kelp_adaptor_sem_init(&sem, 0, 0));
  std::thread poster([&] { kelp_adaptor_sem_post(&sem); });
  EXPECT_EQ(0, kelp_adaptor_sem_wait(&sem));
  poster.join();
  GuestTimespec soon = RealtimeIn(20);
  errno = 0;
  EXPECT_EQ(-1, __sem_timedwait_time64(&sem, &soon));
  EXPECT_EQ(ETIMEDOUT, errno);
  EXPECT_EQ(0, kelp_adaptor_sem_destroy(&sem));
  EXPECT_EQ((std::vector<std::string>{"sem_open is not supported on bionic",
                                      "sem_close is not supported on bionic"}),
            daemon.Messages());
}

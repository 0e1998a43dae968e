// Guest mutexes, condition variables and C11 objects with host objects in place.
#include <errno.h>
#include <pthread.h>
#include <string.h>
#include <threads.h>
#include <time.h>

#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "guest/time.h"
#include "support/fake_log_daemon.h"
#include "support/guest_time.h"

extern "C" {
int kelp_adaptor_pthread_mutexattr_init(uint32_t*);
int kelp_adaptor_pthread_mutexattr_destroy(uint32_t*);
int kelp_adaptor_pthread_mutexattr_settype(uint32_t*, int);
int kelp_adaptor_pthread_mutexattr_gettype(uint32_t*, int*);
int kelp_adaptor_pthread_mutexattr_setprotocol(uint32_t*, int);
int kelp_adaptor_pthread_mutexattr_setpshared(uint32_t*, int);
int kelp_adaptor_pthread_condattr_setpshared(uint32_t*, int);
int kelp_adaptor_pthread_mutex_init(void*, const uint32_t*);
int kelp_adaptor_pthread_mutex_lock(void*);
int kelp_adaptor_pthread_mutex_trylock(void*);
int kelp_adaptor_pthread_mutex_unlock(void*);
int kelp_adaptor_pthread_mutex_timedlock(void*, const GuestTimespec*);
int kelp_adaptor_pthread_mutex_lock_timeout_np(void*, uint32_t);
int __pthread_mutex_timedlock_time64(void*, const GuestTimespec*);
int kelp_adaptor_pthread_cond_signal(void*);
int kelp_adaptor_pthread_cond_wait(void*, void*);
int kelp_adaptor_pthread_cond_timedwait(void*, void*, const GuestTimespec*);
int __pthread_cond_timedwait_time64(void*, void*, const GuestTimespec*);
int kelp_adaptor_mtx_init(void*, unsigned);
int kelp_adaptor_mtx_lock(void*);
int kelp_adaptor_mtx_trylock(void*);
int kelp_adaptor_mtx_unlock(void*);
int __mtx_timedlock_time64(void*, GuestTimespec*);
}

namespace {
// Guest objects: zero-filled is the static initialiser on both sides.
struct alignas(8) GuestMutex { uint8_t bytes[24] = {}; };
struct alignas(8) GuestCond { uint8_t bytes[48] = {}; };


double MonotonicSeconds() {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec + now.tv_nsec / 1e9;
}
}  // namespace

// Recursion and contention are compared with musl by tests/guest/locks.c.
TEST(mutex, types_through_the_guest_attribute_word) {
  uint32_t attr = 0xDEAD;
  ASSERT_EQ(0, kelp_adaptor_pthread_mutexattr_init(&attr));
  ASSERT_EQ(0, kelp_adaptor_pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_ERRORCHECK));
  int type = -1;
  EXPECT_EQ(0, kelp_adaptor_pthread_mutexattr_gettype(&attr, &type));
  EXPECT_EQ(PTHREAD_MUTEX_ERRORCHECK, type);
  GuestMutex checked;
  ASSERT_EQ(0, kelp_adaptor_pthread_mutex_init(&checked, &attr));
  EXPECT_EQ(0, kelp_adaptor_pthread_mutex_lock(&checked));
  EXPECT_EQ(EDEADLK, kelp_adaptor_pthread_mutex_lock(&checked));
  std::thread([&] { EXPECT_EQ(EPERM, kelp_adaptor_pthread_mutex_unlock(&checked)); }).join();
  EXPECT_EQ(0, kelp_adaptor_pthread_mutex_unlock(&checked));

  EXPECT_EQ(0, kelp_adaptor_pthread_mutexattr_destroy(&attr));
  EXPECT_EQ(0xFFFFFFFFu, attr);
}

TEST(mutex, attribute_refusals_and_warnings) {
  FakeLogDaemon daemon;
  uint32_t attr;
  kelp_adaptor_pthread_mutexattr_init(&attr);
  uint32_t before = attr;
  EXPECT_EQ(95, kelp_adaptor_pthread_mutexattr_setprotocol(&attr, 2));
  EXPECT_EQ(before, attr);
  EXPECT_EQ(95, kelp_adaptor_pthread_mutexattr_setprotocol(nullptr, 2));
  EXPECT_EQ(22, kelp_adaptor_pthread_mutexattr_settype(nullptr, 0));
  kelp_adaptor_pthread_mutexattr_setpshared(&attr, 1);
  kelp_adaptor_pthread_mutexattr_setpshared(&attr, 0);
  uint32_t cond_attr = 0;
  kelp_adaptor_pthread_condattr_setpshared(&cond_attr, 1);
  EXPECT_EQ((std::vector<std::string>{"Process shared mutex is not supported!",
                                      "Process shared cond is not supported!"}),
            daemon.Messages());
}

TEST(mutex, time_outs) {
  GuestMutex mutex;
  ASSERT_EQ(0, kelp_adaptor_pthread_mutex_timedlock(&mutex, nullptr)) << "free: locks at once";
  std::thread([&] {
    GuestTimespec soon = RealtimeIn(50);
    EXPECT_EQ(ETIMEDOUT, kelp_adaptor_pthread_mutex_timedlock(&mutex, &soon));
    EXPECT_EQ(ETIMEDOUT, kelp_adaptor_pthread_mutex_timedlock(&mutex, nullptr))
        << "a null time-out has already expired";
    double start = MonotonicSeconds();
    EXPECT_EQ(ETIMEDOUT, kelp_adaptor_pthread_mutex_lock_timeout_np(&mutex, 999));
    EXPECT_GE(MonotonicSeconds() - start, 0.99) << "999 ms carries into the seconds";
  }).join();
  kelp_adaptor_pthread_mutex_unlock(&mutex);

  GuestTimespec too_far = {2147483648LL, 0, 0};
  EXPECT_EQ(22, __pthread_mutex_timedlock_time64(&mutex, &too_far));
  EXPECT_EQ(0, kelp_adaptor_pthread_mutex_trylock(&mutex)) << "the refused call did not lock";
  kelp_adaptor_pthread_mutex_unlock(&mutex);
  GuestTimespec last = {2147483647LL, 0, 0};
  EXPECT_EQ(0, __pthread_mutex_timedlock_time64(&mutex, &last));
  kelp_adaptor_pthread_mutex_unlock(&mutex);
}

TEST(cond, signalling_and_timed_waits) {
  GuestMutex mutex;
  GuestCond cond;
  bool ready = false;
  std::thread producer([&] {
    kelp_adaptor_pthread_mutex_lock(&mutex);
    ready = true;
    kelp_adaptor_pthread_cond_signal(&cond);
    kelp_adaptor_pthread_mutex_unlock(&mutex);
  });
  kelp_adaptor_pthread_mutex_lock(&mutex);
  while (!ready) kelp_adaptor_pthread_cond_wait(&cond, &mutex);
  producer.join();

  GuestTimespec soon = RealtimeIn(20);
  EXPECT_EQ(ETIMEDOUT, kelp_adaptor_pthread_cond_timedwait(&cond, &mutex, &soon));
  EXPECT_EQ(ETIMEDOUT, kelp_adaptor_pthread_cond_timedwait(&cond, &mutex, nullptr));
  GuestTimespec too_far = {2147483648LL, 0, 0};
  EXPECT_EQ(22, __pthread_cond_timedwait_time64(&cond, &mutex, &too_far));
  soon = RealtimeIn(20);
  EXPECT_EQ(ETIMEDOUT, __pthread_cond_timedwait_time64(&cond, &mutex, &soon));
  kelp_adaptor_pthread_mutex_unlock(&mutex);
}

TEST(c11, mtx_init_types) {
  for (unsigned type = 0; type < 4; ++type) {
    SCOPED_TRACE(type);
    GuestMutex m;
    ASSERT_EQ(thrd_success, kelp_adaptor_mtx_init(&m, type));
    ASSERT_EQ(thrd_success, kelp_adaptor_mtx_lock(&m));
    bool recursive = type == 1 || type == 3;
    EXPECT_EQ(recursive ? thrd_success : thrd_busy, kelp_adaptor_mtx_trylock(&m));
    if (recursive) kelp_adaptor_mtx_unlock(&m);
    kelp_adaptor_mtx_unlock(&m);
  }
  GuestMutex m;
  EXPECT_EQ(thrd_error, kelp_adaptor_mtx_init(&m, 4));
}

TEST(c11, mtx_timedlock_writes_the_time_out_back) {
  GuestMutex m;
  ASSERT_EQ(thrd_success, kelp_adaptor_mtx_init(&m, 2));
  GuestTimespec ts = RealtimeIn(10);
  ts.pad = 0x77;
  int64_t seconds = ts.tv_sec;
  ts.tv_sec += 0x100000000LL;  // only the low word reaches the host
  EXPECT_EQ(thrd_success, __mtx_timedlock_time64(&m, &ts));
  EXPECT_EQ(seconds, ts.tv_sec);
  EXPECT_EQ(0x77, ts.pad);
  kelp_adaptor_mtx_unlock(&m);
}

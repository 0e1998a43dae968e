// Lazily created read-write locks when the allocation fails. This binary interposes malloc so
// that a test can make the next allocation of a host lock fail; everything else allocates as
// usual.
#include <errno.h>
#include <pthread.h>
#include <stdlib.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "guest/time.h"
#include "support/fake_log_daemon.h"

extern "C" {
int kelp_adaptor_pthread_rwlock_rdlock(void*);
int kelp_adaptor_pthread_rwlock_wrlock(void*);
int kelp_adaptor_pthread_rwlock_tryrdlock(void*);
int kelp_adaptor_pthread_rwlock_unlock(void*);
int kelp_adaptor_pthread_rwlock_timedwrlock(void*, const GuestTimespec*);
int kelp_adaptor_pthread_rwlock_destroy(void*);

void* GlibcMalloc(size_t size);
}
__asm__(".symver GlibcMalloc, __libc_malloc@GLIBC_2.4");

namespace {

// bionic's host lock is 40 bytes; the test host's stand-in is glibc's.
std::atomic<bool> g_refuse_locks{false};

struct RefuseLockAllocations {
  RefuseLockAllocations() { g_refuse_locks = true; }
  ~RefuseLockAllocations() { g_refuse_locks = false; }
};

struct alignas(8) GuestRwlock {
  uint32_t words[8] = {};
};

}  // namespace

extern "C" void* malloc(size_t size) {
  if (g_refuse_locks && size == sizeof(pthread_rwlock_t)) {
    errno = ENOMEM;
    return nullptr;
  }
  return GlibcMalloc(size);
}

TEST(rwlock_nomem, failed_creation_returns_enomem_and_a_later_call_succeeds) {
  using Operation = int (*)(GuestRwlock*);
  const Operation operations[] = {
      [](GuestRwlock* l) { return kelp_adaptor_pthread_rwlock_rdlock(l); },
      [](GuestRwlock* l) { return kelp_adaptor_pthread_rwlock_wrlock(l); },
      [](GuestRwlock* l) { return kelp_adaptor_pthread_rwlock_tryrdlock(l); },
      [](GuestRwlock* l) {
        GuestTimespec timeout = {0, 0, 0};
        return kelp_adaptor_pthread_rwlock_timedwrlock(l, &timeout);
      },
      [](GuestRwlock* l) { return kelp_adaptor_pthread_rwlock_destroy(l); },
  };
  for (Operation operation : operations) {
    FakeLogDaemon daemon;
    auto lock = std::make_shared<GuestRwlock>();
    {
      RefuseLockAllocations refuse;
      EXPECT_EQ(ENOMEM, operation(lock.get()));
    }
    EXPECT_EQ(0u, lock->words[0]) << "nothing was created";
    EXPECT_EQ((std::vector<std::string>{"Failed to malloc pthread_rwlock_t in adaptor"}),
              daemon.Messages());

    // Another thread: a creation lock left held would keep it waiting for ever. Detached, with
    // its own references to the promise and the lock, so that a stuck thread cannot hold up the
    // test's end.
    auto result = std::make_shared<std::promise<int>>();
    std::future<int> later = result->get_future();
    std::thread([result, lock] {
      int status = kelp_adaptor_pthread_rwlock_rdlock(lock.get());
      if (status == 0) kelp_adaptor_pthread_rwlock_unlock(lock.get());
      result->set_value(status);
    }).detach();
    ASSERT_EQ(std::future_status::ready, later.wait_for(std::chrono::seconds(30)))
        << "the creation lock stayed held";
    EXPECT_EQ(0, later.get());
    EXPECT_NE(0u, lock->words[0]);
    EXPECT_EQ(0, kelp_adaptor_pthread_rwlock_destroy(lock.get()));
  }
}

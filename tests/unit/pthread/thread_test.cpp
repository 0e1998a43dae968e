// Guest thread attributes on boxed host attributes and thread creation (tests/guest/threads.c
// compares stacks, joins and cleanup records with musl).
#include "pthread/boxed.h"

#include <errno.h>
#include <pthread.h>
#include <sched.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/adaptor_symbol.h"
#include "support/fake_log_daemon.h"

extern "C" {
int kelp_adaptor_pthread_attr_init(GuestPthreadAttr*);
int kelp_adaptor_pthread_attr_destroy(GuestPthreadAttr*);
int kelp_adaptor_pthread_getattr_np(pthread_t, GuestPthreadAttr*);
int kelp_adaptor_pthread_attr_setstacksize(GuestPthreadAttr*, size_t);
int kelp_adaptor_pthread_attr_getstacksize(GuestPthreadAttr*, size_t*);
int kelp_adaptor_pthread_attr_setstack(GuestPthreadAttr*, void*, size_t);
int kelp_adaptor_pthread_attr_getguardsize(GuestPthreadAttr*, size_t*);
int kelp_adaptor_pthread_attr_setdetachstate(GuestPthreadAttr*, int);
int kelp_adaptor_pthread_attr_getdetachstate(GuestPthreadAttr*, int*);
int kelp_adaptor_pthread_attr_setinheritsched(GuestPthreadAttr*, unsigned);
int kelp_adaptor_pthread_attr_getinheritsched(GuestPthreadAttr*, int*);
int kelp_adaptor_pthread_create(pthread_t*, const GuestPthreadAttr*, void* (*)(void*), void*);
pid_t __pthread_gettid_np(pthread_t);
}

namespace {
constexpr char kClampWarning[] =
    "stack size is larger than musl's PTHREAD_STACK_MIN, but smaller than bionic's "
    "PTHREAD_STACK_MIN, use bionic's PTHREAD_STACK_MIN, which is 8192";

void* ReportStack(void*) {
  pthread_attr_t attr;
  size_t size = 0;
  pthread_getattr_np(pthread_self(), &attr);
  pthread_attr_getstacksize(&attr, &size);
  pthread_attr_destroy(&attr);
  return reinterpret_cast<void*>(size);
}

}  // namespace

TEST(pthread_attr, stack_size_clamping) {
  FakeLogDaemon daemon;
  struct Case {
    size_t size;
    size_t passed;  // what the host must have been given
    bool warns;
    int result;  // bionic's answer for the size passed: its minimum is 8192
  } cases[] = {{2047, 2047, false, EINVAL}, {2048, 8192, true, 0},         {8191, 8192, true, 0},
               {8192, 8192, false, 0},      {1 << 20, 1 << 20, false, 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.size);
    GuestPthreadAttr attr;
    ASSERT_EQ(0, kelp_adaptor_pthread_attr_init(&attr));
    EXPECT_EQ(c.result, kelp_adaptor_pthread_attr_setstacksize(&attr, c.size));
    if (c.result == 0) {
      size_t size = 0;
      kelp_adaptor_pthread_attr_getstacksize(&attr, &size);
      EXPECT_EQ(c.passed, size);
    }
    auto records = daemon.Drain();
    ASSERT_EQ(c.warns ? 1u : 0u, records.size());
    if (c.warns) {
      EXPECT_EQ(5, records[0].priority);
      EXPECT_EQ(kClampWarning, records[0].message);
    }
    kelp_adaptor_pthread_attr_destroy(&attr);
  }
  GuestPthreadAttr attr;
  ASSERT_EQ(0, kelp_adaptor_pthread_attr_init(&attr));
  static char stack[1 << 16];
  kelp_adaptor_pthread_attr_setstack(&attr, stack, 4096);
  ASSERT_EQ(1u, daemon.Drain().size()) << "setstack clamps the same way";
  kelp_adaptor_pthread_attr_destroy(&attr);
}

TEST(pthread_attr, boxed_in_word_zero_and_inheritsched_inverted) {
  GuestPthreadAttr attr;
  memset(&attr, 0xA5, sizeof(attr));
  ASSERT_EQ(0, kelp_adaptor_pthread_attr_init(&attr));
  auto* host = BoxedHost<pthread_attr_t>(&attr);
  EXPECT_NE(nullptr, host);
  for (int i = 1; i < 9; ++i) EXPECT_EQ(0xA5A5A5A5u, attr.words[i]) << "word " << i;

  for (unsigned guest : {0u, 1u}) {
    int back = -1, host_value = -1;
    EXPECT_EQ(0, kelp_adaptor_pthread_attr_setinheritsched(&attr, guest));
    EXPECT_EQ(0, kelp_adaptor_pthread_attr_getinheritsched(&attr, &back));
    EXPECT_EQ(static_cast<int>(guest), back);
    // The test binary reads the host record with glibc's own numbering, which is musl's.
    pthread_attr_getinheritsched(host, &host_value);
    EXPECT_EQ(guest == 0 ? PTHREAD_INHERIT_SCHED : PTHREAD_EXPLICIT_SCHED, host_value);
  }
  int host_before = -1, host_after = -1;
  pthread_attr_getinheritsched(host, &host_before);
  EXPECT_EQ(22, kelp_adaptor_pthread_attr_setinheritsched(&attr, 2));
  pthread_attr_getinheritsched(host, &host_after);
  EXPECT_EQ(host_before, host_after);
  EXPECT_EQ(0, kelp_adaptor_pthread_attr_destroy(&attr));
}

TEST(pthread_attr, default_np_values) {
  ADAPTOR_FN(int (*)(GuestPthreadAttr*), getattr_default, "pthread_getattr_default_np");
  GuestPthreadAttr attr;
  ASSERT_EQ(0, getattr_default(&attr));
  size_t size = 0, guard = 0;
  int detach = -1;
  kelp_adaptor_pthread_attr_getstacksize(&attr, &size);
  kelp_adaptor_pthread_attr_getguardsize(&attr, &guard);
  kelp_adaptor_pthread_attr_getdetachstate(&attr, &detach);
  EXPECT_EQ(1032192u, size);
  EXPECT_EQ(4096u, guard);
  EXPECT_EQ(PTHREAD_CREATE_JOINABLE, detach);
  kelp_adaptor_pthread_attr_destroy(&attr);
}

TEST(pthread_create, failure_stores_zero) {
  GuestPthreadAttr attr;
  ASSERT_EQ(0, kelp_adaptor_pthread_attr_init(&attr));
  ASSERT_EQ(0, kelp_adaptor_pthread_attr_setstacksize(&attr, 0xF0000000u));
  pthread_t thread;
  memset(&thread, 0x5A, sizeof(thread));
  EXPECT_NE(0, kelp_adaptor_pthread_create(&thread, &attr, ReportStack, nullptr));
  EXPECT_EQ(0u, static_cast<unsigned long>(thread));
  kelp_adaptor_pthread_attr_destroy(&attr);
}

TEST(pthread_thread, tid_and_affinity_of_the_calling_thread) {
  EXPECT_EQ(static_cast<pid_t>(syscall(SYS_gettid)), __pthread_gettid_np(pthread_self()));
  ADAPTOR_FN(int (*)(pthread_t, size_t, cpu_set_t*), getaffinity, "pthread_getaffinity_np");
  ADAPTOR_FN(int (*)(pthread_t, size_t, const cpu_set_t*), setaffinity, "pthread_setaffinity_np");
  cpu_set_t set, again;
  memset(&set, 0xCC, sizeof(set));
  ASSERT_EQ(0, getaffinity(pthread_self(), sizeof(set), &set));
  EXPECT_GT(CPU_COUNT(&set), 0);
  EXPECT_EQ(0, setaffinity(pthread_self(), sizeof(set), &set));
  ASSERT_EQ(0, getaffinity(pthread_self(), sizeof(again), &again));
  EXPECT_TRUE(CPU_EQUAL(&set, &again));
  EXPECT_EQ(0, reinterpret_cast<uint8_t*>(&set)[sizeof(set) - 1]) << "tail past the kernel's size";
}

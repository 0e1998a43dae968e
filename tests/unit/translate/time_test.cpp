// The 64-bit time entry points, called as a guest calls them.
#include <errno.h>
#include <limits.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/sem.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <utility>

#include <gtest/gtest.h>

#include "translate/time_guest.h"

namespace {
constexpr int32_t kPadSentinel = 0x5A5A5A5A;

int64_t HostNow() {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec;
}
}  // namespace

TEST(time64, clock_reads_fill_the_guest_record) {
  GuestTimespec ts = {0, 0, kPadSentinel};
  ASSERT_EQ(0, GUEST(__clock_gettime64)(CLOCK_REALTIME, &ts));
  EXPECT_NEAR(HostNow(), ts.tv_sec, 2);
  EXPECT_LT(ts.tv_nsec, 1000000000);
  EXPECT_EQ(0, ts.pad) << "the kernel's 64-bit record zeroes the upper nanosecond half";

  GuestTimespec res = {};
  EXPECT_EQ(0, GUEST(__clock_getres_time64)(CLOCK_MONOTONIC, &res));
  EXPECT_GT(res.tv_nsec + res.tv_sec, 0);

  errno = 0;
  EXPECT_EQ(-1, GUEST(__clock_gettime64)(12345, &ts));
  EXPECT_EQ(EINVAL, errno);

  int64_t stored = 0;
  int64_t now = GUEST(__time64)(&stored);
  EXPECT_EQ(now, stored);
  EXPECT_NEAR(HostNow(), now, 2);
  EXPECT_NEAR(HostNow(), GUEST(__time64)(nullptr), 2);
}

TEST(time64, gettimeofday_null_and_values) {
  char tz[8];
  memset(tz, 0x77, sizeof(tz));
  EXPECT_EQ(0, GUEST(__gettimeofday_time64)(nullptr, tz));
  GuestTimeval tv = {};
  EXPECT_EQ(0, GUEST(__gettimeofday_time64)(&tv, tz));
  EXPECT_NEAR(HostNow(), tv.tv_sec, 2);
  EXPECT_GE(tv.tv_usec, 0);
  EXPECT_LT(tv.tv_usec, 1000000);
  for (char c : tz) EXPECT_EQ(0x77, c) << "the time zone is never written";
}

TEST(time64, clock_nanosleep_thread_cpu_clock_fails_without_a_system_call) {
  GuestTimespec req = {0, 1000, 0};
  errno = 1234;
  EXPECT_EQ(22, GUEST(__clock_nanosleep_time64)(3, 0, &req, nullptr));
  EXPECT_EQ(1234, errno);  // a system call would have set it
  EXPECT_EQ(0, GUEST(__clock_nanosleep_time64)(CLOCK_MONOTONIC, 0, &req, nullptr));
  GuestTimespec bad = {0, 2000000000, 0};
  EXPECT_EQ(EINVAL, GUEST(__clock_nanosleep_time64)(CLOCK_MONOTONIC, 0, &bad, nullptr));
  EXPECT_EQ(EINVAL, errno);
}

TEST(time64, sleeps_write_back_as_specified) {
  GuestTimespec req = {0, 1000000, kPadSentinel};
  GuestTimespec rem = {99, 99, kPadSentinel};
  EXPECT_EQ(0, GUEST(__nanosleep_time64)(&req, &rem));
  EXPECT_EQ(0, req.tv_sec);
  EXPECT_EQ(1000000, req.tv_nsec);
  EXPECT_EQ(kPadSentinel, req.pad);

  rem = {99, 99, kPadSentinel};
  EXPECT_EQ(0, GUEST(__thrd_sleep_time64)(&req, &rem));
  EXPECT_EQ(0, rem.tv_sec);  // a zeroed host remainder, written back
  EXPECT_EQ(0, rem.tv_nsec);
  EXPECT_EQ(kPadSentinel, rem.pad);
}

TEST(time64, posix_timer_round_trip) {
  timer_t id;
  struct sigevent event = {};
  event.sigev_notify = SIGEV_NONE;
  ASSERT_EQ(0, timer_create(CLOCK_MONOTONIC, &event, &id));
  GuestItimerspec value = {{0, 0, 0}, {10, 500, 0}};
  GuestItimerspec old = {{1, 1, kPadSentinel}, {1, 1, kPadSentinel}};
  EXPECT_EQ(0, GUEST(__timer_settime64)(id, 0, &value, &old));
  EXPECT_EQ(0, old.it_value.tv_sec);
  EXPECT_EQ(0, old.it_value.tv_nsec);
  EXPECT_EQ(kPadSentinel, old.it_value.pad);

  GuestItimerspec current = {};
  EXPECT_EQ(0, GUEST(__timer_gettime64)(id, &current));
  EXPECT_GE(current.it_value.tv_sec, 9);
  EXPECT_LE(current.it_value.tv_sec, 10);
  EXPECT_LT(current.it_value.tv_nsec, 1000000000);
  timer_delete(id);
}

TEST(time64, timerfd_round_trip_and_expiry) {
  int fd = timerfd_create(CLOCK_MONOTONIC, 0);
  ASSERT_GE(fd, 0);
  GuestItimerspec value = {{0, 0, 0}, {0, 20000000, 0}};
  EXPECT_EQ(0, GUEST(__timerfd_settime64)(fd, 0, &value, nullptr));
  GuestItimerspec current = {};
  EXPECT_EQ(0, GUEST(__timerfd_gettime64)(fd, &current));
  EXPECT_EQ(0, current.it_value.tv_sec);
  EXPECT_GT(current.it_value.tv_nsec, 0);
  EXPECT_LE(current.it_value.tv_nsec, 20000000);
  uint64_t expirations = 0;
  EXPECT_EQ(8, read(fd, &expirations, sizeof(expirations)));  // blocks until it fires
  EXPECT_EQ(1u, expirations);
  close(fd);
}

TEST(time64, itimer_and_timespec_get) {
  GuestItimerval value = {{0, 0}, {100, 0}}, old = {};
  ASSERT_EQ(0, GUEST(__setitimer_time64)(ITIMER_VIRTUAL, &value, &old));
  GuestItimerval current = {};
  EXPECT_EQ(0, GUEST(__getitimer_time64)(ITIMER_VIRTUAL, &current));
  value = {{0, 0}, {0, 0}};
  EXPECT_EQ(0, GUEST(__setitimer_time64)(ITIMER_VIRTUAL, &value, &old));
  EXPECT_GE(old.it_value.tv_sec, 99);
  EXPECT_LE(old.it_value.tv_sec, 100);

  GuestTimespec ts = {0, 0, kPadSentinel};
  EXPECT_EQ(TIME_UTC, GUEST(__timespec_get_time64)(&ts, TIME_UTC));
  EXPECT_NEAR(HostNow(), ts.tv_sec, 2);
  EXPECT_EQ(kPadSentinel, ts.pad);
}

TEST(time64, wait4_converts_usage_of_a_real_child) {
  pid_t child = fork();
  if (child == 0) _exit(7);
  GuestRusage usage;
  memset(&usage, 0xCC, sizeof(usage));
  int status = 0;
  ASSERT_EQ(child, GUEST(__wait4_time64)(child, &status, 0, &usage));
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(7, WEXITSTATUS(status));
  EXPECT_GE(usage.ru_utime.tv_sec, 0);
  EXPECT_LT(usage.ru_utime.tv_usec, 1000000);
  const auto* bytes = reinterpret_cast<const uint8_t*>(&usage);
  for (int i = 16; i < 32; ++i) EXPECT_EQ(0xCC, bytes[i]) << "ru_stime stays as it was";
}

namespace {
// Burns at least `seconds` of this process's CPU time.
void BurnCpu(double seconds) {
  volatile uint32_t sink = 1;
  struct timespec used = {};
  do {
    for (int i = 0; i < 100000; ++i) sink = sink * 1664525u + 1013904223u;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  } while (used.tv_sec + used.tv_nsec / 1e9 < seconds);
}
}  // namespace

TEST(time64, getrusage_fills_the_whole_guest_record) {
  BurnCpu(0.4);  // under emulation much of it is system time
  GuestRusage usage;
  memset(&usage, 0xCC, sizeof(usage));
  ASSERT_EQ(0, GUEST(__getrusage_time64)(RUSAGE_SELF, &usage));
  double user = usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6;
  EXPECT_GE(user, 0.05);
  EXPECT_LE(user, 60.0);
  for (const GuestTimeval* tv : {&usage.ru_utime, &usage.ru_stime}) {
    EXPECT_GE(tv->tv_sec, 0);
    EXPECT_GE(tv->tv_usec, 0);
    EXPECT_LT(tv->tv_usec, 1000000);
  }
  // The host's own record, read just after: the guest's values can only be a little smaller.
  struct rusage host;
  ASSERT_EQ(0, getrusage(RUSAGE_SELF, &host));
  const std::pair<const GuestTimeval*, const timeval*> times[] = {
      {&usage.ru_utime, &host.ru_utime}, {&usage.ru_stime, &host.ru_stime}};
  for (auto [guest, later] : times) {
    double g = guest->tv_sec + guest->tv_usec / 1e6, h = later->tv_sec + later->tv_usec / 1e6;
    EXPECT_LE(g, h);
    EXPECT_GT(g, h - 1.0);
  }
  EXPECT_GT(usage.counters[0], 0) << "ru_maxrss at offset 32";
  EXPECT_LE(usage.counters[0], host.ru_maxrss);
  EXPECT_GT(usage.counters[4], 0) << "ru_minflt at offset 48";
  for (int32_t word : usage.reserved) EXPECT_EQ(static_cast<int32_t>(0xCCCCCCCC), word);
}

TEST(time64, getrusage_fails_with_the_kernel_errno) {
  struct Case {
    int who;
    GuestRusage* usage;
    int error;
  };
  GuestRusage usage;
  const Case cases[] = {{12345, &usage, EINVAL},
                        {RUSAGE_SELF, reinterpret_cast<GuestRusage*>(8), EFAULT}};
  for (const Case& c : cases) {
    errno = 0;
    EXPECT_EQ(-1, GUEST(__getrusage_time64)(c.who, c.usage)) << c.who;
    EXPECT_EQ(c.error, errno) << c.who;
  }
}

namespace {
double MonotonicNow() {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec + now.tv_nsec / 1e9;
}

// A private semaphore set of one semaphore at 0, removed again at the end of the scope.
struct Semaphore {
  Semaphore() : id(semget(IPC_PRIVATE, 1, 0600)) {}
  ~Semaphore() { semctl(id, 0, IPC_RMID); }
  int id;
};
}  // namespace

TEST(time64, semtimedop_waits_for_its_time_out) {
  Semaphore sem;
  ASSERT_GE(sem.id, 0);
  struct sembuf take = {0, -1, 0};
  GuestTimespec timeout = {0, 300000000, kPadSentinel};
  double start = MonotonicNow();
  errno = 0;
  EXPECT_EQ(-1, GUEST(__semtimedop_time64)(sem.id, &take, 1, &timeout));
  EXPECT_EQ(EAGAIN, errno);
  double waited = MonotonicNow() - start;
  EXPECT_GE(waited, 0.25);
  EXPECT_LT(waited, 10.0);

  struct sembuf give = {0, 1, 0};
  EXPECT_EQ(0, GUEST(__semtimedop_time64)(sem.id, &give, 1, nullptr)) << "no time-out at all";
  EXPECT_EQ(0, GUEST(__semtimedop_time64)(sem.id, &take, 1, &timeout));
}

TEST(time64, semtimedop_refuses_time_outs_out_of_range) {
  Semaphore sem;
  ASSERT_GE(sem.id, 0);
  struct sembuf take = {0, -1, 0};
  const GuestTimespec bad[] = {{-1, 0, 0}, {0, -1, 0}, {0, 1000000000, 0}, {1LL << 32, 0, 0},
                               {INT64_MIN, 0, 0}};
  for (const GuestTimespec& timeout : bad) {
    errno = 0;
    EXPECT_EQ(-1, GUEST(__semtimedop_time64)(sem.id, &take, 1, &timeout)) << timeout.tv_sec;
    EXPECT_EQ(EINVAL, errno) << timeout.tv_sec << " " << timeout.tv_nsec;
  }
}

// Only the rejection paths and read-only calls: nothing here may change the machine's clock.
TEST(time64, setting_the_clock_is_rejected_for_bad_arguments) {
  GuestTimeval too_far = {1001, 0}, bad_usec = {0, 1000000001};
  errno = 0;
  EXPECT_EQ(-1, GUEST(__adjtime64)(&too_far, nullptr));
  EXPECT_EQ(EINVAL, errno);
  errno = 0;
  EXPECT_EQ(-1, GUEST(__adjtime64)(&bad_usec, nullptr));
  EXPECT_EQ(EINVAL, errno);
  GuestTimeval old = {-9, -9};
  EXPECT_EQ(0, GUEST(__adjtime64)(nullptr, &old));
  EXPECT_GE(old.tv_usec, 0);
  EXPECT_LT(old.tv_usec, 1000000);

  GuestTimespec ts = {1, 0, 0};
  errno = 0;
  EXPECT_EQ(-1, GUEST(__clock_settime64)(12345, &ts));
  EXPECT_EQ(EINVAL, errno);
  GuestTimeval tv = {1, 2000000};
  errno = 0;
  EXPECT_EQ(-1, GUEST(__settimeofday_time64)(&tv, nullptr));
  EXPECT_EQ(EINVAL, errno);
}

TEST(time64, ftime_and_difftime) {
  GuestTimeb tb;
  memset(&tb, 0x55, sizeof(tb));
  EXPECT_EQ(0, GUEST(__ftime64)(&tb));
  EXPECT_NEAR(HostNow(), tb.time, 2);
  EXPECT_LT(tb.millitm, 1000);
  EXPECT_EQ(0, tb.timezone);
  EXPECT_EQ(0, tb.dstflag);
  EXPECT_EQ(1099511627775.0, GUEST(__difftime64)(1LL << 40, 1));
  EXPECT_EQ(-4294967296.0, GUEST(__difftime64)(0, 1LL << 32));
}

TEST(time64, zone_dependent_calls_past_2038) {
  setenv("TZ", "UTC", 1);
  tzset();
  int64_t t = 4102444800;  // 2100-01-01
  char buf[32];
  ASSERT_NE(nullptr, GUEST(__ctime64_r)(&t, buf));
  EXPECT_STREQ("Fri Jan  1 00:00:00 2100\n", buf);
  struct tm tm = {};
  tm.tm_year = 200;
  tm.tm_mday = 1;
  EXPECT_EQ(t, GUEST(__timegm_time64)(&tm));
  EXPECT_EQ(t, GUEST(__mktime64)(&tm));
}

// C's mktime: the record comes back normalised, with the fields derived from the result.
TEST(time64, mktime_and_timegm_normalise_the_record) {
  setenv("TZ", "UTC0", 1);
  tzset();
  struct Case {
    int year, mon, mday, sec;                 // as given
    int64_t t;                                // the result
    int n_year, n_mon, n_mday, n_sec, wday, yday;  // read back
  };
  const Case cases[] = {
      {121, 2, 0, 0, 1614470400, 121, 1, 28, 0, 0, 58},        // day 0 of March 2021
      {121, 12, 15, 0, 1642204800, 122, 0, 15, 0, 6, 14},      // month 13
      {116, 11, 31, 86399 + 1, 1483228800, 117, 0, 1, 0, 0, 0},  // 2016-12-31 00:00 + 86400 s
      {120, 2, -1, 0, 1582848000, 120, 1, 28, 0, 5, 58},       // day -1 of March 2020
      {121, 1, 29, 0, 1614556800, 121, 2, 1, 0, 1, 59},        // Feb 29 of 2021
      {121, 0, 15 + 40, 0, 1614124800, 121, 1, 24, 0, 3, 54},  // 40 days after Jan 15
      {342, 6, 1, 0, 8599132800, 342, 6, 1, 0, 5, 181},        // 2242-07-01
  };
  for (auto entry : {GUEST(__mktime64), GUEST(__timegm_time64)}) {
    for (const Case& c : cases) {
      struct tm tm = {};
      tm.tm_year = c.year;
      tm.tm_mon = c.mon;
      tm.tm_mday = c.mday;
      tm.tm_sec = c.sec;
      tm.tm_wday = tm.tm_yday = 99;
      EXPECT_EQ(c.t, entry(&tm)) << c.year << "-" << c.mon << "-" << c.mday;
      EXPECT_EQ(c.n_year, tm.tm_year) << c.t;
      EXPECT_EQ(c.n_mon, tm.tm_mon) << c.t;
      EXPECT_EQ(c.n_mday, tm.tm_mday) << c.t;
      EXPECT_EQ(c.n_sec, tm.tm_sec) << c.t;
      EXPECT_EQ(c.wday, tm.tm_wday) << c.t;
      EXPECT_EQ(c.yday, tm.tm_yday) << c.t;
      EXPECT_EQ(0, tm.tm_isdst) << c.t;
      EXPECT_EQ(0, tm.tm_gmtoff) << c.t;
      ASSERT_NE(nullptr, tm.tm_zone) << c.t;
      EXPECT_STREQ("UTC", tm.tm_zone) << c.t;
    }
    struct tm past = {};
    past.tm_year = INT_MAX;
    past.tm_mon = 12;
    past.tm_mday = 1;
    errno = 0;
    EXPECT_EQ(-1, entry(&past)) << "the year does not fit the record";
    EXPECT_EQ(EOVERFLOW, errno);
  }
}

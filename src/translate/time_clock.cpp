// Clocks, timers and sleeps for guests with a 64-bit time_t. Clock reads go to the kernel's
// 64-bit calls with the guest's own buffer; the rest convert to bionic's 32-bit records.
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <threads.h>
#include <time.h>
#include <unistd.h>

#include "core/export.h"
#include "host/bionic_errno.h"
#include "translate/time_convert.h"

static_assert(sizeof(struct timespec) == sizeof(HostTimespec), "host timespec is bionic's");
static_assert(sizeof(struct timeval) == sizeof(HostTimeval), "host timeval is bionic's");
static_assert(sizeof(struct itimerspec) == sizeof(HostItimerspec));
static_assert(sizeof(struct itimerval) == sizeof(HostItimerval));

namespace {

// 32-bit ARM system-call numbers of the 64-bit time calls.
constexpr long kClockGettime64 = 403;
constexpr long kClockSettime64 = 404;
constexpr long kClockGetresTime64 = 406;
constexpr long kClockNanosleepTime64 = 407;
constexpr long kSchedRrGetIntervalTime64 = 423;
constexpr long kGettimeofday = 78;
constexpr long kGetitimer = 105;
constexpr int kThreadCpuClock = 3;

struct KernelTimespec64 {
  int64_t tv_sec;
  int64_t tv_nsec;
};

timespec* Host(HostTimespec* ts) { return reinterpret_cast<timespec*>(ts); }
timeval* Host(HostTimeval* tv) { return reinterpret_cast<timeval*>(tv); }
itimerspec* Host(HostItimerspec* its) { return reinterpret_cast<itimerspec*>(its); }
itimerval* Host(HostItimerval* itv) { return reinterpret_cast<itimerval*>(itv); }

// clock_gettime64 with the fallback for kernels without it. The generic syscall() entry reports
// failure as -1 with errno, so the test against -ENOSYS never fires there; it is kept exactly so.
long ClockGettime64(int clk, void* buffer) {
  long result = syscall(kClockGettime64, clk, buffer);
  if (result != -38) return result;
  if (clk != CLOCK_REALTIME) return -22;
  syscall(kGettimeofday, buffer, nullptr);
  auto* words = static_cast<int32_t*>(buffer);
  words[2] *= 1000;
  return 0;
}

}  // namespace

KELP_EXPORT int __clock_gettime64(clockid_t clk, GuestTimespec* ts) {
  return static_cast<int>(ClockGettime64(clk, ts));
}

KELP_EXPORT int __clock_settime64(clockid_t clk, const GuestTimespec* ts) {
  KernelTimespec64 kernel = {ts->tv_sec, ts->tv_nsec};
  return static_cast<int>(syscall(kClockSettime64, clk, &kernel));
}

KELP_EXPORT int __clock_getres_time64(clockid_t clk, GuestTimespec* res) {
  return static_cast<int>(syscall(kClockGetresTime64, clk, res));
}

KELP_EXPORT int __clock_nanosleep_time64(clockid_t clk, int flags, const GuestTimespec* req,
                                         GuestTimespec* rem) {
  if (clk == kThreadCpuClock) return 22;
  if (syscall(kClockNanosleepTime64, clk, flags, req, rem) == 0) return 0;
  return errno;
}

KELP_EXPORT int __nanosleep_time64(GuestTimespec* req, GuestTimespec* rem) {
  HostTimespec host_req = {}, host_rem = {};
  if (req != nullptr) timespec_musl2bionic(req, &host_req);
  if (rem != nullptr) timespec_musl2bionic(rem, &host_rem);
  int result = nanosleep(req != nullptr ? Host(&host_req) : nullptr,
                         rem != nullptr ? Host(&host_rem) : nullptr);
  if (req != nullptr) timespec_bionic2musl(req, &host_req);
  if (rem != nullptr) timespec_bionic2musl(rem, &host_rem);
  return result;
}

KELP_EXPORT int64_t __time64(int64_t* t) {
  KernelTimespec64 now = {};
  ClockGettime64(CLOCK_REALTIME, &now);
  if (t != nullptr) *t = now.tv_sec;
  return now.tv_sec;
}

KELP_EXPORT int __gettimeofday_time64(GuestTimeval* tv, void* tz) {
  (void)tz;  // never written
  if (tv == nullptr) return 0;
  KernelTimespec64 now = {};
  ClockGettime64(CLOCK_REALTIME, &now);
  tv->tv_sec = now.tv_sec;
  tv->tv_usec = static_cast<int32_t>(now.tv_nsec) / 1000;
  return 0;
}

// The kernel writes its 32-bit layout into the first 16 bytes of the guest record.
KELP_EXPORT int __getitimer_time64(int which, GuestItimerval* value) {
  return static_cast<int>(syscall(kGetitimer, which, value));
}

KELP_EXPORT int __setitimer_time64(int which, const GuestItimerval* value, GuestItimerval* old) {
  HostItimerval host_value = {}, host_old = {};
  if (value != nullptr) itimerval_musl2bionic(value, &host_value);
  if (old != nullptr) itimerval_musl2bionic(old, &host_old);
  int result = setitimer(static_cast<decltype(ITIMER_REAL)>(which),
                         value != nullptr ? Host(&host_value) : nullptr,
                         old != nullptr ? Host(&host_old) : nullptr);
  if (old != nullptr) itimerval_bionic2musl(old, &host_old);
  return result;
}
KELP_EXPORT int kelp_adaptor_setitimer(int, const GuestItimerval*, GuestItimerval*)
    KELP_ALIAS(__setitimer_time64);

KELP_EXPORT int __settimeofday_time64(const GuestTimeval* tv, const struct timezone* tz) {
  HostTimeval host = {};
  if (tv != nullptr) timeval_musl2bionic(tv, &host);
  return settimeofday(tv != nullptr ? Host(&host) : nullptr, tz);
}
KELP_EXPORT int kelp_adaptor_settimeofday(const GuestTimeval*, const struct timezone*)
    KELP_ALIAS(__settimeofday_time64);

KELP_EXPORT int __stime64(const int64_t* t) {
  HostTimeval host = {static_cast<int32_t>(*t), 0};
  return settimeofday(Host(&host), nullptr);
}
KELP_EXPORT int GuestStime(const int64_t*) KELP_SYMBOL(stime) KELP_ALIAS(__stime64);

// timer_* and timerfd_* share their record handling; only the host call differs.
template <typename Id, typename HostGet>
int GetInterval(HostGet get, Id id, GuestItimerspec* current) {
  HostItimerspec host = {};
  itimerspec_musl2bionic(current, &host);
  int result = get(id, Host(&host));
  itimerspec_bionic2musl(current, &host);
  return result;
}

template <typename Id, typename HostSet>
int SetInterval(HostSet set, Id id, int flags, const GuestItimerspec* value,
                GuestItimerspec* old) {
  HostItimerspec host_value = {}, host_old = {};
  if (value != nullptr) itimerspec_musl2bionic(value, &host_value);
  if (old != nullptr) itimerspec_musl2bionic(old, &host_old);
  int result = set(id, flags, value != nullptr ? Host(&host_value) : nullptr,
                   old != nullptr ? Host(&host_old) : nullptr);
  if (old != nullptr) itimerspec_bionic2musl(old, &host_old);
  return result;
}

KELP_EXPORT int __timer_gettime64(timer_t id, GuestItimerspec* current) {
  return GetInterval(timer_gettime, id, current);
}
KELP_EXPORT int kelp_adaptor_timer_gettime(timer_t, GuestItimerspec*)
    KELP_ALIAS(__timer_gettime64);

KELP_EXPORT int __timer_settime64(timer_t id, int flags, const GuestItimerspec* value,
                                  GuestItimerspec* old) {
  return SetInterval(timer_settime, id, flags, value, old);
}
KELP_EXPORT int kelp_adaptor_timer_settime(timer_t, int, const GuestItimerspec*, GuestItimerspec*)
    KELP_ALIAS(__timer_settime64);

KELP_EXPORT int __timerfd_gettime64(int fd, GuestItimerspec* current) {
  return GetInterval(timerfd_gettime, fd, current);
}
KELP_EXPORT int kelp_adaptor_timerfd_gettime(int, GuestItimerspec*)
    KELP_ALIAS(__timerfd_gettime64);

KELP_EXPORT int __timerfd_settime64(int fd, int flags, const GuestItimerspec* value,
                                    GuestItimerspec* old) {
  return SetInterval(timerfd_settime, fd, flags, value, old);
}
KELP_EXPORT int kelp_adaptor_timerfd_settime(int, int, const GuestItimerspec*, GuestItimerspec*)
    KELP_ALIAS(__timerfd_settime64);

KELP_EXPORT int __timespec_get_time64(GuestTimespec* ts, int base) {
  HostTimespec host = {};
  timespec_musl2bionic(ts, &host);
  int result = timespec_get(Host(&host), base);
  timespec_bionic2musl(ts, &host);
  return result;
}
KELP_EXPORT int kelp_adaptor_timespec_get(GuestTimespec*, int) KELP_ALIAS(__timespec_get_time64);

KELP_EXPORT int __sched_rr_get_interval_time64(pid_t pid, GuestTimespec* ts) {
  return static_cast<int>(syscall(kSchedRrGetIntervalTime64, pid, ts));
}

// Unlike nanosleep, the request is not written back; the remainder starts from the guest's own
// record only when there is no request.
KELP_EXPORT int __thrd_sleep_time64(const GuestTimespec* req, GuestTimespec* rem) {
  HostTimespec host_req = {}, host_rem = {};
  if (req != nullptr) timespec_musl2bionic(req, &host_req);
  else if (rem != nullptr) timespec_musl2bionic(rem, &host_rem);
  int result = thrd_sleep(req != nullptr ? Host(&host_req) : nullptr,
                          rem != nullptr ? Host(&host_rem) : nullptr);
  if (rem != nullptr) timespec_bionic2musl(rem, &host_rem);
  return result;
}
KELP_EXPORT int kelp_adaptor_thrd_sleep(const GuestTimespec*, GuestTimespec*)
    KELP_ALIAS(__thrd_sleep_time64);

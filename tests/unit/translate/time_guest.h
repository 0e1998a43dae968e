// The adaptor's 64-bit time entries as a guest sees them. glibc exports several of the same
// names for its own 64-bit time ABI, so each is resolved from the adaptor by version.
#pragma once

#include <sys/types.h>
#include <time.h>

#include "guest/time.h"
#include "support/adaptor_symbol.h"

namespace guest_proto {
int __clock_gettime64(clockid_t, GuestTimespec*);
int __clock_settime64(clockid_t, const GuestTimespec*);
int __clock_getres_time64(clockid_t, GuestTimespec*);
int __clock_nanosleep_time64(clockid_t, int, const GuestTimespec*, GuestTimespec*);
int __nanosleep_time64(GuestTimespec*, GuestTimespec*);
int64_t __time64(int64_t*);
int __gettimeofday_time64(GuestTimeval*, void*);
int __getitimer_time64(int, GuestItimerval*);
int __setitimer_time64(int, const GuestItimerval*, GuestItimerval*);
int __settimeofday_time64(const GuestTimeval*, const void*);
int __timer_gettime64(timer_t, GuestItimerspec*);
int __timer_settime64(timer_t, int, const GuestItimerspec*, GuestItimerspec*);
int __timerfd_gettime64(int, GuestItimerspec*);
int __timerfd_settime64(int, int, const GuestItimerspec*, GuestItimerspec*);
int __timespec_get_time64(GuestTimespec*, int);
int __thrd_sleep_time64(const GuestTimespec*, GuestTimespec*);
pid_t __wait4_time64(pid_t, int*, int, GuestRusage*);
int __getrusage_time64(int, GuestRusage*);
int __semtimedop_time64(int, void*, size_t, const GuestTimespec*);
int __adjtime64(const GuestTimeval*, GuestTimeval*);
int __ftime64(GuestTimeb*);
struct tm* __gmtime64_r(const int64_t*, struct tm*);
char* __ctime64_r(const int64_t*, char*);
double __difftime64(int64_t, int64_t);
int64_t __mktime64(struct tm*);
int64_t __timegm_time64(struct tm*);
}  // namespace guest_proto

// GUEST(__time64) is the adaptor's __time64.
#define GUEST(name) AdaptorSymbol<decltype(&guest_proto::name)>(#name)

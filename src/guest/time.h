// Guest (musl, 32-bit ARM, 64-bit time_t) time records. Binary interfaces: every size and offset
// is fixed.
#pragma once

#include <stddef.h>
#include <stdint.h>

struct GuestTimespec {
  int64_t tv_sec;
  int32_t tv_nsec;
  int32_t pad;  // the kernel's 64-bit record writes the nanoseconds' upper half here
};
static_assert(sizeof(GuestTimespec) == 16);
static_assert(offsetof(GuestTimespec, tv_nsec) == 8);

struct GuestTimeval {
  int64_t tv_sec;
  int64_t tv_usec;
};
static_assert(sizeof(GuestTimeval) == 16);
static_assert(offsetof(GuestTimeval, tv_usec) == 8);

struct GuestItimerval {
  GuestTimeval it_interval;
  GuestTimeval it_value;
};
static_assert(sizeof(GuestItimerval) == 32);
static_assert(offsetof(GuestItimerval, it_value) == 16);

struct GuestItimerspec {
  GuestTimespec it_interval;
  GuestTimespec it_value;
};
static_assert(sizeof(GuestItimerspec) == 32);
static_assert(offsetof(GuestItimerspec, it_value) == 16);

struct GuestUtimbuf {
  int64_t actime;
  int64_t modtime;
};
static_assert(sizeof(GuestUtimbuf) == 16);
static_assert(offsetof(GuestUtimbuf, modtime) == 8);

struct GuestTimeb {
  int64_t time;
  uint16_t millitm;
  int16_t timezone;
  int16_t dstflag;
  uint16_t pad;
};
static_assert(sizeof(GuestTimeb) == 16);
static_assert(offsetof(GuestTimeb, millitm) == 8);
static_assert(offsetof(GuestTimeb, timezone) == 10);
static_assert(offsetof(GuestTimeb, dstflag) == 12);

inline constexpr int kRusageCounters = 14;  // ru_maxrss ... ru_nivcsw

struct GuestRusage {
  GuestTimeval ru_utime;
  GuestTimeval ru_stime;
  int32_t counters[kRusageCounters];
  int32_t reserved[16];  // never touched
};
static_assert(offsetof(GuestRusage, ru_stime) == 16);
static_assert(offsetof(GuestRusage, counters) == 32);
static_assert(offsetof(GuestRusage, reserved) == 88);
static_assert(sizeof(GuestRusage) == 152);

// struct tm is laid out alike on both sides and is never converted.
struct GuestTm {
  int32_t tm_sec, tm_min, tm_hour, tm_mday, tm_mon, tm_year, tm_wday, tm_yday, tm_isdst;
  int32_t tm_gmtoff;
  const char* tm_zone;
};
static_assert(sizeof(GuestTm) == 44);
static_assert(offsetof(GuestTm, tm_isdst) == 32);
static_assert(offsetof(GuestTm, tm_gmtoff) == 36);
static_assert(offsetof(GuestTm, tm_zone) == 40);

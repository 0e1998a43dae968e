// Host (bionic, 32-bit ARM) time records and the converters between guest and host layouts.
// musl2bionic(source guest, destination host); bionic2musl(destination guest, source host).
// Narrowing keeps the low 32 bits without complaint; widening sign-extends.
#pragma once

#include <stdint.h>

#include "guest/time.h"

struct HostTimespec {
  int32_t tv_sec;
  int32_t tv_nsec;
};
struct HostTimeval {
  int32_t tv_sec;
  int32_t tv_usec;
};
struct HostItimerval {
  HostTimeval it_interval;
  HostTimeval it_value;
};
struct HostItimerspec {
  HostTimespec it_interval;
  HostTimespec it_value;
};
struct HostUtimbuf {
  int32_t actime;
  int32_t modtime;
};
struct HostTimeb {
  int32_t time;
  uint16_t millitm;
  int16_t timezone;
  int16_t dstflag;
  uint16_t pad;
};
struct HostRusage {
  HostTimeval ru_utime;
  HostTimeval ru_stime;
  int32_t counters[kRusageCounters];
};
static_assert(sizeof(HostTimespec) == 8 && sizeof(HostTimeval) == 8);
static_assert(sizeof(HostItimerval) == 16 && sizeof(HostItimerspec) == 16);
static_assert(sizeof(HostUtimbuf) == 8 && sizeof(HostTimeb) == 12);
static_assert(sizeof(HostRusage) == 72 && offsetof(HostRusage, counters) == 16);

extern "C" {
void timespec_musl2bionic(const GuestTimespec* guest, HostTimespec* host);
void timespec_bionic2musl(GuestTimespec* guest, const HostTimespec* host);
void timeval_musl2bionic(const GuestTimeval* guest, HostTimeval* host);
void timeval_bionic2musl(GuestTimeval* guest, const HostTimeval* host);
void utimbuf_musl2bionic(const GuestUtimbuf* guest, HostUtimbuf* host);
void utimbuf_bionic2musl(GuestUtimbuf* guest, const HostUtimbuf* host);
void itimerval_musl2bionic(const GuestItimerval* guest, HostItimerval* host);
void itimerval_bionic2musl(GuestItimerval* guest, const HostItimerval* host);
void itimerspec_musl2bionic(const GuestItimerspec* guest, HostItimerspec* host);
void itimerspec_bionic2musl(GuestItimerspec* guest, const HostItimerspec* host);
void timeb_musl2bionic(const GuestTimeb* guest, HostTimeb* host);
void timeb_bionic2musl(GuestTimeb* guest, const HostTimeb* host);
void rusage_musl2bionic(const GuestRusage* guest, HostRusage* host);
void rusage_bionic2musl(GuestRusage* guest, const HostRusage* host);
}

// A relative guest time-out as the host's record. Unlike the converters above, a negative or
// out-of-range value is refused (false, errno EINVAL) instead of wrapping into another wait.
bool TimeoutToHost(const GuestTimespec* guest, HostTimespec* host);

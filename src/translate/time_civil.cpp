// Calendar time for guests with a 64-bit time_t: the adaptor's own UTC decomposition, bionic's
// 64-bit time functions for everything zone-dependent, and the small helpers around them.
#include <limits.h>
#include <sys/timex.h>
#include <time.h>

#include "core/export.h"
#include "host/bionic_errno.h"
#include "host/bionic_time.h"
#include "translate/time_convert.h"

static_assert(sizeof(struct tm) == sizeof(GuestTm), "struct tm is shared, never converted");

namespace {

constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kMarch2000 = 946684800 + 86400 * (31 + 29);  // 2000-03-01 00:00:00 UTC
constexpr int64_t kDaysPer400Years = 365 * 400 + 97;
constexpr int64_t kDaysPer100Years = 365 * 100 + 24;
constexpr int64_t kDaysPer4Years = 365 * 4 + 1;
// Months from March, so that the leap day falls at the end of the year.
constexpr int kMonthDays[] = {31, 30, 31, 30, 31, 31, 30, 31, 30, 31, 31, 29};

}  // namespace

KELP_EXPORT struct tm* __gmtime64_r(const int64_t* t, struct tm* tm) {
  int64_t secs = *t;
  // Outside these bounds the year cannot be represented even at 366 days a year.
  if (secs < INT_MIN * 31622400LL || secs > INT_MAX * 31622400LL) {
    errno = EOVERFLOW;
    return nullptr;
  }
  secs -= kMarch2000;
  int64_t days = secs / kSecondsPerDay;
  int remsecs = static_cast<int>(secs % kSecondsPerDay);
  if (remsecs < 0) {
    remsecs += kSecondsPerDay;
    --days;
  }

  int wday = static_cast<int>((3 + days) % 7);
  if (wday < 0) wday += 7;

  int64_t qc_cycles = days / kDaysPer400Years;
  int remdays = static_cast<int>(days % kDaysPer400Years);
  if (remdays < 0) {
    remdays += kDaysPer400Years;
    --qc_cycles;
  }
  int c_cycles = remdays / kDaysPer100Years;
  if (c_cycles == 4) --c_cycles;
  remdays -= c_cycles * kDaysPer100Years;

  int q_cycles = remdays / kDaysPer4Years;
  if (q_cycles == 25) --q_cycles;
  remdays -= q_cycles * kDaysPer4Years;

  int remyears = remdays / 365;
  if (remyears == 4) --remyears;
  remdays -= remyears * 365;

  int leap = remyears == 0 && (q_cycles != 0 || c_cycles == 0);
  int yday = remdays + 31 + 28 + leap;
  if (yday >= 365 + leap) yday -= 365 + leap;

  int64_t years = remyears + 4 * q_cycles + 100 * c_cycles + 400 * qc_cycles;
  int months = 0;
  while (remdays >= kMonthDays[months]) remdays -= kMonthDays[months++];
  if (months >= 10) {
    months -= 12;
    ++years;
  }
  if (years + 100 > INT_MAX || years + 100 < INT_MIN) {
    errno = EOVERFLOW;
    return nullptr;
  }

  tm->tm_year = static_cast<int>(years + 100);
  tm->tm_mon = months + 2;
  tm->tm_mday = remdays + 1;
  tm->tm_wday = wday;
  tm->tm_yday = yday;
  tm->tm_hour = remsecs / 3600;
  tm->tm_min = remsecs / 60 % 60;
  tm->tm_sec = remsecs % 60;
  tm->tm_isdst = 0;
  tm->tm_gmtoff = 0;
  tm->tm_zone = "UTC";
  return tm;
}
KELP_EXPORT struct tm* kelp_adaptor_gmtime_r(const int64_t*, struct tm*) KELP_ALIAS(__gmtime64_r);

KELP_EXPORT struct tm* __gmtime64(const int64_t* t) { return gmtime64(t); }
KELP_EXPORT struct tm* kelp_adaptor_gmtime(const int64_t*) KELP_ALIAS(__gmtime64);

KELP_EXPORT struct tm* __localtime64(const int64_t* t) { return localtime64(t); }

KELP_EXPORT struct tm* __localtime64_r(const int64_t* t, struct tm* tm) {
  return localtime64_r(t, tm);
}

namespace {

// C's mktime and timegm: bionic's 64-bit forms compute the time but leave the record as it was,
// so the record is rebuilt from the result (normalised, weekday, day of year, DST flag, offset
// and zone). A time whose date does not fit the record fails with EOVERFLOW.
int64_t Normalised(struct tm* tm, int64_t (*compute)(const struct tm*),
                   struct tm* (*decompose)(const int64_t*, struct tm*)) {
  int saved = errno;
  errno = 0;
  int64_t t = compute(tm);
  struct tm out;
  if ((t == -1 && errno != 0) || decompose(&t, &out) == nullptr) {
    errno = EOVERFLOW;
    return -1;
  }
  errno = saved;
  *tm = out;
  return t;
}

int64_t HostMktime(const struct tm* tm) { return mktime64(tm); }
int64_t HostTimegm(const struct tm* tm) { return timegm64(tm); }
struct tm* HostLocaltime(const int64_t* t, struct tm* tm) { return localtime64_r(t, tm); }

}  // namespace

KELP_EXPORT int64_t __mktime64(struct tm* tm) {
  return Normalised(tm, HostMktime, HostLocaltime);
}
KELP_EXPORT int64_t kelp_adaptor_mktime(struct tm*) KELP_ALIAS(__mktime64);
KELP_EXPORT int64_t kelp_adaptor_timelocal(struct tm*) KELP_ALIAS(__mktime64);

KELP_EXPORT int64_t __timegm_time64(struct tm* tm) {
  return Normalised(tm, HostTimegm, __gmtime64_r);
}
KELP_EXPORT int64_t kelp_adaptor_timegm(struct tm*) KELP_ALIAS(__timegm_time64);

KELP_EXPORT char* __ctime64(const int64_t* t) {
  struct tm* tm = localtime64(t);
  return tm != nullptr ? asctime(tm) : nullptr;
}

KELP_EXPORT char* __ctime64_r(const int64_t* t, char* buf) {
  struct tm tm = {};
  return localtime64_r(t, &tm) != nullptr ? asctime_r(&tm, buf) : nullptr;
}

KELP_EXPORT double __difftime64(int64_t t1, int64_t t0) { return static_cast<double>(t1 - t0); }

// tb must not be null.
KELP_EXPORT int __ftime64(GuestTimeb* tb) {
  struct timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  tb->time = now.tv_sec;
  tb->millitm = static_cast<uint16_t>(now.tv_nsec / 1000000);
  tb->timezone = 0;
  tb->dstflag = 0;
  return 0;
}

// A single-shot offset adjustment through adjtimex. The microsecond bound is one thousand
// million, not one million, and the offset is computed in 32 bits: both kept as the guest ABI
// has them.
KELP_EXPORT int GuestAdjtime(const GuestTimeval* delta, GuestTimeval* old)
    KELP_SYMBOL(__adjtime64);
int GuestAdjtime(const GuestTimeval* delta, GuestTimeval* old) {
  struct timex tx = {};
  if (delta != nullptr) {
    if (delta->tv_sec > 1000 || delta->tv_usec > 1000000000) {
      errno = EINVAL;
      return -1;
    }
    tx.modes = 0x8001;  // ADJ_OFFSET_SINGLESHOT
    tx.offset = static_cast<int32_t>(static_cast<uint32_t>(delta->tv_sec) * 1000000u +
                                     static_cast<uint32_t>(delta->tv_usec));
  }
  if (adjtimex(&tx) < 0) return -1;
  if (old != nullptr) {
    int32_t offset = static_cast<int32_t>(tx.offset);
    old->tv_sec = offset / 1000000;
    old->tv_usec = offset % 1000000;
    if (old->tv_usec < 0) {
      --old->tv_sec;
      old->tv_usec += 1000000;
    }
  }
  return 0;
}
KELP_EXPORT int GuestAdjtimeAlias(const GuestTimeval*, GuestTimeval*) KELP_SYMBOL(adjtime)
    KELP_ALIAS(__adjtime64);

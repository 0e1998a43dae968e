// The adaptor's own UTC decomposition against an independent days-from-civil computation.
#include <errno.h>
#include <limits.h>
#include <string.h>

#include <gtest/gtest.h>

#include "translate/time_guest.h"

namespace {

// Days since 1970-01-01 of a proleptic Gregorian date (era arithmetic, valid for any year).
int64_t DaysFromCivil(int64_t y, int m, int d) {
  y -= m <= 2;
  int64_t era = (y >= 0 ? y : y - 399) / 400;
  int64_t yoe = y - era * 400;
  int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

bool IsLeap(int64_t y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

struct tm* Gmtime(int64_t t, struct tm* tm) {
  static auto fn = GUEST(__gmtime64_r);
  return fn(&t, tm);
}

}  // namespace

TEST(gmtime64_r, every_day_from_year_minus_2000_to_4000) {
  static const int kMonthDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  static const int kTimes[] = {0, 1, 43199, 86399};
  int64_t days = DaysFromCivil(-2000, 1, 1);
  int checked = 0;
  for (int64_t year = -2000; year <= 4000; ++year) {
    int yday = 0;
    for (int month = 0; month < 12; ++month) {
      int length = kMonthDays[month] + (month == 1 && IsLeap(year));
      for (int mday = 1; mday <= length; ++mday, ++days, ++yday) {
        int secs = kTimes[days & 3];
        struct tm tm;
        memset(&tm, 0x7F, sizeof(tm));
        ASSERT_NE(nullptr, Gmtime(days * 86400 + secs, &tm)) << year;
        int wday = static_cast<int>(((days % 7) + 11) % 7);  // 1970-01-01 was a Thursday
        ASSERT_EQ(year - 1900, tm.tm_year);
        ASSERT_EQ(month, tm.tm_mon) << year;
        ASSERT_EQ(mday, tm.tm_mday) << year << "-" << month;
        ASSERT_EQ(yday, tm.tm_yday) << year;
        ASSERT_EQ(wday, tm.tm_wday) << year << "-" << month << "-" << mday;
        ASSERT_EQ(secs / 3600, tm.tm_hour);
        ASSERT_EQ(secs / 60 % 60, tm.tm_min);
        ASSERT_EQ(secs % 60, tm.tm_sec);
        ++checked;
      }
    }
  }
  EXPECT_EQ(DaysFromCivil(4001, 1, 1) - DaysFromCivil(-2000, 1, 1), checked);
}

TEST(gmtime64_r, known_instants) {
  struct tm tm;
  ASSERT_NE(nullptr, Gmtime(0, &tm));
  EXPECT_EQ(70, tm.tm_year);
  EXPECT_EQ(0, tm.tm_mon);
  EXPECT_EQ(1, tm.tm_mday);
  EXPECT_EQ(4, tm.tm_wday);
  EXPECT_EQ(0, tm.tm_yday);
  EXPECT_EQ(0, tm.tm_isdst);
  EXPECT_EQ(0, tm.tm_gmtoff);
  EXPECT_STREQ("UTC", tm.tm_zone);
  ASSERT_NE(nullptr, Gmtime(951868800, &tm));
  EXPECT_EQ(100, tm.tm_year);
  EXPECT_EQ(2, tm.tm_mon);
  EXPECT_EQ(1, tm.tm_mday);
  EXPECT_EQ(60, tm.tm_yday);
  ASSERT_NE(nullptr, Gmtime(2147483648LL, &tm));  // one second past the 32-bit range
  EXPECT_EQ(138, tm.tm_year);
  EXPECT_EQ(19, tm.tm_mday);
  EXPECT_EQ(3, tm.tm_hour);
  EXPECT_EQ(14, tm.tm_min);
  EXPECT_EQ(8, tm.tm_sec);
}

TEST(gmtime64_r, range_limits_overflow) {
  struct tm tm;
  // The last second whose year still fits tm_year, and the first that does not.
  int64_t last = (DaysFromCivil(INT_MAX + 1900LL, 12, 31) + 1) * 86400 - 1;
  ASSERT_NE(nullptr, Gmtime(last, &tm));
  EXPECT_EQ(INT_MAX, tm.tm_year);
  EXPECT_EQ(11, tm.tm_mon);
  EXPECT_EQ(31, tm.tm_mday);
  errno = 0;
  EXPECT_EQ(nullptr, Gmtime(last + 1, &tm));
  EXPECT_EQ(EOVERFLOW, errno);

  int64_t first = DaysFromCivil(INT_MIN + 1900LL, 1, 1) * 86400;
  ASSERT_NE(nullptr, Gmtime(first, &tm));
  EXPECT_EQ(INT_MIN, tm.tm_year);
  errno = 0;
  EXPECT_EQ(nullptr, Gmtime(first - 1, &tm));
  EXPECT_EQ(EOVERFLOW, errno);

  for (int64_t t : {INT_MAX * 31622400LL + 1, INT_MIN * 31622400LL - 1}) {
    errno = 0;
    EXPECT_EQ(nullptr, Gmtime(t, &tm));
    EXPECT_EQ(EOVERFLOW, errno);
  }
}

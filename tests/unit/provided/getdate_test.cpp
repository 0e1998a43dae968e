// getdate: DATEMSK templates, the standard's rules for fields the input leaves out, and the
// error codes 1 to 8 in getdate_err. Runs in UTC so that every expected time is exact.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>

#include <string>

#include "guest/time.h"
#include "support/adaptor_symbol.h"
#include "support/temp_dir.h"

namespace {

using GetdateFn = GuestTm* (*)(const char*);

class GetdateTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "UTC0", 1);
    tzset();
  }
  void TearDown() override { unsetenv("DATEMSK"); }

  // Writes the template file and points DATEMSK at it.
  void Templates(const char* text) {
    std::string path = dir_.Path("templates");
    FILE* f = fopen(path.c_str(), "w");
    ASSERT_NE(nullptr, f);
    fputs(text, f);
    fclose(f);
    setenv("DATEMSK", path.c_str(), 1);
  }

  GuestTm* Getdate(const char* input) {
    ADAPTOR_FN(GetdateFn, fn, "getdate");
    return fn(input);
  }

  int Error() { return *static_cast<int*>(AdaptorSymbolAddress("getdate_err")); }

  TempDir dir_;
};

struct Full {
  const char* input;
  int year, mon, mday, hour, min, sec, wday, yday;
};

}  // namespace

TEST_F(GetdateTest, complete_dates_through_each_conversion) {
  Templates(
      "%Y-%m-%d %H:%M:%S\n"
      "%A %B %d %Y %T\n"
      "%m/%d/%y %I:%M %p\n"
      "%c\n"
      "%Y day %j at %R\n"
      "%d.%m.%C%y %H.%M\n");
  static const Full kCases[] = {
      {"2024-02-29 12:34:56", 2024, 1, 29, 12, 34, 56, 4, 59},
      {"  2040-07-04 00:00:00  ", 2040, 6, 4, 0, 0, 0, 3, 185},  // past 2038
      {"1999-12-31 23:59:60", 2000, 0, 1, 0, 0, 0, 6, 0},        // a leap second rolls over
      {"thursday FEBRUARY 29 2024 01:02:03", 2024, 1, 29, 1, 2, 3, 4, 59},
      {"Mon jan 1 2024 10:00:00", 2024, 0, 1, 10, 0, 0, 1, 0},
      {"02/29/68 12:30 AM", 2068, 1, 29, 0, 30, 0, 3, 59},
      {"1/1/69 12:05 pm", 1969, 0, 1, 12, 5, 0, 3, 0},
      {"03/01/00 01:00 PM", 2000, 2, 1, 13, 0, 0, 3, 60},
      {"Tue Jan  2 03:04:05 2024", 2024, 0, 2, 3, 4, 5, 2, 1},
      {"2024 day 060 at 08:15", 2024, 1, 29, 8, 15, 0, 4, 59},
      {"2023 day 365 at 23:59", 2023, 11, 31, 23, 59, 0, 0, 364},
      {"31.12.1899 06.07", 1899, 11, 31, 6, 7, 0, 0, 364},
  };
  for (const Full& c : kCases) {
    GuestTm* tm = Getdate(c.input);
    ASSERT_NE(nullptr, tm) << c.input << " error " << Error();
    EXPECT_EQ(c.year - 1900, tm->tm_year) << c.input;
    EXPECT_EQ(c.mon, tm->tm_mon) << c.input;
    EXPECT_EQ(c.mday, tm->tm_mday) << c.input;
    EXPECT_EQ(c.hour, tm->tm_hour) << c.input;
    EXPECT_EQ(c.min, tm->tm_min) << c.input;
    EXPECT_EQ(c.sec, tm->tm_sec) << c.input;
    EXPECT_EQ(c.wday, tm->tm_wday) << c.input;
    EXPECT_EQ(c.yday, tm->tm_yday) << c.input;
    EXPECT_EQ(0, tm->tm_gmtoff) << c.input;
  }
}

TEST_F(GetdateTest, error_codes) {
  unsetenv("DATEMSK");
  EXPECT_EQ(nullptr, Getdate("2024-01-01"));
  EXPECT_EQ(1, Error());
  setenv("DATEMSK", "", 1);
  EXPECT_EQ(nullptr, Getdate("2024-01-01"));
  EXPECT_EQ(1, Error());
  setenv("DATEMSK", dir_.Path("missing").c_str(), 1);
  EXPECT_EQ(nullptr, Getdate("2024-01-01"));
  EXPECT_EQ(2, Error());
  setenv("DATEMSK", dir_.path().c_str(), 1);
  EXPECT_EQ(nullptr, Getdate("2024-01-01"));
  EXPECT_EQ(4, Error());
  Templates("%Y-%m-%d\n%H:%M\n");
  static const struct {
    const char* input;
    int error;
  } kCases[] = {
      {"2024-1-1 trailing", 7}, {"yesterday", 7},  {"2024-13-01", 7}, {"24:00", 7}, {"", 7},
      {"2023-02-29", 8},        {"2024-04-31", 8}, {"2100-02-29", 8},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(nullptr, Getdate(c.input)) << c.input;
    EXPECT_EQ(c.error, Error()) << c.input;
  }
  EXPECT_NE(nullptr, Getdate("2000-02-29"));
}

TEST_F(GetdateTest, missing_fields_come_from_now) {
  Templates("%H:%M\n%A\n%B\n%d\n%Y\n%B %Y\n");
  time_t before = time(nullptr);
  struct tm now;
  gmtime_r(&before, &now);
  // A month alone: the first of that month, this year or next, never in the past.
  GuestTm* tm = Getdate("January");
  ASSERT_NE(nullptr, tm);
  EXPECT_EQ(0, tm->tm_mon);
  EXPECT_EQ(1, tm->tm_mday);
  EXPECT_EQ(now.tm_year + (now.tm_mon > 0), tm->tm_year);
  EXPECT_EQ(now.tm_hour, tm->tm_hour);  // no time given: the current time of day
  tm = Getdate("December 2031");
  ASSERT_NE(nullptr, tm);
  EXPECT_EQ(131, tm->tm_year);
  EXPECT_EQ(11, tm->tm_mon);
  EXPECT_EQ(1, tm->tm_mday);
  // A weekday alone: today or the next such day.
  static const char* const kDays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                      "Thursday", "Friday", "Saturday"};
  for (int wday = 0; wday < 7; ++wday) {
    tm = Getdate(kDays[wday]);
    ASSERT_NE(nullptr, tm);
    EXPECT_EQ(wday, tm->tm_wday);
    time_t then = before + (wday - now.tm_wday + 7) % 7 * 86400;
    struct tm expected;
    gmtime_r(&then, &expected);
    EXPECT_EQ(expected.tm_mday, tm->tm_mday) << kDays[wday];
    EXPECT_EQ(expected.tm_mon, tm->tm_mon) << kDays[wday];
  }
  // A time alone: today if that hour has not passed, else tomorrow; minutes and seconds given
  // or zero.
  char text[8];
  int earlier = (now.tm_hour + 23) % 24;
  snprintf(text, sizeof(text), "%02d:07", earlier);
  tm = Getdate(text);
  ASSERT_NE(nullptr, tm);
  EXPECT_EQ(earlier, tm->tm_hour);
  EXPECT_EQ(7, tm->tm_min);
  EXPECT_EQ(0, tm->tm_sec);
  EXPECT_EQ(earlier < now.tm_hour ? (now.tm_wday + 1) % 7 : now.tm_wday, tm->tm_wday);
  snprintf(text, sizeof(text), "%02d:59", now.tm_hour);
  tm = Getdate(text);
  ASSERT_NE(nullptr, tm);
  EXPECT_EQ(now.tm_wday, tm->tm_wday);  // the current hour counts as today
  // A year alone: its first of January.
  tm = Getdate("2030");
  ASSERT_NE(nullptr, tm);
  EXPECT_EQ(130, tm->tm_year);
  EXPECT_EQ(0, tm->tm_yday);
}

TEST_F(GetdateTest, first_matching_template_wins_and_utc_zone) {
  Templates("%d\n%Y-%m-%d %H:%M %Z\n%Y-%m-%d %H:%M\n");
  setenv("TZ", "EST5", 1);
  tzset();
  GuestTm* tm = Getdate("2024-06-01 12:00 GMT");
  ASSERT_NE(nullptr, tm);
  EXPECT_EQ(12, tm->tm_hour);
  EXPECT_EQ(0, tm->tm_gmtoff);
  tm = Getdate("2024-06-01 12:00");
  ASSERT_NE(nullptr, tm);
  EXPECT_EQ(12, tm->tm_hour);
  EXPECT_EQ(-5 * 3600, tm->tm_gmtoff);
}

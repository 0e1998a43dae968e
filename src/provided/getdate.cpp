// getdate: a date and time from text, through the templates of the file that DATEMSK names.
// The first template (one per line) that matches the whole input decides; fields it does not
// give come from the current time, by the standard's rules. Failures are told in getdate_err:
// 1 no DATEMSK, 2 cannot open it, 3 no status, 4 not a regular file, 5 read error, 6 no memory,
// 7 no template matches, 8 the input is out of range.
#include <fcntl.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "core/export.h"
#include "guest/time.h"
#include "host/bionic_errno.h"
#include "host/bionic_time.h"
#include "provided/getdate_scan.h"

// The adaptor's own 64-bit time entries.
extern "C" int __clock_gettime64(clockid_t clk, GuestTimespec* ts);
extern "C" struct tm* __gmtime64_r(const int64_t* t, struct tm* tm);

extern "C" {
KELP_VISIBLE int getdate_err;
}

namespace {

using kelp_getdate::DateFields;

enum DateError {
  kNoDatemsk = 1,
  kCannotOpen = 2,
  kNoStatus = 3,
  kNotRegular = 4,
  kReadError = 5,
  kNoMemory = 6,
  kNoMatch = 7,
  kInvalid = 8,
};

GuestTm g_result;

// Reads the whole template file into a NUL-terminated heap buffer, or fails with its code.
int ReadTemplates(char** text) {
  const char* path = getenv("DATEMSK");
  if (path == nullptr || *path == '\0') return kNoDatemsk;
  int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return kCannotOpen;
  struct stat st;
  int error = 0;
  if (fstat(fd, &st) != 0) {
    error = kNoStatus;
  } else if (!S_ISREG(st.st_mode)) {
    error = kNotRegular;
  } else if ((*text = static_cast<char*>(malloc(static_cast<size_t>(st.st_size) + 1))) == nullptr) {
    error = kNoMemory;
  } else {
    size_t size = static_cast<size_t>(st.st_size), used = 0;
    while (used < size) {
      ssize_t n = read(fd, *text + used, size - used);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) error = kReadError;
      if (n <= 0) break;
      used += static_cast<size_t>(n);
    }
    (*text)[used] = '\0';
    if (error != 0) free(*text);
  }
  close(fd);
  return error;
}

// Finds the first line of `templates` that matches `input`.
bool MatchAny(char* templates, const char* input, DateFields* fields) {
  for (char* line = templates; line != nullptr && *line != '\0';) {
    char* end = strchr(line, '\n');
    if (end != nullptr) *end = '\0';
    *fields = DateFields();
    if (kelp_getdate::Match(line, input, fields)) return true;
    line = end != nullptr ? end + 1 : nullptr;
  }
  return false;
}

bool IsLeap(int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysIn(int64_t year, int mon) {
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return kDays[mon] + (mon == 1 && IsLeap(year));
}

// Fills the time of day: given fields win, missing ones are zero; nothing given keeps now.
void ApplyTime(const DateFields& f, struct tm* tm) {
  if (!f.has_hour && !f.has_min && !f.has_sec) return;
  int hour = f.has_hour ? f.hour : 0;
  if (f.twelve_hour) hour = hour % 12 + (f.pm ? 12 : 0);
  tm->tm_hour = hour;
  tm->tm_min = f.has_min ? f.min : 0;
  tm->tm_sec = f.has_sec ? f.sec : 0;
}

// Fills the date from the given fields and `now`; false when the day does not exist.
bool ApplyDate(const DateFields& f, const struct tm& now, struct tm* tm) {
  bool has_date = f.has_year || f.has_mon || f.has_mday || f.has_yday || f.has_wday;
  if (f.has_year) tm->tm_year = f.year - 1900;
  if (f.has_mon) {
    tm->tm_mon = f.mon;
    if (!f.has_year && f.mon < now.tm_mon) ++tm->tm_year;
    tm->tm_mday = f.has_mday ? f.mday : 1;
  } else if (f.has_mday) {
    tm->tm_mday = f.mday;
  } else if (f.has_yday) {
    tm->tm_mon = 0;
    tm->tm_mday = f.yday + 1;
    if (f.yday >= 365 && !IsLeap(tm->tm_year + 1900LL)) return false;
  } else if (f.has_year) {
    tm->tm_mon = 0;
    tm->tm_mday = 1;
  } else if (f.has_wday) {
    tm->tm_mday += (f.wday - now.tm_wday + 7) % 7;
  }
  if (f.has_mday && f.mday > DaysIn(tm->tm_year + 1900LL, tm->tm_mon)) return false;
  if (!has_date && (f.has_hour || f.has_min || f.has_sec) && tm->tm_hour < now.tm_hour) {
    ++tm->tm_mday;  // the named hour comes next tomorrow
  }
  return true;
}

void CopyOut(const struct tm& tm) {
  g_result.tm_sec = tm.tm_sec;
  g_result.tm_min = tm.tm_min;
  g_result.tm_hour = tm.tm_hour;
  g_result.tm_mday = tm.tm_mday;
  g_result.tm_mon = tm.tm_mon;
  g_result.tm_year = tm.tm_year;
  g_result.tm_wday = tm.tm_wday;
  g_result.tm_yday = tm.tm_yday;
  g_result.tm_isdst = tm.tm_isdst;
  g_result.tm_gmtoff = static_cast<int32_t>(tm.tm_gmtoff);
  g_result.tm_zone = tm.tm_zone;
}

// Turns matched fields into the result; false when the input names no real time.
bool Resolve(const DateFields& f) {
  GuestTimespec ts = {};
  __clock_gettime64(CLOCK_REALTIME, &ts);
  int64_t now_seconds = ts.tv_sec;
  struct tm now;
  if ((f.utc ? __gmtime64_r(&now_seconds, &now) : localtime64_r(&now_seconds, &now)) == nullptr) {
    return false;
  }
  struct tm tm = now;
  ApplyTime(f, &tm);
  if (!ApplyDate(f, now, &tm)) return false;
  tm.tm_isdst = -1;
  int64_t t = f.utc ? timegm64(&tm) : mktime64(&tm);
  struct tm out;
  if ((f.utc ? __gmtime64_r(&t, &out) : localtime64_r(&t, &out)) == nullptr) return false;
  CopyOut(out);
  return true;
}

}  // namespace

KELP_ENTRY(GuestTm*, getdate, (const char* input)) {
  char* templates = nullptr;
  int error = ReadTemplates(&templates);
  if (error != 0) {
    getdate_err = error;
    return nullptr;
  }
  DateFields fields;
  bool matched = MatchAny(templates, input, &fields);
  free(templates);
  if (!matched) {
    getdate_err = kNoMatch;
    return nullptr;
  }
  if (!Resolve(fields)) {
    getdate_err = kInvalid;
    return nullptr;
  }
  return &g_result;
}

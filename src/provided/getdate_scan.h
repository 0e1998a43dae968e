// getdate's template matcher: one template line against the whole input, in the C locale.
#pragma once

namespace kelp_getdate {

// What a template gave; the has_ flags tell which fields were present.
struct DateFields {
  int year = 0;  // full year
  int mon = 0;   // 0-11
  int mday = 0;  // 1-31
  int yday = 0;  // 0-365
  int wday = 0;  // 0-6, Sunday first
  int hour = 0, min = 0, sec = 0;
  int century = -1;     // %C, applied to %y
  int short_year = -1;  // %y
  bool has_year = false, has_mon = false, has_mday = false, has_yday = false, has_wday = false;
  bool has_hour = false, has_min = false, has_sec = false;
  bool twelve_hour = false;  // hour came from %I
  bool pm = false;
  bool utc = false;  // %Z named UTC or GMT
};

// True when `pattern` matches all of `input` (leading and trailing blanks aside).
bool Match(const char* pattern, const char* input, DateFields* fields);

}  // namespace kelp_getdate

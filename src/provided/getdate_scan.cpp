// getdate's template matcher. Conversions follow strptime's in the C locale; names match without
// regard to case, leading zeros are optional, and blanks in a template match any run of blanks.
#include "provided/getdate_scan.h"

#include <string.h>

namespace kelp_getdate {

namespace {

const char* const kDays[] = {"sunday",   "monday", "tuesday", "wednesday",
                             "thursday", "friday", "saturday"};
const char* const kMonths[] = {"january",   "february", "march",    "april",
                               "may",       "june",     "july",     "august",
                               "september", "october",  "november", "december"};

// Expansions of the composite conversions in the C locale.
struct Composite {
  char conversion;
  const char* pattern;
};
constexpr Composite kComposites[] = {
    {'c', "%a %b %e %H:%M:%S %Y"},
    {'D', "%m/%d/%y"},
    {'r', "%I:%M:%S %p"},
    {'R', "%H:%M"},
    {'T', "%H:%M:%S"},
    {'x', "%m/%d/%y"},
    {'X', "%H:%M:%S"},
};

// Numeric conversions: maximum digits, range, and where the value goes.
struct Numeric {
  char conversion;
  int digits, low, high;
};
constexpr Numeric kNumerics[] = {
    {'C', 2, 0, 99}, {'d', 2, 1, 31},  {'e', 2, 1, 31}, {'H', 2, 0, 23},
    {'I', 2, 1, 12}, {'j', 3, 1, 366}, {'m', 2, 1, 12}, {'M', 2, 0, 59},
    {'S', 2, 0, 60}, {'w', 1, 0, 6},   {'y', 2, 0, 99}, {'Y', 4, 0, 9999},
};

bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}
char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
const char* SkipSpace(const char* s) {
  while (IsSpace(*s)) ++s;
  return s;
}

// Length of the match of `word` (whole, or its first three letters) at s, or 0.
size_t MatchName(const char* s, const char* word) {
  size_t n = 0;
  while (word[n] != '\0' && Lower(s[n]) == word[n]) ++n;
  if (word[n] == '\0') return n;
  return n >= 3 ? 3 : 0;
}

// Finds which of `names` starts s; returns its index and advances s, or -1.
int MatchNames(const char** s, const char* const* names, int count) {
  for (int i = 0; i < count; ++i) {
    size_t n = MatchName(*s, names[i]);
    if (n > 0) {
      *s += n;
      return i;
    }
  }
  return -1;
}

bool ScanNumber(const char** s, const Numeric& conv, int* value) {
  const char* p = SkipSpace(*s);
  int v = 0, n = 0;
  while (n < conv.digits && p[n] >= '0' && p[n] <= '9') v = v * 10 + (p[n++] - '0');
  if (n == 0 || v < conv.low || v > conv.high) return false;
  *s = p + n;
  *value = v;
  return true;
}

void StoreNumber(char conversion, int v, DateFields* f) {
  switch (conversion) {
    case 'C':
      f->century = v;
      break;
    case 'd':
    case 'e':
      f->mday = v;
      f->has_mday = true;
      break;
    case 'H':
      f->hour = v;
      f->has_hour = true;
      f->twelve_hour = false;
      break;
    case 'I':
      f->hour = v;
      f->has_hour = true;
      f->twelve_hour = true;
      break;
    case 'j':
      f->yday = v - 1;
      f->has_yday = true;
      break;
    case 'm':
      f->mon = v - 1;
      f->has_mon = true;
      break;
    case 'M':
      f->min = v;
      f->has_min = true;
      break;
    case 'S':
      f->sec = v;
      f->has_sec = true;
      break;
    case 'w':
      f->wday = v;
      f->has_wday = true;
      break;
    case 'y':
      f->short_year = v;
      break;
    case 'Y':
      f->year = v;
      f->has_year = true;
      break;
  }
}

bool ScanZone(const char** s, DateFields* f) {
  static const char* const kUtcNames[] = {"utc", "gmt", "z"};
  for (const char* name : kUtcNames) {
    size_t n = strlen(name);
    size_t i = 0;
    while (i < n && Lower((*s)[i]) == name[i]) ++i;
    char next = (*s)[n];
    if (i == n && !((next >= 'a' && next <= 'z') || (next >= 'A' && next <= 'Z'))) {
      *s += n;
      f->utc = true;
      return true;
    }
  }
  return false;
}

bool MatchFrom(const char* pattern, const char** input, DateFields* f);

// Matches one conversion character c at *s.
bool Convert(char c, const char** s, DateFields* f) {
  for (const Composite& comp : kComposites) {
    if (comp.conversion == c) return MatchFrom(comp.pattern, s, f);
  }
  for (const Numeric& conv : kNumerics) {
    if (conv.conversion != c) continue;
    int v;
    if (!ScanNumber(s, conv, &v)) return false;
    StoreNumber(c, v, f);
    return true;
  }
  *s = SkipSpace(*s);
  int i;
  switch (c) {
    case '%':
      return *(*s)++ == '%';
    case 'n':
    case 't':
      return true;
    case 'a':
    case 'A':
      if ((i = MatchNames(s, kDays, 7)) < 0) return false;
      f->wday = i;
      f->has_wday = true;
      return true;
    case 'b':
    case 'B':
    case 'h':
      if ((i = MatchNames(s, kMonths, 12)) < 0) return false;
      f->mon = i;
      f->has_mon = true;
      return true;
    case 'p':
      if (Lower((*s)[0]) != 'a' && Lower((*s)[0]) != 'p') return false;
      if (Lower((*s)[1]) != 'm') return false;
      f->pm = Lower((*s)[0]) == 'p';
      *s += 2;
      return true;
    case 'Z':
      return ScanZone(s, f);
    default:
      return false;  // not a conversion this matcher knows: the template cannot match
  }
}

bool MatchFrom(const char* pattern, const char** input, DateFields* f) {
  const char* s = *input;
  for (const char* p = pattern; *p != '\0'; ++p) {
    if (IsSpace(*p)) {
      s = SkipSpace(s);
    } else if (*p == '%' && p[1] != '\0') {
      char c = *++p;
      if (c == 'E' || c == 'O') c = *++p;  // the alternative forms are the plain ones here
      if (c == '\0' || !Convert(c, &s, f)) return false;
    } else if (Lower(*s) == Lower(*p)) {
      ++s;
    } else {
      return false;
    }
  }
  *input = s;
  return true;
}

}  // namespace

bool Match(const char* pattern, const char* input, DateFields* fields) {
  const char* s = SkipSpace(input);
  if (!MatchFrom(pattern, &s, fields) || *SkipSpace(s) != '\0') return false;
  if (fields->short_year >= 0) {
    int century = fields->century >= 0 ? fields->century : (fields->short_year < 69 ? 20 : 19);
    fields->year = century * 100 + fields->short_year;
    fields->has_year = true;
  } else if (fields->century >= 0 && !fields->has_year) {
    fields->year = fields->century * 100;
    fields->has_year = true;
  }
  return true;
}

}  // namespace kelp_getdate

// Monetary formatting in the C locale, which is the only monetary data on this platform: no
// currency symbol and no grouping, '.' as the radix character, two fraction digits by default,
// '-' for negative amounts. Flags: =f fill, ^ no grouping, + or ( sign style, ! no symbol,
// - left-justify; then width, #left precision, .right precision, and i or n.
#include <limits.h>
#include <locale.h>
#include <math.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/types.h>

#include "core/export.h"
#include "host/bionic_errno.h"

namespace {

constexpr int kDefaultFraction = 2;
constexpr int kMaxPrecision = 340;  // keeps the digits of any double within the staging buffer

struct Conversion {
  char fill = ' ';
  bool parentheses = false;
  bool sign_seen = false;
  bool left_justify = false;
  int width = 0;
  int left = -1;  // #n, -1 when absent
  int right = kDefaultFraction;
};

// Output with its bound: `Put` reports whether everything so far fitted with room for the NUL.
struct Out {
  char* s;
  size_t max;
  size_t used = 0;
  bool Put(const char* text, size_t n) {
    if (n > 0 && n >= max - used) return false;
    memcpy(s + used, text, n);
    used += n;
    return true;
  }
  bool Repeat(char c, size_t n) {
    if (n > 0 && n >= max - used) return false;
    memset(s + used, c, n);
    used += n;
    return true;
  }
};

int Number(const char** p, int limit) {
  int v = 0;
  while (**p >= '0' && **p <= '9') {
    if (v <= limit) v = v * 10 + (**p - '0');
    ++*p;
  }
  return v > limit ? limit : v;
}

// Parses flags, width and precisions after '%'; false when the conversion is malformed.
bool ParseConversion(const char** p, Conversion* conv) {
  for (;; ++*p) {
    char c = **p;
    if (c == '=') {
      if ((*p)[1] == '\0') return false;
      conv->fill = *++*p;
    } else if (c == '+' || c == '(') {
      if (conv->sign_seen) return false;  // one sign style only
      conv->sign_seen = true;
      conv->parentheses = c == '(';
    } else if (c == '-') {
      conv->left_justify = true;
    } else if (c != '^' && c != '!') {
      break;
    }
  }
  conv->width = Number(p, INT_MAX / 2);
  if (**p == '#') {
    ++*p;
    if (**p < '0' || **p > '9') return false;  // '#' needs its digit count
    conv->left = Number(p, kMaxPrecision);
  }
  if (**p == '.') {
    ++*p;
    conv->right = Number(p, kMaxPrecision);
  }
  return **p == 'i' || **p == 'n';
}

// Formats one amount into `field` (sign, digits, radix); returns its length.
size_t FormatAmount(const Conversion& conv, double value, char* field, size_t size) {
  bool negative = signbit(value);
  char digits[kMaxPrecision + 320];
  snprintf(digits, sizeof(digits), "%.*f", conv.right, fabs(value));
  size_t whole = strcspn(digits, ".");
  const char* open = negative ? (conv.parentheses ? "(" : "-") : (conv.left >= 0 ? " " : "");
  const char* close = !conv.parentheses ? "" : (negative ? ")" : (conv.left >= 0 ? " " : ""));
  size_t n = 0;
  auto add = [&](const char* text, size_t len) {
    for (size_t i = 0; i < len && n < size; ++i) field[n++] = text[i];
  };
  add(open, strlen(open));
  for (int i = static_cast<int>(whole); i < conv.left && n < size; ++i) field[n++] = conv.fill;
  add(digits, strlen(digits));
  add(close, strlen(close));
  return n;
}

ssize_t Format(char* s, size_t max, const char* format, va_list ap) {
  Out out = {s, max};
  for (const char* p = format; *p != '\0'; ++p) {
    if (*p != '%' || p[1] == '%') {
      if (*p == '%') ++p;
      if (!out.Put(p, 1)) return errno = E2BIG, -1;
      continue;
    }
    ++p;
    Conversion conv;
    if (!ParseConversion(&p, &conv)) return errno = EINVAL, -1;
    char field[2 * kMaxPrecision + 340];
    size_t n = FormatAmount(conv, va_arg(ap, double), field, sizeof(field));
    size_t pad = static_cast<size_t>(conv.width) > n ? conv.width - n : 0;
    if ((!conv.left_justify && !out.Repeat(' ', pad)) || !out.Put(field, n) ||
        (conv.left_justify && !out.Repeat(' ', pad))) {
      return errno = E2BIG, -1;
    }
  }
  if (max == 0) return errno = E2BIG, -1;
  s[out.used] = '\0';
  return static_cast<ssize_t>(out.used);
}

}  // namespace

KELP_ENTRY(ssize_t, strfmon, (char* s, size_t max, const char* format, ...)) {
  va_list ap;
  va_start(ap, format);
  ssize_t result = Format(s, max, format, ap);
  va_end(ap);
  return result;
}

// The locale carries no monetary data of its own here: every locale formats like C.
KELP_ENTRY(ssize_t, strfmon_l, (char* s, size_t max, locale_t, const char* format, ...)) {
  va_list ap;
  va_start(ap, format);
  ssize_t result = Format(s, max, format, ap);
  va_end(ap);
  return result;
}

// The legacy conversions of a double to decimal digits. ecvt and fcvt return a string of digits
// only (no sign, no radix character) in a static buffer of their own, which the next call of the
// same function overwrites; the radix position and the sign come back through the pointers.
// A value that rounds to zero gives zeros with the radix position after the first.
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "core/export.h"

namespace {

// At most this many digits are produced; more are not meaningful for a double anyway
// (its exact decimal expansion has at most 767 significant digits, but ~17 carry information).
constexpr int kMaxDigits = 350;
// Room for "%.*f" of the largest double with kMaxDigits fraction digits.
constexpr int kStage = 320 + kMaxDigits + 8;

char g_ecvt_digits[kMaxDigits + 1];
char g_fcvt_digits[kMaxDigits + 320 + 1];

int Clamp(int n, int low, int high) { return n < low ? low : (n > high ? high : n); }

// Splits a "%e" rendering "[-]d.ddde[+-]x" into digits and the radix position.
void FromExponentForm(const char* text, char* digits, int* decpt) {
  const char* p = text;
  if (*p == '-') ++p;
  char* out = digits;
  for (; *p != 'e' && *p != '\0'; ++p) {
    if (*p >= '0' && *p <= '9') *out++ = *p;
  }
  *out = '\0';
  int exponent = 0;
  if (*p == 'e') exponent = static_cast<int>(strtol(p + 1, nullptr, 10));
  *decpt = digits[0] == '0' ? 1 : exponent + 1;
}

// Non-finite values come out as the words that printf uses, with the radix position at the end.
bool NotFinite(double value, char* digits, int* decpt) {
  if (value - value == 0) return false;
  strcpy(digits, value != value ? "nan" : "inf");
  *decpt = 3;
  return true;
}

}  // namespace

KELP_ENTRY(char*, ecvt, (double value, int ndigit, int* decpt, int* sign)) {
  *sign = signbit(value) ? 1 : 0;
  if (NotFinite(value, g_ecvt_digits, decpt)) return g_ecvt_digits;
  char text[kStage];
  int count = Clamp(ndigit, 1, kMaxDigits);
  snprintf(text, sizeof(text), "%.*e", count - 1, value);
  FromExponentForm(text, g_ecvt_digits, decpt);
  if (ndigit < 1) g_ecvt_digits[0] = '\0';  // no digits asked for: only the radix position
  return g_ecvt_digits;
}

KELP_ENTRY(char*, fcvt, (double value, int ndigit, int* decpt, int* sign)) {
  *sign = signbit(value) ? 1 : 0;
  if (NotFinite(value, g_fcvt_digits, decpt)) return g_fcvt_digits;
  char text[kStage];
  snprintf(text, sizeof(text), "%.*f", Clamp(ndigit, 0, kMaxDigits), value);
  const char* p = text[0] == '-' ? text + 1 : text;
  const char* point = strchr(p, '.');
  int whole = point != nullptr ? static_cast<int>(point - p) : static_cast<int>(strlen(p));
  char* out = g_fcvt_digits;
  for (const char* q = p; *q != '\0'; ++q) {
    if (*q != '.') *out++ = *q;
  }
  *out = '\0';
  // Leading zeros move the radix position left, unless the whole value rounded to zero.
  size_t zeros = strspn(g_fcvt_digits, "0");
  if (g_fcvt_digits[zeros] == '\0') {
    *decpt = whole;
  } else {
    memmove(g_fcvt_digits, g_fcvt_digits + zeros, strlen(g_fcvt_digits + zeros) + 1);
    *decpt = whole - static_cast<int>(zeros);
  }
  return g_fcvt_digits;
}

KELP_ENTRY(char*, gcvt, (double value, int ndigit, char* buf)) {
  sprintf(buf, "%.*g", Clamp(ndigit, 0, kMaxDigits), value);
  return buf;
}

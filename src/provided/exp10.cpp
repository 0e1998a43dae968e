// Powers of ten. An integral exponent gives the correctly rounded power (the host's decimal
// conversion of "1eN" rounds correctly, including into the subnormal range and to overflow with
// ERANGE); any other exponent goes to the host's pow, which is accurate to about half an ulp.
// long double is double on this processor.
#include <math.h>
#include <stdlib.h>

#include "core/export.h"

namespace {

// Whole exponents beyond these overflow or underflow to zero in either format.
constexpr int kExponentLimit = 400;

// Writes "1e<n>" into text, which has room for 8 bytes.
void PowerText(int n, char* text) {
  char* p = text;
  *p++ = '1';
  *p++ = 'e';
  if (n < 0) {
    *p++ = '-';
    n = -n;
  }
  char digits[4];
  int count = 0;
  do {
    digits[count++] = static_cast<char>('0' + n % 10);
    n /= 10;
  } while (n > 0);
  while (count > 0) *p++ = digits[--count];
  *p = '\0';
}

bool WholeInRange(double x, int* n) {
  if (!(x > -kExponentLimit && x < kExponentLimit)) return false;
  *n = static_cast<int>(x);
  return *n == x;
}

double Exp10(double x) {
  int n;
  if (!WholeInRange(x, &n)) return pow(10.0, x);
  char text[8];
  PowerText(n, text);
  return strtod(text, nullptr);
}

float Exp10f(float x) {
  int n;
  if (!WholeInRange(x, &n)) return powf(10.0f, x);
  char text[8];
  PowerText(n, text);
  return strtof(text, nullptr);
}

}  // namespace

KELP_ENTRY(double, exp10, (double x)) { return Exp10(x); }
KELP_ENTRY(float, exp10f, (float x)) { return Exp10f(x); }
KELP_ENTRY(double, exp10l, (double x)) { return Exp10(x); }
KELP_ENTRY(double, pow10, (double x)) { return Exp10(x); }
KELP_ENTRY(float, pow10f, (float x)) { return Exp10f(x); }
KELP_ENTRY(double, pow10l, (double x)) { return Exp10(x); }

// Version-aware string comparison: runs of digits compare as numbers, and a run with leading
// zeros as a fraction, so that 000 < 00 < 01 < 010 < 09 < 0 < 1 < 9 < 10.
#include <stddef.h>

#include "core/export.h"

namespace {

bool IsDigit(unsigned char c) { return c >= '0' && c <= '9'; }

size_t DigitRun(const unsigned char* s) {
  size_t n = 0;
  while (IsDigit(s[n])) ++n;
  return n;
}

// Orders two equal-length digit runs, or two runs of different length by their first byte.
int Lexical(const unsigned char* a, size_t na, const unsigned char* b, size_t nb) {
  for (size_t i = 0; i < na && i < nb; ++i) {
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  }
  return na == nb ? 0 : (na < nb ? -1 : 1);
}

size_t LeadingZeros(const unsigned char* s, size_t n) {
  size_t z = 0;
  while (z < n && s[z] == '0') ++z;
  return z;
}

// Compares two non-empty digit runs: fractions (a leading zero and more digits) come before
// whole numbers; among fractions more leading zeros come first.
int CompareRuns(const unsigned char* a, size_t na, const unsigned char* b, size_t nb) {
  bool fa = a[0] == '0' && na > 1;
  bool fb = b[0] == '0' && nb > 1;
  if (fa != fb) return fa ? -1 : 1;
  if (fa) {
    size_t za = LeadingZeros(a, na), zb = LeadingZeros(b, nb);
    if (za != zb) return za > zb ? -1 : 1;
    return Lexical(a, na, b, nb);
  }
  if (na != nb) return na < nb ? -1 : 1;
  return Lexical(a, na, b, nb);
}

}  // namespace

KELP_ENTRY(int, strverscmp, (const char* left, const char* right)) {
  const auto* a = reinterpret_cast<const unsigned char*>(left);
  const auto* b = reinterpret_cast<const unsigned char*>(right);
  size_t i = 0;
  while (a[i] == b[i]) {
    if (a[i] == '\0') return 0;
    ++i;
  }
  size_t start = i;
  while (start > 0 && IsDigit(a[start - 1])) --start;
  size_t na = DigitRun(a + start), nb = DigitRun(b + start);
  if (na > 0 && nb > 0) {
    int order = CompareRuns(a + start, na, b + start, nb);
    if (order != 0) return order;
  }
  return a[i] < b[i] ? -1 : 1;
}

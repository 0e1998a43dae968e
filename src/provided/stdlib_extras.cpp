// qsort_r, newer in bionic than the platform level the adaptor targets, and the radix-64
// conversions of POSIX.
#include <stddef.h>
#include <stdint.h>

#include "core/export.h"

namespace {

using Compare = int (*)(const void*, const void*, void*);

void SwapBytes(unsigned char* a, unsigned char* b, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    unsigned char t = a[i];
    a[i] = b[i];
    b[i] = t;
  }
}

// Moves element `root` down the heap of `count` elements until both children are smaller.
void SiftDown(unsigned char* base, size_t root, size_t count, size_t size, Compare compare,
              void* arg) {
  for (;;) {
    size_t largest = root, left = 2 * root + 1, right = left + 1;
    if (left < count && compare(base + left * size, base + largest * size, arg) > 0) largest = left;
    if (right < count && compare(base + right * size, base + largest * size, arg) > 0) {
      largest = right;
    }
    if (largest == root) return;
    SwapBytes(base + root * size, base + largest * size, size);
    root = largest;
  }
}

// The 64 digits: '.', '/', '0'-'9', 'A'-'Z', 'a'-'z'.
constexpr char kDigits[] = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

int DigitValue(char c) {
  for (int i = 0; i < 64; ++i) {
    if (kDigits[i] == c) return i;
  }
  return -1;
}

}  // namespace

// Heap sort: no recursion and no allocation, whatever the input.
KELP_ENTRY(void, qsort_r, (void* base, size_t count, size_t size, Compare compare, void* arg)) {
  if (count < 2 || size == 0) return;
  auto* bytes = static_cast<unsigned char*>(base);
  for (size_t i = count / 2; i-- > 0;) SiftDown(bytes, i, count, size, compare, arg);
  for (size_t end = count - 1; end > 0; --end) {
    SwapBytes(bytes, bytes + end * size, size);
    SiftDown(bytes, 0, end, size, compare, arg);
  }
}

// At most six digits, least significant first; the first character that is no digit ends it.
// The result is the 32-bit value, sign-extended.
KELP_ENTRY(long, a64l, (const char* s)) {
  uint32_t value = 0;
  for (int shift = 0; shift < 36 && *s != '\0'; shift += 6, ++s) {
    int digit = DigitValue(*s);
    if (digit < 0) break;
    value |= static_cast<uint32_t>(digit) << shift;
  }
  return static_cast<int32_t>(value);
}

// The low 32 bits of value; "" for 0. The buffer is overwritten by the next call.
KELP_ENTRY(char*, l64a, (long value)) {
  static char buffer[7];
  uint32_t bits = static_cast<uint32_t>(value);
  int n = 0;
  for (; bits != 0 && n < 6; bits >>= 6) buffer[n++] = kDigits[bits & 63];
  buffer[n] = '\0';
  return buffer;
}

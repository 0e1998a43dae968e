// Test host: bionic's integer conversions with a base other than 0 or 2 to 36 fail with
// EINVAL and set the end pointer to the start of the string; glibc leaves it unset.
#include <errno.h>
#include <inttypes.h>
#include <stdlib.h>
#include <wchar.h>

#include "kelphost.h"

namespace {
template <typename Char>
bool BadBase(const Char* string, Char** end, int base) {
  if (base == 0 || (base >= 2 && base <= 36)) return false;
  if (end != nullptr) *end = const_cast<Char*>(string);
  errno = EINVAL;
  return true;
}
}  // namespace

// Each calls glibc's own function of the same name, bound by version.
#define KELPHOST_STRTO(ret, name, Char)                                            \
  extern "C" ret Glibc_##name(const Char* s, Char** end, int base);                \
  __asm__(".symver Glibc_" #name ", " #name "@GLIBC_2.4");                        \
  KELPHOST_EXPORT ret Bionic_##name(const Char* s, Char** end, int base)           \
      __asm__(#name);                                                              \
  ret Bionic_##name(const Char* s, Char** end, int base) {                         \
    return BadBase(s, end, base) ? 0 : Glibc_##name(s, end, base);                 \
  }
KELPHOST_STRTO(long, strtol, char)
KELPHOST_STRTO(unsigned long, strtoul, char)
KELPHOST_STRTO(long long, strtoll, char)
KELPHOST_STRTO(unsigned long long, strtoull, char)
KELPHOST_STRTO(intmax_t, strtoimax, char)
KELPHOST_STRTO(uintmax_t, strtoumax, char)
KELPHOST_STRTO(long, wcstol, wchar_t)
KELPHOST_STRTO(unsigned long, wcstoul, wchar_t)
KELPHOST_STRTO(long long, wcstoll, wchar_t)
KELPHOST_STRTO(unsigned long long, wcstoull, wchar_t)
KELPHOST_STRTO(intmax_t, wcstoimax, wchar_t)
KELPHOST_STRTO(uintmax_t, wcstoumax, wchar_t)

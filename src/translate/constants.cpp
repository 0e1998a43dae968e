// Small constants whose values differ between the guest libc and bionic: pathconf names,
// fnmatch flags, rounding modes, floating-point classes and ilogb's special values.
#include <fenv.h>
#include <fnmatch.h>
#include <limits.h>
#include <locale.h>
#include <stdint.h>
#include <string.h>
#include <unistd.h>
#include <wctype.h>

#include "core/export.h"
#include "host/bionic_math.h"

namespace {

// Guest _PC_ name to bionic's. _PC_SOCK_MAXBUF has no counterpart and goes as _PC_PRIO_IO.
constexpr int kPathconfNames[] = {1,  2,  3, 4,  5, 6,  14, 15, 16, 19, 17,
                                  18, 18, 0, 9, 10, 11, 12, 8,  13, 7};

int HostPathconfName(int name) {
  return static_cast<unsigned>(name) < sizeof(kPathconfNames) / sizeof(kPathconfNames[0])
             ? kPathconfNames[name]
             : name;
}

// Guest rounding modes (the FPSCR's RMode field) by bionic's mode 0..3.
constexpr int kGuestRounding[] = {0, 0x400000, 0x800000, 0xC00000};

// Guest class by bionic's class bit: infinite 1, NaN 2, normal 4, subnormal 8, zero 16.
int GuestClass(int host) {
  switch (host) {
    case 0x01: return 1;  // FP_INFINITE
    case 0x02: return 0;  // FP_NAN
    case 0x04: return 4;  // FP_NORMAL
    case 0x08: return 3;  // FP_SUBNORMAL
    case 0x10: return 2;  // FP_ZERO
    default: return -1;
  }
}

// ilogb from the bit pattern, with the guest's special values.
template <typename Bits, int kMantissa, int kBias>
int Ilogb(Bits bits) {
  constexpr int kExponentBits = sizeof(Bits) * 8 - 1 - kMantissa;
  constexpr Bits kMantissaMask = (Bits{1} << kMantissa) - 1;
  int exponent = static_cast<int>((bits >> kMantissa) & ((Bits{1} << kExponentBits) - 1));
  Bits mantissa = bits & kMantissaMask;
  if (exponent == (1 << kExponentBits) - 1) return mantissa != 0 ? INT_MIN : INT_MAX;
  if (exponent != 0) return exponent - kBias;
  if (mantissa == 0) return INT_MIN;  // FP_ILOGB0
  int leading_zeros = 0;
  for (Bits probe = Bits{1} << (kMantissa - 1); (mantissa & probe) == 0; probe >>= 1) {
    ++leading_zeros;
  }
  return -kBias - leading_zeros;
}

}  // namespace

KELP_EXPORT long kelp_adaptor_pathconf(const char* path, int name) {
  return pathconf(path, HostPathconfName(name));
}

KELP_EXPORT long kelp_adaptor_fpathconf(int fd, int name) {
  return fpathconf(fd, HostPathconfName(name));
}

// The guest's FNM_PATHNAME (1) and FNM_NOESCAPE (2) are bionic's 2 and 1.
KELP_EXPORT int kelp_adaptor_fnmatch(const char* pattern, const char* string, int flags) {
  int host = flags & ~3;
  if ((flags & 1) != 0) host |= 2;
  if ((flags & 2) != 0) host |= 1;
  return fnmatch(pattern, string, host);
}

// The guest's own constant, so that fesetround(fegetround()) keeps the mode.
KELP_EXPORT int kelp_adaptor_fegetround() {
  int host = fegetround();
  return host >= 0 && host < 4 ? kGuestRounding[host] : host;
}

// A mode the guest does not have is refused, and the current one stays.
KELP_EXPORT int kelp_adaptor_fesetround(int mode) {
  for (int host = 0; host < 4; ++host) {
    if (mode == kGuestRounding[host]) return fesetround(host);
  }
  return -1;
}

// C's FLT_ROUNDS: 0 toward zero, 1 to nearest, 2 upward, 3 downward; -1 for anything else.
KELP_ENTRY(int, __flt_rounds, ()) {
  static constexpr int kFltRounds[] = {1, 2, 3, 0};  // by bionic's mode
  int host = fegetround();
  return host >= 0 && host < 4 ? kFltRounds[host] : -1;
}

// The guest marks its default environment with the pointer value -1.
KELP_EXPORT int kelp_adaptor_fesetenv(const fenv_t* env) {
  if (env == reinterpret_cast<const fenv_t*>(-1)) env = &__fe_dfl_env;
  return fesetenv(env);
}

KELP_EXPORT int kelp_adaptor___fpclassify(double x) { return GuestClass(BionicFpclassify(x)); }
KELP_EXPORT int kelp_adaptor___fpclassifyf(float x) { return GuestClass(BionicFpclassifyf(x)); }
KELP_EXPORT int kelp_adaptor___fpclassifyl(long double x) {
  return GuestClass(BionicFpclassifyl(x));
}

KELP_EXPORT int kelp_adaptor_ilogb(double x) {
  uint64_t bits;
  memcpy(&bits, &x, sizeof(bits));
  return Ilogb<uint64_t, 52, 1023>(bits);
}
KELP_EXPORT int kelp_adaptor_ilogbl(long double) KELP_ALIAS(kelp_adaptor_ilogb);

KELP_EXPORT int kelp_adaptor_ilogbf(float x) {
  uint32_t bits;
  memcpy(&bits, &x, sizeof(bits));
  return Ilogb<uint32_t, 23, 127>(bits);
}

// Property names and category masks pass untranslated.
KELP_EXPORT wctype_t kelp_adaptor_wctype(const char* name) { return wctype(name); }
// One entry point for both: the locale argument is simply not read.
KELP_EXPORT wctype_t kelp_adaptor_wctype_l(const char*) KELP_ALIAS(kelp_adaptor_wctype);
KELP_EXPORT locale_t kelp_adaptor___duplocale(locale_t loc) { return duplocale(loc); }

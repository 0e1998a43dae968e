// Test host: the bionic numbering of constants that glibc numbers like musl: nl_langinfo items,
// pathconf names, fnmatch flags, rounding modes and floating-point classes. Each translates to
// glibc's numbering and calls glibc's own function, bound by version.
#include <fenv.h>
#include <fnmatch.h>
#include <langinfo.h>
#include <math.h>
#include <unistd.h>

#include "kelphost.h"

extern "C" {
char* GlibcNlLanginfo(nl_item item);
long GlibcPathconf(const char* path, int name);
long GlibcFpathconf(int fd, int name);
int GlibcFnmatch(const char* pattern, const char* string, int flags);
int GlibcFegetround();
int GlibcFesetround(int mode);
}
__asm__(".symver GlibcNlLanginfo, nl_langinfo@GLIBC_2.4");
__asm__(".symver GlibcPathconf, pathconf@GLIBC_2.4");
__asm__(".symver GlibcFpathconf, fpathconf@GLIBC_2.4");
__asm__(".symver GlibcFnmatch, fnmatch@GLIBC_2.4");
__asm__(".symver GlibcFegetround, fegetround@GLIBC_2.4");
__asm__(".symver GlibcFesetround, fesetround@GLIBC_2.4");

namespace {

// bionic's items 1..54, in bionic's order.
const nl_item kLanginfo[] = {
    0,        CODESET,  D_T_FMT,  D_FMT,    T_FMT,    T_FMT_AMPM, AM_STR,    PM_STR,
    DAY_1,    DAY_2,    DAY_3,    DAY_4,    DAY_5,    DAY_6,      DAY_7,     ABDAY_1,
    ABDAY_2,  ABDAY_3,  ABDAY_4,  ABDAY_5,  ABDAY_6,  ABDAY_7,    MON_1,     MON_2,
    MON_3,    MON_4,    MON_5,    MON_6,    MON_7,    MON_8,      MON_9,     MON_10,
    MON_11,   MON_12,   ABMON_1,  ABMON_2,  ABMON_3,  ABMON_4,    ABMON_5,   ABMON_6,
    ABMON_7,  ABMON_8,  ABMON_9,  ABMON_10, ABMON_11, ABMON_12,   ERA,       ERA_D_FMT,
    ERA_D_T_FMT, ERA_T_FMT, ALT_DIGITS, RADIXCHAR, THOUSEP, YESEXPR, NOEXPR, CRNCYSTR,
};

// bionic's _PC_* names 0..19 as glibc's.
const int kPathconf[] = {
    _PC_FILESIZEBITS,       _PC_LINK_MAX,          _PC_MAX_CANON,         _PC_MAX_INPUT,
    _PC_NAME_MAX,           _PC_PATH_MAX,          _PC_PIPE_BUF,          _PC_2_SYMLINKS,
    _PC_ALLOC_SIZE_MIN,     _PC_REC_INCR_XFER_SIZE, _PC_REC_MAX_XFER_SIZE, _PC_REC_MIN_XFER_SIZE,
    _PC_REC_XFER_ALIGN,     _PC_SYMLINK_MAX,       _PC_CHOWN_RESTRICTED,  _PC_NO_TRUNC,
    _PC_VDISABLE,           _PC_ASYNC_IO,          _PC_PRIO_IO,           _PC_SYNC_IO,
};

int Pathconf(int name) {
  return name >= 0 && name < static_cast<int>(sizeof(kPathconf) / sizeof(kPathconf[0]))
             ? kPathconf[name]
             : name;
}

// bionic: to nearest 0, upward 1, downward 2, toward zero 3.
const int kRounding[] = {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO};

// bionic's classes are bits: infinite 1, NaN 2, normal 4, subnormal 8, zero 16.
int BionicClass(int glibc_class) {
  switch (glibc_class) {
    case FP_INFINITE: return 0x01;
    case FP_NAN: return 0x02;
    case FP_NORMAL: return 0x04;
    case FP_SUBNORMAL: return 0x08;
    default: return 0x10;
  }
}

}  // namespace

// bionic answers an empty string for an item it does not know.
KELPHOST_EXPORT char* nl_langinfo(nl_item item) {
  if (item < 1 || item >= static_cast<nl_item>(sizeof(kLanginfo) / sizeof(kLanginfo[0]))) {
    return const_cast<char*>("");
  }
  return GlibcNlLanginfo(kLanginfo[item]);
}

KELPHOST_EXPORT long pathconf(const char* path, int name) {
  return GlibcPathconf(path, Pathconf(name));
}
KELPHOST_EXPORT long fpathconf(int fd, int name) { return GlibcFpathconf(fd, Pathconf(name)); }

// bionic: FNM_NOESCAPE 1, FNM_PATHNAME 2; the other bits agree.
KELPHOST_EXPORT int fnmatch(const char* pattern, const char* string, int flags) {
  int glibc = flags & ~3;
  if ((flags & 1) != 0) glibc |= FNM_NOESCAPE;
  if ((flags & 2) != 0) glibc |= FNM_PATHNAME;
  return GlibcFnmatch(pattern, string, glibc);
}

KELPHOST_EXPORT int fegetround() {
  int mode = GlibcFegetround();
  for (int i = 0; i < 4; ++i) {
    if (kRounding[i] == mode) return i;
  }
  return mode;
}

KELPHOST_EXPORT int fesetround(int mode) {
  return mode >= 0 && mode < 4 ? GlibcFesetround(kRounding[mode]) : -1;
}

KELPHOST_EXPORT int BionicFpclassify(double x) __asm__("__fpclassify");
int BionicFpclassify(double x) { return BionicClass(fpclassify(x)); }
KELPHOST_EXPORT int BionicFpclassifyf(float x) __asm__("__fpclassifyf");
int BionicFpclassifyf(float x) { return BionicClass(fpclassify(x)); }
KELPHOST_EXPORT int BionicFpclassifyl(long double x) __asm__("__fpclassifyl");
int BionicFpclassifyl(long double x) { return BionicClass(fpclassify(x)); }

// bionic's default floating-point environment: everything clear.
extern "C" {
KELPHOST_EXPORT_DATA extern const fenv_t __fe_dfl_env;
const fenv_t __fe_dfl_env = {};
}

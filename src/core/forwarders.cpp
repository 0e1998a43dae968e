// Entries that pass straight to the bionic function of the same meaning, with their arguments
// passed through or lightly rearranged.
#include <ctype.h>
#include <fcntl.h>
#include <getopt.h>
#include <inttypes.h>
#include <locale.h>
#include <math.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <wchar.h>
#include <wctype.h>

#include "core/export.h"
#include "host/bionic_scanf.h"
#include "host/bionic_stdio_unlocked.h"
#include "host/bionic_string.h"

KELP_ENTRY(void*, __libc_malloc, (size_t size)) { return malloc(size); }
KELP_ENTRY(void, __libc_free, (void* p)) { free(p); }

// One bit per CPU, rounded up to whole 32-bit words.
KELP_ENTRY(void*, __sched_cpualloc, (size_t count)) { return malloc(((count + 31) >> 3) & ~3u); }

// long double is double on this processor.
KELP_ENTRY(double, __lgammal_r, (double x, int* sign)) { return lgamma_r(x, sign); }

KELP_ENTRY(locale_t, __newlocale, (int mask, const char* name, locale_t base)) {
  return newlocale(mask, name, base);
}
KELP_ENTRY(locale_t, __uselocale, (locale_t loc)) { return uselocale(loc); }
KELP_ENTRY(int, __posix_getopt, (int argc, char* const* argv, const char* options)) {
  return getopt(argc, argv, options);
}
KELP_ENTRY(sighandler_t, __sysv_signal, (int sig, sighandler_t handler)) {
  return signal(sig, handler);
}

// The _l functions whose locale goes on to the host.
KELP_ENTRY(int, __strcasecmp_l, (const char* a, const char* b, locale_t l)) {
  return strcasecmp_l(a, b, l);
}
KELP_ENTRY(int, __strncasecmp_l, (const char* a, const char* b, size_t n, locale_t l)) {
  return strncasecmp_l(a, b, n, l);
}
KELP_ENTRY(int, __strcoll_l, (const char* a, const char* b, locale_t l)) {
  return strcoll_l(a, b, l);
}
KELP_ENTRY(char*, __strerror_l, (int error, locale_t l)) { return strerror_l(error, l); }
KELP_ENTRY(size_t, __strxfrm_l, (char* dst, const char* src, size_t n, locale_t l)) {
  return strxfrm_l(dst, src, n, l);
}
KELP_ENTRY(double, __strtod_l, (const char* s, char** end, locale_t l)) {
  return strtod_l(s, end, l);
}
KELP_ENTRY(float, __strtof_l, (const char* s, char** end, locale_t l)) {
  return strtof_l(s, end, l);
}
KELP_ENTRY(double, __strtold_l, (const char* s, char** end, locale_t l)) {
  return static_cast<double>(strtold_l(s, end, l));
}
KELP_ENTRY(int, __tolower_l, (int c, locale_t l)) { return tolower_l(c, l); }
KELP_ENTRY(int, __toupper_l, (int c, locale_t l)) { return toupper_l(c, l); }
KELP_ENTRY(wint_t, __towlower_l, (wint_t c, locale_t l)) { return towlower_l(c, l); }
KELP_ENTRY(wint_t, __towupper_l, (wint_t c, locale_t l)) { return towupper_l(c, l); }
KELP_ENTRY(wint_t, __towctrans_l, (wint_t c, wctrans_t t, locale_t l)) {
  return towctrans_l(c, t, l);
}
KELP_ENTRY(size_t, __wcsftime_l,
           (wchar_t* s, size_t n, const wchar_t* f, const struct tm* tm, locale_t l)) {
  return wcsftime_l(s, n, f, tm, l);
}

// The grouping argument of the *_internal forms is dropped.
KELP_ENTRY(long, __strtol_internal, (const char* s, char** end, int base, int)) {
  return strtol(s, end, base);
}
KELP_ENTRY(long long, __strtoll_internal, (const char* s, char** end, int base, int)) {
  return strtoll(s, end, base);
}
KELP_ENTRY(unsigned long, __strtoul_internal, (const char* s, char** end, int base, int)) {
  return strtoul(s, end, base);
}
KELP_ENTRY(unsigned long long, __strtoull_internal, (const char* s, char** end, int base, int)) {
  return strtoull(s, end, base);
}
KELP_ENTRY(intmax_t, __strtoimax_internal, (const char* s, char** end, int base, int)) {
  return strtoimax(s, end, base);
}
KELP_ENTRY(uintmax_t, __strtoumax_internal, (const char* s, char** end, int base, int)) {
  return strtoumax(s, end, base);
}

// Wide classification: the locale is dropped.
#define KELP_WIDE_CLASS(name) \
  KELP_ENTRY(int, __##name##_l, (wint_t c, locale_t)) { return name(c); }
KELP_WIDE_CLASS(iswalnum)
KELP_WIDE_CLASS(iswalpha)
KELP_WIDE_CLASS(iswblank)
KELP_WIDE_CLASS(iswcntrl)
KELP_WIDE_CLASS(iswdigit)
KELP_WIDE_CLASS(iswgraph)
KELP_WIDE_CLASS(iswlower)
KELP_WIDE_CLASS(iswprint)
KELP_WIDE_CLASS(iswpunct)
KELP_WIDE_CLASS(iswspace)
KELP_WIDE_CLASS(iswupper)
KELP_WIDE_CLASS(iswxdigit)
#undef KELP_WIDE_CLASS
KELP_ENTRY(int, __iswctype_l, (wint_t c, wctype_t type, locale_t)) { return iswctype(c, type); }
KELP_ENTRY(wctype_t, __wctype_l, (const char* name, locale_t)) { return wctype(name); }

// Plain code-point order, not the locale's collation.
KELP_ENTRY(int, __wcscoll_l, (const wchar_t* a, const wchar_t* b, locale_t)) {
  return wcscmp(a, b);
}

KELP_ENTRY(int, __isxdigit_l, (int c, locale_t)) {
  return static_cast<unsigned>(c - '0') < 10 || static_cast<unsigned>((c & ~0x20) - 'A') < 6;
}

// The variant that never modifies its argument.
KELP_ENTRY(char*, __xpg_basename, (char* path)) { return __gnu_basename(path); }

// The device number arrives as the guest's 64-bit word; its low word is bionic's dev_t.
KELP_ENTRY(int, __xmknod, (int, const char* path, mode_t mode, const uint64_t* dev)) {
  return mknod(path, mode, static_cast<uint32_t>(*dev));
}
KELP_ENTRY(int, __xmknodat, (int, int dirfd, const char* path, mode_t mode, const uint64_t* dev)) {
  return mknodat(dirfd, path, mode, static_cast<uint32_t>(*dev));
}

// Flags 0, not AT_EACCESS.
KELP_ENTRY(int, eaccess, (const char* path, int mode)) {
  return faccessat(AT_FDCWD, path, mode, 0);
}
KELP_ENTRY(int, lchmod, (const char* path, mode_t mode)) {
  return fchmodat(AT_FDCWD, path, mode, AT_SYMLINK_NOFOLLOW);
}
KELP_ENTRY(int, vhangup, ()) { return static_cast<int>(syscall(SYS_vhangup)); }

// A volatile store per byte, so that the clearing is never optimised away.
KELP_ENTRY(void, explicit_bzero, (void* p, size_t n)) {
  volatile unsigned char* bytes = static_cast<volatile unsigned char*>(p);
  while (n-- != 0) *bytes++ = 0;
}

KELP_ENTRY(int, _IO_getc, (FILE * stream)) { return getc(stream); }
KELP_ENTRY(int, _IO_putc, (int c, FILE* stream)) { return putc(c, stream); }

// Names musl has and bionic lacks: glibc's compatibility names, the BSD string calls, the
// unlocked wide-character calls and the large-file twins that musl keeps as aliases.
KELP_ENTRY(int, bcmp, (const void* a, const void* b, size_t n)) { return memcmp(a, b, n); }
KELP_ENTRY(void, bcopy, (const void* src, void* dst, size_t n)) { memmove(dst, src, n); }
KELP_ENTRY(void, bzero, (void* p, size_t n)) { memset(p, 0, n); }
KELP_ENTRY(char*, index, (const char* s, int c)) { return const_cast<char*>(strchr(s, c)); }
KELP_ENTRY(char*, rindex, (const char* s, int c)) { return const_cast<char*>(strrchr(s, c)); }
KELP_ENTRY(wchar_t*, wcswcs, (const wchar_t* s, const wchar_t* needle)) {
  return const_cast<wchar_t*>(wcsstr(s, needle));
}
KELP_ENTRY(ssize_t, __getdelim, (char** line, size_t* size, int delim, FILE* stream)) {
  return getdelim(line, size, delim, stream);
}
KELP_ENTRY(size_t, __wcsxfrm_l, (wchar_t* dst, const wchar_t* src, size_t n, locale_t l)) {
  return wcsxfrm_l(dst, src, n, l);
}
KELP_ENTRY(wctrans_t, __wctrans_l, (const char* name, locale_t l)) { return wctrans_l(name, l); }

// Runs the pthread_atfork handlers, which _Fork would skip: a bare clone would leave bionic's
// cached thread id of the parent in the child.
KELP_ENTRY(pid_t, _Fork, ()) { return fork(); }

KELP_EXPORT int KelpEuidaccess(const char*, int) KELP_SYMBOL(euidaccess) KELP_ALIAS(eaccess);

// The guest's stat and dirent records are already the large-file ones.
struct GuestStat;
extern "C" int __stat_time64(const char* path, GuestStat* st);
extern "C" int __lstat_time64(const char* path, GuestStat* st);
extern "C" int kelp_adaptor_getdents(int fd, void* buf, size_t count);
KELP_ENTRY(int, __xstat64, (int, const char* path, GuestStat* st)) {
  return __stat_time64(path, st);
}
KELP_ENTRY(int, __lxstat64, (int, const char* path, GuestStat* st)) {
  return __lstat_time64(path, st);
}
KELP_ENTRY(int, getdents64, (int fd, void* buf, size_t count)) {
  return kelp_adaptor_getdents(fd, buf, count);
}

// glibc's libio names.
KELP_ENTRY(int, _IO_feof_unlocked, (FILE * stream)) { return HostFeofUnlocked(stream); }
KELP_ENTRY(int, _IO_ferror_unlocked, (FILE * stream)) { return HostFerrorUnlocked(stream); }
KELP_ENTRY(int, _IO_getc_unlocked, (FILE * stream)) { return HostGetcUnlocked(stream); }
KELP_ENTRY(int, _IO_putc_unlocked, (int c, FILE* stream)) { return HostPutcUnlocked(c, stream); }
KELP_ENTRY(int, __uflow, (FILE * stream)) { return fgetc(stream); }
// EOF asks for the buffer to be written out.
KELP_ENTRY(int, __overflow, (FILE * stream, int c)) {
  if (c == EOF) return fflush(stream) == 0 ? 0 : EOF;
  return fputc(c, stream);
}

// bionic has no unlocked wide-character calls; the locked ones give the same results.
KELP_ENTRY(wint_t, fgetwc_unlocked, (FILE * stream)) { return fgetwc(stream); }
KELP_ENTRY(wint_t, __fgetwc_unlocked, (FILE * stream)) { return fgetwc(stream); }
KELP_ENTRY(wint_t, getwc_unlocked, (FILE * stream)) { return fgetwc(stream); }
KELP_ENTRY(wint_t, getwchar_unlocked, ()) { return getwchar(); }
KELP_ENTRY(wint_t, fputwc_unlocked, (wchar_t c, FILE* stream)) { return fputwc(c, stream); }
KELP_ENTRY(wint_t, __fputwc_unlocked, (wchar_t c, FILE* stream)) { return fputwc(c, stream); }
KELP_ENTRY(wint_t, putwc_unlocked, (wchar_t c, FILE* stream)) { return fputwc(c, stream); }
KELP_ENTRY(wint_t, putwchar_unlocked, (wchar_t c)) { return putwchar(c); }
KELP_ENTRY(wchar_t*, fgetws_unlocked, (wchar_t* s, int n, FILE* stream)) {
  return fgetws(s, n, stream);
}
KELP_ENTRY(int, fputws_unlocked, (const wchar_t* s, FILE* stream)) { return fputws(s, stream); }

// glibc's names for the C99 scanf family.
KELP_ENTRY(int, __isoc99_vscanf, (const char* format, va_list args)) {
  return HostVscanf(format, args);
}
KELP_ENTRY(int, __isoc99_vfscanf, (FILE * stream, const char* format, va_list args)) {
  return HostVfscanf(stream, format, args);
}
KELP_ENTRY(int, __isoc99_vsscanf, (const char* s, const char* format, va_list args)) {
  return HostVsscanf(s, format, args);
}
KELP_ENTRY(int, __isoc99_vwscanf, (const wchar_t* format, va_list args)) {
  return HostVwscanf(format, args);
}
KELP_ENTRY(int, __isoc99_vfwscanf, (FILE * stream, const wchar_t* format, va_list args)) {
  return HostVfwscanf(stream, format, args);
}
KELP_ENTRY(int, __isoc99_vswscanf, (const wchar_t* s, const wchar_t* format, va_list args)) {
  return HostVswscanf(s, format, args);
}
// The variadic forms: `leading` is the argument list before the format.
#define KELP_ISOC99_SCANF(name, vname, char_type, leading_params, leading_args) \
  KELP_ENTRY(int, __isoc99_##name, (leading_params const char_type* format, ...)) { \
    va_list args;                                                                   \
    va_start(args, format);                                                         \
    int result = vname(leading_args format, args);                                  \
    va_end(args);                                                                   \
    return result;                                                                  \
  }
#define KELP_COMMA ,
KELP_ISOC99_SCANF(scanf, HostVscanf, char, , )
KELP_ISOC99_SCANF(fscanf, HostVfscanf, char, FILE* stream KELP_COMMA, stream KELP_COMMA)
KELP_ISOC99_SCANF(sscanf, HostVsscanf, char, const char* s KELP_COMMA, s KELP_COMMA)
KELP_ISOC99_SCANF(wscanf, HostVwscanf, wchar_t, , )
KELP_ISOC99_SCANF(fwscanf, HostVfwscanf, wchar_t, FILE* stream KELP_COMMA, stream KELP_COMMA)
KELP_ISOC99_SCANF(swscanf, HostVswscanf, wchar_t, const wchar_t* s KELP_COMMA, s KELP_COMMA)
#undef KELP_COMMA
#undef KELP_ISOC99_SCANF

// Test host: bionic's *_l functions ignore their locale argument (bionic has one locale that
// matters, and LC_GLOBAL_LOCALE, (locale_t)-1, is as good as any); glibc's dereference it. Each
// calls the function without _l.
#include <ctype.h>
#include <locale.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <time.h>
#include <wchar.h>
#include <wctype.h>

#include "kelphost.h"

#define KELPHOST_IGNORE_LOCALE(ret, name, params, args)                   \
  KELPHOST_EXPORT ret Bionic_##name params __asm__(#name "_l");           \
  ret Bionic_##name params { return name args; }
#define P1(t1) (t1 a, locale_t)
#define P2(t1, t2) (t1 a, t2 b, locale_t)
#define P3(t1, t2, t3) (t1 a, t2 b, t3 c, locale_t)
#define P4(t1, t2, t3, t4) (t1 a, t2 b, t3 c, t4 d, locale_t)

#define CTYPE(name) KELPHOST_IGNORE_LOCALE(int, name, P1(int), (a))
CTYPE(isalnum) CTYPE(isalpha) CTYPE(isblank) CTYPE(iscntrl) CTYPE(isdigit) CTYPE(isgraph)
CTYPE(islower) CTYPE(isprint) CTYPE(ispunct) CTYPE(isspace) CTYPE(isupper) CTYPE(isxdigit)
CTYPE(tolower) CTYPE(toupper)
#define WCTYPE(name) KELPHOST_IGNORE_LOCALE(int, name, P1(wint_t), (a))
WCTYPE(iswalnum) WCTYPE(iswalpha) WCTYPE(iswblank) WCTYPE(iswcntrl) WCTYPE(iswdigit)
WCTYPE(iswgraph) WCTYPE(iswlower) WCTYPE(iswprint) WCTYPE(iswpunct) WCTYPE(iswspace)
WCTYPE(iswupper) WCTYPE(iswxdigit)
KELPHOST_IGNORE_LOCALE(wint_t, towlower, P1(wint_t), (a))
KELPHOST_IGNORE_LOCALE(wint_t, towupper, P1(wint_t), (a))
KELPHOST_IGNORE_LOCALE(int, iswctype, P2(wint_t, wctype_t), (a, b))
KELPHOST_IGNORE_LOCALE(wint_t, towctrans, P2(wint_t, wctrans_t), (a, b))
KELPHOST_IGNORE_LOCALE(wctrans_t, wctrans, P1(const char*), (a))

KELPHOST_IGNORE_LOCALE(int, strcasecmp, P2(const char*, const char*), (a, b))
KELPHOST_IGNORE_LOCALE(int, strncasecmp, P3(const char*, const char*, size_t), (a, b, c))
KELPHOST_IGNORE_LOCALE(int, strcoll, P2(const char*, const char*), (a, b))
KELPHOST_IGNORE_LOCALE(size_t, strxfrm, P3(char*, const char*, size_t), (a, b, c))
KELPHOST_IGNORE_LOCALE(char*, strerror, P1(int), (a))
KELPHOST_IGNORE_LOCALE(int, wcscasecmp, P2(const wchar_t*, const wchar_t*), (a, b))
KELPHOST_IGNORE_LOCALE(int, wcsncasecmp, P3(const wchar_t*, const wchar_t*, size_t), (a, b, c))
KELPHOST_IGNORE_LOCALE(int, wcscoll, P2(const wchar_t*, const wchar_t*), (a, b))
KELPHOST_IGNORE_LOCALE(size_t, wcsxfrm, P3(wchar_t*, const wchar_t*, size_t), (a, b, c))

KELPHOST_IGNORE_LOCALE(double, strtod, P2(const char*, char**), (a, b))
KELPHOST_IGNORE_LOCALE(float, strtof, P2(const char*, char**), (a, b))
KELPHOST_IGNORE_LOCALE(long double, strtold, P2(const char*, char**), (a, b))
KELPHOST_IGNORE_LOCALE(size_t, strftime, P4(char*, size_t, const char*, const struct tm*),
                       (a, b, c, d))
KELPHOST_IGNORE_LOCALE(size_t, wcsftime, P4(wchar_t*, size_t, const wchar_t*, const struct tm*),
                       (a, b, c, d))

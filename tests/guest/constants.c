/* Constants whose values differ between musl and bionic, through musl's headers. Where the
 * adaptor must answer otherwise, constants.adaptor.sed says so. */
#define _GNU_SOURCE
#include <fenv.h>
#include <float.h>
#include <fnmatch.h>
#include <langinfo.h>
#include <limits.h>
#include <math.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

int main(void) {
  const int names[] = {_SC_ARG_MAX, _SC_CLK_TCK, _SC_NGROUPS_MAX, _SC_PAGE_SIZE, _SC_VERSION,
                       _SC_THREADS, _SC_IOV_MAX, _SC_LINE_MAX, _SC_THREAD_STACK_MIN,
                       _SC_MQ_PRIO_MAX, _SC_DELAYTIMER_MAX, _SC_SEM_VALUE_MAX, _SC_HOST_NAME_MAX,
                       _SC_SYMLOOP_MAX, _SC_XOPEN_VERSION};
  const char* labels[] = {"ARG_MAX", "CLK_TCK", "NGROUPS_MAX", "PAGE_SIZE", "VERSION", "THREADS",
                          "IOV_MAX", "LINE_MAX", "THREAD_STACK_MIN", "MQ_PRIO_MAX",
                          "DELAYTIMER_MAX", "SEM_VALUE_MAX", "HOST_NAME_MAX", "SYMLOOP_MAX",
                          "XOPEN_VERSION"};
  for (size_t i = 0; i < sizeof(names) / sizeof(names[0]); ++i) {
    printf("sysconf(_SC_%s) = %ld\n", labels[i], sysconf(names[i]));
  }
  printf("sysconf(_SC_NPROCESSORS_ONLN) > 0: %d\n", sysconf(_SC_NPROCESSORS_ONLN) > 0);
  printf("sysconf(12345) = %ld\n", sysconf(12345));

  printf("nl_langinfo(DAY_1) = %s, ABMON_12 = %s, RADIXCHAR = %s\n", nl_langinfo(DAY_1),
         nl_langinfo(ABMON_12), nl_langinfo(RADIXCHAR));
  printf("nl_langinfo(CODESET) non-empty: %d\n", nl_langinfo(CODESET)[0] != 0);

  printf("fnmatch(a*c, a/c, 0) = %d, PATHNAME = %d\n", fnmatch("a*c", "a/c", 0),
         fnmatch("a*c", "a/c", FNM_PATHNAME) != 0);
  printf("fnmatch(a\\\\*, a\\\\x, NOESCAPE) = %d, without = %d\n",
         fnmatch("a\\*", "a\\x", FNM_NOESCAPE), fnmatch("a\\*", "a\\x", 0) != 0);

  const double values[] = {0.0, 1.0, INFINITY, NAN, DBL_MIN / 8, 1e300, 3.0e-310};
  for (size_t i = 0; i < sizeof(values) / sizeof(values[0]); ++i) {
    int c = fpclassify(values[i]);
    printf("value %zu: class %s, ilogb %d\n", i,
           c == FP_NAN ? "nan" : c == FP_INFINITE ? "inf" : c == FP_ZERO ? "zero"
           : c == FP_SUBNORMAL ? "subnormal" : "normal",
           ilogb(values[i]));
  }
  printf("ilogbf(smallest subnormal) = %d\n", ilogbf(FLT_TRUE_MIN));

  printf("fegetround() == FE_TONEAREST: %d\n", fegetround() == FE_TONEAREST);
  volatile double one = 1.0, three = 3.0;
  const struct { const char* name; int mode; } modes[] = {
      {"upward", FE_UPWARD}, {"downward", FE_DOWNWARD}, {"toward zero", FE_TOWARDZERO},
      {"nearest", FE_TONEAREST}};
  for (size_t i = 0; i < sizeof(modes) / sizeof(modes[0]); ++i) {
    int set = fesetround(modes[i].mode);
    int got = fegetround();
    int again = fesetround(fegetround());
    printf("%s: fesetround %d, fegetround is it %d, kept by fesetround(fegetround()) %d %d, "
           "FLT_ROUNDS %d, 1/3 = %a\n", modes[i].name, set, got == modes[i].mode, again,
           fegetround() == modes[i].mode, FLT_ROUNDS, one / three);
  }
  printf("fesetround(0x400001) refused: %d\n", fesetround(0x400001) != 0);
  printf("fesetround(1) refused: %d\n", fesetround(1) != 0);
  printf("mode still nearest: %d\n", fegetround() == FE_TONEAREST);
  return 0;
}

/* Library functions a guest reaches on the host directly: the *_l family with
 * LC_GLOBAL_LOCALE, BSD string copies, POSIX basename, integer conversions with an invalid
 * base, stdio error and purge helpers, fork handlers and at_quick_exit. */
#define _GNU_SOURCE
#include <ctype.h>
#include <errno.h>
#include <libgen.h>
#include <locale.h>
#include <pthread.h>
#include <stdio.h>
#include <stdio_ext.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <wchar.h>
#include <wctype.h>

static void locale_l(void) {
  locale_t g = LC_GLOBAL_LOCALE;
  const int chars[] = {'a', 'F', 'g', '0', ' ', '\t', '!', 0x7f};
  for (unsigned i = 0; i < sizeof(chars) / sizeof(chars[0]); ++i) {
    int c = chars[i];
    printf("%#x: xdigit %d alpha %d digit %d space %d punct %d cntrl %d upper %c lower %c "
           "wide %d%d\n",
           c, !!isxdigit_l(c, g), !!isalpha_l(c, g), !!isdigit_l(c, g), !!isspace_l(c, g),
           !!ispunct_l(c, g), !!iscntrl_l(c, g), isprint(c) ? toupper_l(c, g) : '.',
           isprint(c) ? tolower_l(c, g) : '.', !!iswxdigit_l((wint_t)c, g),
           !!iswalpha_l((wint_t)c, g));
  }
  char* end;
  printf("strtod_l: %g rest '%s'\n", strtod_l("2.5e3x", &end, g), end);
  printf("strcasecmp_l: %d strncasecmp_l: %d strcoll_l<0: %d\n",
         strcasecmp_l("HeLLo", "hello", g), strncasecmp_l("abcX", "ABCy", 3, g),
         strcoll_l("a", "b", g) < 0);
  struct tm tm = {.tm_year = 124, .tm_mon = 1, .tm_mday = 29, .tm_hour = 13};
  char buf[64];
  strftime_l(buf, sizeof buf, "%Y-%m-%d %H", &tm, g);
  printf("strftime_l: %s towupper_l: %lc\n", buf, (wint_t)towupper_l(L'q', g));
}

static void strings(void) {
  const struct {
    const char* src;
    size_t size;
  } copies[] = {{"hello", 10}, {"hello", 5}, {"hello", 1}, {"", 4}, {"hello", 0}};
  for (unsigned i = 0; i < sizeof(copies) / sizeof(copies[0]); ++i) {
    char dst[16] = "#######";
    size_t n = strlcpy(dst, copies[i].src, copies[i].size);
    printf("strlcpy(\"%s\", %zu) = %zu \"%s\"\n", copies[i].src, copies[i].size, n, dst);
  }
  char dst[8] = "ab";
  printf("strlcat = %zu \"%s\"", strlcat(dst, "cdefghij", sizeof dst), dst);
  printf(" full: %zu\n", strlcat(dst, "xyz", 4));
  const char* paths[] = {"/usr/lib", "/usr/lib/", "usr", "/", "///", "a//b//", ".", ""};
  for (unsigned i = 0; i < sizeof(paths) / sizeof(paths[0]); ++i) {
    char copy[32];
    strcpy(copy, paths[i]);
    printf("basename(\"%s\") = \"%s\"\n", paths[i], basename(copy));
  }
  printf("basename(NULL) = \"%s\"\n", basename(NULL));
}

static void conversions(void) {
  const int bases[] = {1, 37, -1, 10, 0};
  for (unsigned i = 0; i < sizeof(bases) / sizeof(bases[0]); ++i) {
    const char* s = "  42z";
    char* end = (char*)"unset";
    errno = 0;
    long v = strtol(s, &end, bases[i]);
    int e = errno;
    unsigned long long u = strtoull(s, &end, bases[i]);
    wchar_t* wend = NULL;
    long w = wcstol(L"  42z", &wend, bases[i]);
    printf("base %d: strtol %ld errno %s end +%d strtoull %llu wcstol %ld wend +%d\n", bases[i],
           v, e == EINVAL ? "EINVAL" : e == 0 ? "0" : "?", (int)(end - s), u, w,
           wend != NULL ? (int)(wend - L"  42z") : -1);
  }
}

static void stdio_helpers(void) {
  FILE* f = tmpfile();
  __fseterr(f);
  printf("__fseterr: ferror %d\n", !!ferror(f));
  clearerr(f);
  fputs("pending", f);
  __fpurge(f);
  fflush(f);
  printf("purged bytes written: %ld\n", ftell(f));
  fclose(f);
}

static int fork_log[3];
static void prepare(void) { fork_log[0]++; }
static void parent(void) { fork_log[1]++; }
static void child(void) { fork_log[2]++; }

static void on_quick_exit_1(void) { printf("quick exit handler 1\n"); fflush(stdout); }
static void on_quick_exit_2(void) { printf("quick exit handler 2\n"); fflush(stdout); }
static void on_exit_never(void) { printf("atexit handler: must not run\n"); }

int main(void) {
  locale_l();
  strings();
  conversions();
  stdio_helpers();
  printf("pthread_atfork: %d\n", pthread_atfork(prepare, parent, child));
  fflush(stdout);
  pid_t pid = fork();
  if (pid == 0) _exit(fork_log[2] == 1 && fork_log[0] == 1 ? 0 : 1);
  int status = -1;
  waitpid(pid, &status, 0);
  printf("fork handlers: prepare %d parent %d child-ok %d\n", fork_log[0], fork_log[1],
         WIFEXITED(status) && WEXITSTATUS(status) == 0);
  atexit(on_exit_never);
  printf("at_quick_exit: %d %d\n", at_quick_exit(on_quick_exit_1), at_quick_exit(on_quick_exit_2));
  fflush(stdout);
  quick_exit(3);
}

/* The further functions musl has and bionic lacks, through musl's headers: version ordering,
 * powers of ten, legacy digit conversions, monetary formatting, diagnostic messages, date
 * templates, a password read and word expansion. */
#define _GNU_SOURCE
#include <fmtmsg.h>
#include <math.h>
#include <monetary.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <wordexp.h>

static void ordering(const char* const* words, int n) {
  for (int i = 0; i < n; i++) {
    printf("strverscmp %-5s:", words[i]);
    for (int j = 0; j < n; j++) {
      int r = strverscmp(words[i], words[j]);
      putchar(r < 0 ? '<' : r > 0 ? '>' : '=');
    }
    putchar('\n');
  }
}

static void versions(void) {
  const char* numbers[] = {"000", "00", "01", "010", "09", "0", "1", "9", "10", "99", "100"};
  const char* names[] = {"a1", "a1b", "a2", "a10", "jan9", "jan10", "jan10x"};
  const char* mixed[] = {"a1", "a10", "ab"};
  ordering(numbers, sizeof numbers / sizeof *numbers);
  ordering(names, sizeof names / sizeof *names);
  ordering(mixed, sizeof mixed / sizeof *mixed);
}

static void powers(int argc) {
  volatile double base = argc - 1; /* 0, unknown to the compiler */
  for (int n = -30; n <= 310; n += (n < 30 || n > 300) ? 1 : 17) {
    printf("exp10(%d) = %.17g pow10 %.17g exp10f %.9g\n", n, exp10(base + n), pow10(base + n),
           (double)exp10f((float)(base + n)));
  }
  printf("exp10(0.5) = %.15g exp10l(-2.5) = %.15Lg pow10f(1.5) = %.6g\n", exp10(base + 0.5),
         exp10l(base - 2.5L), (double)pow10f((float)base + 1.5f));
}

static void conversions(void) {
  const double values[] = {0.0, 1.0, 123.456, -123.456, 0.00123, 9.996, 0.5, 2.5, 99.5, 12345.678};
  const int digits[] = {1, 3, 5, 8};
  for (unsigned i = 0; i < sizeof values / sizeof *values; i++) {
    for (unsigned j = 0; j < sizeof digits / sizeof *digits; j++) {
      int decpt, sign;
      char buf[64];
      char* e = ecvt(values[i], digits[j], &decpt, &sign);
      printf("%g/%d: ecvt %s %d %d", values[i], digits[j], e, decpt, sign != 0);
      char* f = fcvt(values[i], digits[j], &decpt, &sign);
      printf(" fcvt %s %d %d gcvt %s\n", f, decpt, sign != 0, gcvt(values[i], digits[j], buf));
    }
  }
}

static void money(void) {
  const char* formats[] = {"%n", "%i", "%11n", "%.3i", "%.0n", "%+n", "%!n", "%(n",
                           "%=*#5n", "%-10n|", "[%n] %%"};
  const double values[] = {123.45, -123.45, 3456.781};
  for (unsigned i = 0; i < sizeof formats / sizeof *formats; i++) {
    printf("strfmon %-8s", formats[i]);
    for (int j = 0; j < 3; j++) {
      char buf[64];
      memset(buf, 0, sizeof buf);
      ssize_t n = strfmon(buf, sizeof buf, formats[i], values[j]);
      printf(" [%s] %d", n < 0 ? "error" : buf, (int)n);
    }
    putchar('\n');
  }
  char small[4];
  printf("strfmon too small: %d\n", (int)strfmon(small, sizeof small, "%n", 123.45));
}

static void messages(void) {
  fflush(stdout);
  int saved = dup(2);
  dup2(1, 2); /* the messages go to standard error: show them */
  int r = fmtmsg(MM_PRINT | MM_SOFT | MM_UTIL, "XSI:cat", MM_ERROR, "illegal option",
                 "refer to cat in user's reference manual", "XSI:cat:001");
  printf("fmtmsg %d\n", r);
  fflush(stdout);
  setenv("MSGVERB", "text:label", 1);
  r = fmtmsg(MM_PRINT, "XSI:cat", MM_HALT, "halted", MM_NULLACT, MM_NULLTAG);
  printf("fmtmsg %d\n", r);
  fflush(stdout);
  unsetenv("MSGVERB");
  dup2(saved, 2);
  close(saved);
}

static void dates(void) {
  setenv("TZ", "UTC0", 1);
  tzset();
  FILE* f = fopen("templates", "w");
  fputs("%Y-%m-%d %H:%M:%S\n%A %B %d %Y %H:%M\n%m/%d/%y %I:%M %p\n", f);
  fclose(f);
  const char* inputs[] = {"2024-02-29 12:34:56", "2040-07-04 00:00:00",
                          "Thursday March 7 2030 11:12", "02/29/68 12:30 AM",
                          "01/01/69 12:05 pm", "never", "2023-02-30 10:00:00"};
  unsetenv("DATEMSK");
  printf("getdate without DATEMSK: %d %d\n", getdate(inputs[0]) != NULL, getdate_err);
  setenv("DATEMSK", "no-such-file", 1);
  printf("getdate missing file: %d %d\n", getdate(inputs[0]) != NULL, getdate_err);
  setenv("DATEMSK", ".", 1);
  printf("getdate directory: %d %d\n", getdate(inputs[0]) != NULL, getdate_err);
  setenv("DATEMSK", "templates", 1);
  for (unsigned i = 0; i < sizeof inputs / sizeof *inputs; i++) {
    struct tm* tm = getdate(inputs[i]);
    if (tm == NULL) {
      printf("getdate %s: error %d\n", inputs[i], getdate_err);
      continue;
    }
    char text[64];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", tm);
    printf("getdate %s: %s\n", inputs[i], text);
  }
  struct tm* tm = getdate("2040-07-04 00:00:00");
  printf("getdate weekday and day of the year: %d %d\n", tm->tm_wday, tm->tm_yday);
}

/* getpass in a child without a controlling terminal: prompt on stderr, line from stdin. */
static void password(void) {
  int in[2], err[2];
  if (pipe(in) != 0 || pipe(err) != 0) return;
  if (write(in[1], "hunter2\nnext\n", 13) != 13) return;
  close(in[1]);
  fflush(stdout);
  pid_t pid = fork();
  if (pid == 0) {
    setsid();
    dup2(in[0], 0);
    dup2(err[1], 2);
    char* line = getpass("Password: ");
    printf("getpass: [%s]\n", line ? line : "(null)");
    fflush(stdout);
    _exit(0);
  }
  close(err[1]);
  int status;
  waitpid(pid, &status, 0);
  char prompt[64] = "";
  ssize_t n = read(err[0], prompt, sizeof prompt - 1);
  printf("getpass prompt: [%s]\n", n > 0 ? prompt : "");
}

static void expand(const char* words, int flags) {
  wordexp_t we;
  int r = wordexp(words, &we, flags);
  printf("wordexp {%s} %d:", words, r);
  if (r == 0) {
    for (size_t i = 0; i < we.we_wordc; i++) printf(" [%s]", we.we_wordv[i]);
    wordfree(&we);
  }
  putchar('\n');
}

static void words(void) {
  setenv("A", "x  y", 1);
  setenv("E", "", 1);
  setenv("F", "file.tar.gz", 1);
  setenv("HOME", "/home/q", 1);
  unsetenv("U");
  const char* cases[] = {"a b  c", "'a b' \"c d\"", "$A", "\"$A\"", "${A}z", "${#A}",
                         "${U:-def ault}", "${U-d}", "${E:-d}", "${E-d}", "${A:+set}",
                         "${U+set}", "~", "~/x", "a~", "\\$A", "'$A'", "\"a|b\"",
                         "$(echo hi there)", "\"$(echo hi there)\"", "`echo hi`",
                         "$((1+2*3))", "x$Ey", "$E", "\"$E\"", "''", "${F%%.*}", "${F#*.}",
                         "a\\ b", "\"a\\\"b\"", "\"unterminated", "a\\", "*.nomatch", "a|b",
                         "${U?unset}"};
  for (unsigned i = 0; i < sizeof cases / sizeof *cases; i++) expand(cases[i], 0);
  expand("$(echo hi)", WRDE_NOCMD);
  expand("`echo hi`", WRDE_NOCMD);
  expand("'$(echo hi)'", WRDE_NOCMD);
  expand("$U", WRDE_UNDEF);
  wordexp_t we;
  we.we_offs = 2;
  wordexp("a b", &we, WRDE_DOOFFS);
  wordexp("c", &we, WRDE_DOOFFS | WRDE_APPEND);
  printf("wordexp offsets: %zu %d %d %s %s %s %d\n", we.we_wordc, we.we_wordv[0] == NULL,
         we.we_wordv[1] == NULL, we.we_wordv[2], we.we_wordv[3], we.we_wordv[4],
         we.we_wordv[5] == NULL);
  wordfree(&we);
}

int main(int argc, char** argv) {
  (void)argv;
  versions();
  powers(argc);
  conversions();
  money();
  messages();
  dates();
  password();
  words();
  return 0;
}

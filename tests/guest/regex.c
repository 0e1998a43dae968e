/* Regular expressions through musl's headers: flags, offsets, errors, reuse after regfree. */
#include <regex.h>
#include <stdio.h>
#include <string.h>

static regex_t re; /* zero-initialised: its re_nsub starts at 0 */

static void show(const char* pattern, int cflags, const char* subject, int eflags) {
  regmatch_t m[3];
  int rc = regcomp(&re, pattern, cflags);
  printf("regcomp(\"%s\", %d) = %d", pattern, cflags, rc);
  if (rc != 0) {
    printf("\n");
    return;
  }
  memset(m, 0xff, sizeof(m));
  rc = regexec(&re, subject, 3, m, eflags);
  printf(", re_nsub %d, regexec = %d", (int)re.re_nsub, rc);
  for (int i = 0; rc == 0 && i < 3; ++i) printf(" [%d,%d]", (int)m[i].rm_so, (int)m[i].rm_eo);
  printf("\n");
  regfree(&re);
}

int main(void) {
  show("b+", REG_EXTENDED, "abbbc", 0);
  show("b+", 0, "ab+c", 0);
  show("(x)(y)?", REG_EXTENDED, "zxx", 0);
  show("ABC", REG_ICASE, "xabcx", 0);
  show("^b", REG_NEWLINE, "a\nb", 0);
  show("^b", 0, "a\nb", 0);
  show("a.b", REG_NEWLINE, "a\nb", 0);
  show("b", REG_NOSUB, "abc", 0);
  show("^a", 0, "abc", REG_NOTBOL);
  show("c$", 0, "abc", REG_NOTEOL);
  show("a(", REG_EXTENDED, "", 0);
  show("[a", 0, "", 0);
  show("a{1", REG_EXTENDED, "", 0);
  show("(a)\\1", REG_EXTENDED, "aa", 0);
  show("(a)\\1", REG_EXTENDED, "a1", 0);
  show("\\(a\\)\\1", 0, "aa", 0);

  char buf[64];
  int codes[] = {REG_NOMATCH, REG_BADPAT, REG_EPAREN, REG_EBRACK, REG_ESPACE};
  for (unsigned i = 0; i < sizeof(codes) / sizeof(codes[0]); ++i) {
    size_t n = regerror(codes[i], NULL, buf, sizeof(buf));
    printf("regerror(%d) = %u \"%s\"\n", codes[i], (unsigned)n, buf);
  }
  return 0;
}

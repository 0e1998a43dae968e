/* Start-up through the adaptor: arguments, environment, constructors, errno and the name of
 * the program, and the status returned by main. */
// guest-args: alpha "" gamma
#define _GNU_SOURCE
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

extern char** environ;
static int g_constructed;

__attribute__((constructor(200))) static void early(void) { g_constructed = g_constructed * 10 + 1; }
__attribute__((constructor(300))) static void late(void) { g_constructed = g_constructed * 10 + 2; }

static const char* base(const char* path) {
  const char* slash = strrchr(path, '/');
  return slash ? slash + 1 : path;
}

int main(int argc, char** argv, char** envp) {
  int failures = 0;
#define CHECK(cond) \
  do { if (!(cond)) { printf("FAILED: %s\n", #cond); ++failures; } } while (0)

  printf("argc %d, program %s\n", argc, base(argv[0]));
  for (int i = 1; i < argc; ++i) printf("argv[%d] = \"%s\"\n", i, argv[i]);
  CHECK(argv[argc] == NULL);
  CHECK(envp == environ);
  int has_tmpdir = 0;
  for (char** e = envp; *e; ++e) has_tmpdir |= strncmp(*e, "TMPDIR=", 7) == 0;
  CHECK(has_tmpdir);
  CHECK(getenv("TMPDIR") != NULL);

  printf("constructors ran in order: %d\n", g_constructed);

  CHECK(program_invocation_name == argv[0]);
  printf("program_invocation_short_name %s\n", program_invocation_short_name);

  errno = 0;
  CHECK(close(-1) == -1);
  printf("close(-1): errno %d\n", errno);
  errno = 0;
  CHECK(strtol("99999999999999999999", NULL, 10) == 2147483647L);
  printf("strtol overflow: errno %d\n", errno);
  CHECK(chdir("/nonexistent/dir") == -1);
  printf("chdir: errno %d\n", errno);

  printf("%d failed checks\n", failures);
  return failures ? 1 : 3;
}

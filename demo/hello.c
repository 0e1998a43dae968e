/* A small guest program: built against musl's headers, run through the adaptor. */
#define _GNU_SOURCE
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

static void goodbye(void) { printf("atexit handler ran\n"); }

int main(int argc, char** argv) {
  printf("hello from a guest program: %s, %d argument(s)\n", program_invocation_short_name, argc - 1);
  for (int i = 1; i < argc; ++i) printf("  argv[%d] = %s\n", i, argv[i]);
  printf("sizeof(time_t) = %zu, sizeof(long) = %zu\n", sizeof(time_t), sizeof(long));
  errno = 0;
  if (close(-1) != 0) printf("close(-1): errno %d (%s)\n", errno, strerror(errno));
  atexit(goodbye);
  return 3;
}

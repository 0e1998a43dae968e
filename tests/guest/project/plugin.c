/* Opened at run time; calls translated entries (a 64-bit clock read) and the thread library. */
#include <pthread.h>
#include <stdio.h>
#include <time.h>

#include "project.h"

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static int calls;

int plugin_run(char* out, size_t size) {
  struct timespec ts;
  if (clock_gettime(CLOCK_MONOTONIC, &ts) != 0) return -1;
  pthread_mutex_lock(&lock);
  int n = ++calls;
  pthread_mutex_unlock(&lock);
  snprintf(out, size, "call %d, clock %s", n, ts.tv_nsec < 1000000000 ? "ok" : "bad");
  return 0;
}

// A guest program for an Android device: the time64 entry, a translated record, bionic's stdio
// and libm, and a 64-bit division, so that every kind of dependency appears in its headers.
#include <math.h>
#include <stdio.h>
#include <sys/stat.h>
#include <time.h>

int main(int argc, char** argv) {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  struct stat st;
  int have = stat(argv[0], &st) == 0;
  long long days = (long long)now.tv_sec / (argc * 86400LL);
  printf("%s: day %lld, %s, sqrt %.3f\n", argv[0], days, have ? "found" : "missing",
         sqrt((double)argc));
  return 0;
}

/* 64-bit time through musl's headers: clocks, sleeps, calendar dates past 2038, timers,
 * timerfd, child status with resource usage and file times. Prints only what must agree. */
#define _GNU_SOURCE
#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <utime.h>

static int failures;
#define CHECK(cond) \
  do { if (!(cond)) { printf("FAILED line %d: %s\n", __LINE__, #cond); ++failures; } } while (0)

static void print_tm(time_t t) {
  struct tm tm;
  if (!gmtime_r(&t, &tm)) {
    printf("%lld: gmtime_r failed\n", (long long)t);
    return;
  }
  printf("%lld: %d-%02d-%02d %02d:%02d:%02d wday %d yday %d %s\n", (long long)t, tm.tm_year + 1900,
         tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, tm.tm_wday, tm.tm_yday,
         tm.tm_zone);
  CHECK(timegm(&tm) == t);
}

/* mktime and timegm normalise the record and fill the fields they derive. */
static void normalise(const char* what, long long year, int mon, int mday, int hour, int min,
                      int sec) {
  for (int gm = 0; gm < 2; ++gm) {
    struct tm tm = {0};
    tm.tm_year = (int)(year - 1900);
    tm.tm_mon = mon - 1;
    tm.tm_mday = mday;
    tm.tm_hour = hour;
    tm.tm_min = min;
    tm.tm_sec = sec;
    tm.tm_isdst = -1;
    tm.tm_wday = tm.tm_yday = 99;
    errno = 0;
    time_t t = gm ? timegm(&tm) : mktime(&tm);
    printf("%s %s: %lld errno %d: %lld-%02d-%02d %02d:%02d:%02d wday %d yday %d isdst %d %ld %s\n",
           gm ? "timegm" : "mktime", what, (long long)t, errno, tm.tm_year + 1900LL, tm.tm_mon + 1,
           tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, tm.tm_wday, tm.tm_yday, tm.tm_isdst,
           tm.tm_gmtoff, t == -1 ? "-" : tm.tm_zone);
  }
}

static void burn_cpu(double seconds) {
  volatile unsigned sink = 1;
  struct timespec used = {0, 0};
  do {
    for (int i = 0; i < 100000; ++i) sink = sink * 1664525u + 1013904223u;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  } while (used.tv_sec + used.tv_nsec / 1e9 < seconds);
}

int main(void) {
  printf("sizeof(time_t) %zu, sizeof(struct timespec) %zu\n", sizeof(time_t),
         sizeof(struct timespec));

  struct timespec ts;
  CHECK(clock_gettime(CLOCK_REALTIME, &ts) == 0);
  time_t now = time(NULL);
  CHECK(now - ts.tv_sec >= 0 && now - ts.tv_sec <= 2);
  CHECK(ts.tv_nsec >= 0 && ts.tv_nsec < 1000000000);
  struct timeval tv;
  CHECK(gettimeofday(&tv, NULL) == 0);
  CHECK(tv.tv_sec - now >= 0 && tv.tv_sec - now <= 2 && tv.tv_usec < 1000000);
  CHECK(clock_gettime(CLOCK_MONOTONIC, &ts) == 0);

  struct timespec req = {0, 2000000}, rem = {0, 0};
  CHECK(nanosleep(&req, &rem) == 0);
  struct timespec after;
  CHECK(clock_gettime(CLOCK_MONOTONIC, &after) == 0);
  CHECK((after.tv_sec - ts.tv_sec) * 1000000000LL + (after.tv_nsec - ts.tv_nsec) >= 2000000);

  const time_t instants[] = {0, -1, 951868800, 2147483647, 2147483648LL, 4102444800LL,
                             -62135596800LL, 253402300799LL, 32503680000LL};
  for (size_t i = 0; i < sizeof(instants) / sizeof(instants[0]); ++i) print_tm(instants[i]);

  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  normalise("day 0", 2021, 3, 0, 12, 0, 0);
  normalise("month 13", 2021, 13, 15, 12, 0, 0);
  normalise("second 60", 2016, 12, 31, 23, 59, 60);
  normalise("day -1", 2020, 3, -1, 12, 0, 0);
  normalise("Feb 29 of 2021", 2021, 2, 29, 12, 0, 0);
  normalise("Jan 15 + 40 days", 2021, 1, 55, 12, 0, 0);
  normalise("summer 2242", 2242, 7, 1, 12, 0, 0);
  normalise("year past INT_MAX", 2147483647LL + 1900, 13, 1, 0, 0, 0);
  setenv("TZ", "UTC0", 1);
  tzset();
  normalise("UTC, second -1", 2000, 1, 1, 0, 0, -1);

  timer_t timer;
  struct sigevent event = {0};
  event.sigev_notify = SIGEV_NONE;
  CHECK(timer_create(CLOCK_MONOTONIC, &event, &timer) == 0);
  struct itimerspec its = {{0, 0}, {30, 0}}, cur;
  CHECK(timer_settime(timer, 0, &its, NULL) == 0);
  CHECK(timer_gettime(timer, &cur) == 0);
  printf("timer: %s\n", cur.it_value.tv_sec >= 29 && cur.it_value.tv_sec <= 30 ? "armed" : "wrong");
  timer_delete(timer);

  int tfd = timerfd_create(CLOCK_MONOTONIC, 0);
  struct itimerspec tfs = {{0, 0}, {0, 10000000}};
  CHECK(timerfd_settime(tfd, 0, &tfs, NULL) == 0);
  CHECK(timerfd_gettime(tfd, &cur) == 0 && cur.it_value.tv_sec == 0);
  unsigned long long ticks = 0;
  CHECK(read(tfd, &ticks, sizeof(ticks)) == 8);
  printf("timerfd expirations: %llu\n", ticks);
  close(tfd);

  pid_t child = fork();
  if (child == 0) _exit(5);
  int status = 0;
  struct rusage usage;
  CHECK(wait4(child, &status, 0, &usage) == child);
  printf("child exit status %d\n", WEXITSTATUS(status));
  CHECK(usage.ru_utime.tv_usec >= 0 && usage.ru_utime.tv_usec < 1000000);
  burn_cpu(0.4);  /* under emulation much of it is system time */
  CHECK(getrusage(RUSAGE_SELF, &usage) == 0);
  double user = usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6;
  printf("getrusage: user time between 0.05 and 60 s: %d\n", user >= 0.05 && user <= 60);
  CHECK(usage.ru_stime.tv_usec >= 0 && usage.ru_stime.tv_usec < 1000000);
  CHECK(usage.ru_maxrss > 0 && usage.ru_minflt > 0);
  errno = 0;
  printf("getrusage(12345): %d, errno %d\n", getrusage(12345, &usage), errno);

  int sem = semget(IPC_PRIVATE, 1, 0600);
  CHECK(sem >= 0);
  struct sembuf take = {0, -1, 0};
  struct timespec wait = {0, 300000000}, start, end;
  clock_gettime(CLOCK_MONOTONIC, &start);
  errno = 0;
  printf("semtimedop on an empty semaphore: %d, errno %d\n", semtimedop(sem, &take, 1, &wait),
         errno);
  clock_gettime(CLOCK_MONOTONIC, &end);
  double waited = (end.tv_sec - start.tv_sec) + (end.tv_nsec - start.tv_nsec) / 1e9;
  printf("semtimedop waited its time-out: %d\n", waited >= 0.25 && waited < 10);
  semctl(sem, 0, IPC_RMID);

  FILE* f = fopen("utime-file", "w");
  CHECK(f != NULL);
  fclose(f);
  struct utimbuf times = {1000000000, 2000000000};
  printf("utime: %d\n", utime("utime-file", &times));
  printf("utime(NULL): %d\n", utime("utime-file", NULL));
  struct utimbuf far = {8589934592LL, 2240000000LL};
  printf("utime(2^33, 2240000000): %d\n", utime("utime-file", &far));
  struct stat st;
  CHECK(stat("utime-file", &st) == 0);
  printf("  read back: atime %lld mtime %lld\n", (long long)st.st_atime, (long long)st.st_mtime);

  printf("%d failed checks\n", failures);
  return failures != 0;
}

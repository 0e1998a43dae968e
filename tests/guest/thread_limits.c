/* Thread attribute limits and signal waits: stack sizes from 8192 bytes up, scheduling
 * priorities stored as given, and the siginfo of signals sent to the calling thread. */
#define _GNU_SOURCE
#include <errno.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

static void* run(void* arg) {
  volatile char scratch[1024];
  memset((char*)scratch, 1, sizeof scratch);
  return (char*)arg + scratch[0];
}

static void stack_sizes(void) {
  const size_t sizes[] = {8192, 12288, 16384, 65536};
  for (unsigned i = 0; i < sizeof(sizes) / sizeof(sizes[0]); ++i) {
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    int set = pthread_attr_setstacksize(&attr, sizes[i]);
    size_t back = 0;
    pthread_attr_getstacksize(&attr, &back);
    pthread_t thread;
    void* result = NULL;
    int created = pthread_create(&thread, &attr, run, (void*)100);
    if (created == 0) pthread_join(thread, &result);
    printf("stack %zu: set %d reads %zu create %d result %ld\n", sizes[i], set, back, created,
           (long)result);
    pthread_attr_destroy(&attr);
  }
}

static void priorities(void) {
  const struct {
    int policy, priority;
  } cases[] = {{SCHED_RR, 0}, {SCHED_RR, 50}, {SCHED_FIFO, 0}, {SCHED_OTHER, 5}};
  for (unsigned i = 0; i < sizeof(cases) / sizeof(cases[0]); ++i) {
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setschedpolicy(&attr, cases[i].policy);
    struct sched_param param = {.sched_priority = cases[i].priority}, back = {0};
    int set = pthread_attr_setschedparam(&attr, &param);
    pthread_attr_getschedparam(&attr, &back);
    printf("policy %d priority %d: set %d reads %d\n", cases[i].policy, cases[i].priority, set,
           back.sched_priority);
    pthread_attr_destroy(&attr);
  }
}

static const char* code_name(int code) {
  switch (code) {
    case SI_USER: return "SI_USER";
    case SI_TKILL: return "SI_TKILL";
    case SI_QUEUE: return "SI_QUEUE";
    default: return "other";
  }
}

static void waits(void) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGUSR1);
  sigaddset(&set, SIGUSR2);
  sigprocmask(SIG_BLOCK, &set, NULL);
  const struct {
    const char* how;
    int sig;
  } sends[] = {{"raise", SIGUSR1}, {"pthread_kill", SIGUSR2}, {"kill", SIGUSR1},
               {"sigqueue", SIGUSR2}};
  for (unsigned i = 0; i < sizeof(sends) / sizeof(sends[0]); ++i) {
    int sig = sends[i].sig;
    if (i == 0) raise(sig);
    if (i == 1) pthread_kill(pthread_self(), sig);
    if (i == 2) kill(getpid(), sig);
    if (i == 3) sigqueue(getpid(), sig, (union sigval){.sival_int = 7});
    siginfo_t info;
    memset(&info, 0, sizeof info);
    int got;
    if (i % 2 == 0) {
      struct timespec timeout = {5, 0};
      got = sigtimedwait(&set, &info, &timeout);
    } else {
      got = sigwaitinfo(&set, &info);
    }
    printf("%s: %s signal %s code %s\n", sends[i].how, i % 2 == 0 ? "sigtimedwait" : "sigwaitinfo",
           got == sig && info.si_signo == sig ? "ok" : "wrong", code_name(info.si_code));
  }
  struct timespec zero = {0, 0};
  siginfo_t info;
  printf("nothing pending: %d %s\n", sigtimedwait(&set, &info, &zero),
         errno == EAGAIN ? "EAGAIN" : "?");
}

int main(void) {
  stack_sizes();
  priorities();
  waits();
  return 0;
}

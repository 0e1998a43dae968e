/* Signals across threads through musl's headers: sigtimedwait on a real-time signal, a wait
 * without time-out woken by another thread, and raise from several threads at once. */
#define _GNU_SOURCE
#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

enum { kThreads = 4, kRaises = 10000 };

static volatile int handled;
static int failed_raises;
static pthread_mutex_t failed_lock = PTHREAD_MUTEX_INITIALIZER;

static void count(int sig) {
  (void)sig;
  __atomic_fetch_add(&handled, 1, __ATOMIC_RELAXED);
}

static void* raiser(void* arg) {
  (void)arg;
  int failed = 0;
  for (int i = 0; i < kRaises; ++i) {
    if (raise(SIGUSR1) != 0) ++failed;
  }
  pthread_mutex_lock(&failed_lock);
  failed_raises += failed;
  pthread_mutex_unlock(&failed_lock);
  return NULL;
}

static void* send_later(void* target) {
  struct timespec pause = {0, 50000000};
  nanosleep(&pause, NULL);
  pthread_kill(*(pthread_t*)target, SIGUSR2);
  return NULL;
}

int main(void) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, 48);
  sigaddset(&set, SIGUSR2);
  sigprocmask(SIG_BLOCK, &set, NULL);

  siginfo_t info;
  memset(&info, 0, sizeof(info));
  printf("raise(48): %d\n", raise(48));
  struct timespec limit = {2, 0};
  int got = sigtimedwait(&set, &info, &limit);
  printf("sigtimedwait: %d, si_signo %d\n", got, info.si_signo);

  raise(48);
  printf("sigwaitinfo: %d\n", sigwaitinfo(&set, &info));

  pthread_t self = pthread_self(), sender;
  pthread_create(&sender, NULL, send_later, &self);
  got = sigtimedwait(&set, &info, NULL);
  printf("sigtimedwait without time-out: %d\n", got);
  pthread_join(sender, NULL);

  struct timespec none = {0, 0};
  errno = 0;
  got = sigtimedwait(&set, &info, &none);
  printf("nothing pending: %d, errno %s\n", got, errno == EAGAIN ? "EAGAIN" : strerror(errno));

  signal(SIGUSR1, count);
  pthread_t threads[kThreads];
  for (int i = 0; i < kThreads; ++i) pthread_create(&threads[i], NULL, raiser, NULL);
  for (int i = 0; i < kThreads; ++i) pthread_join(threads[i], NULL);
  printf("raise from %d threads: %d failed, %d handled\n", kThreads, failed_raises,
         __atomic_load_n(&handled, __ATOMIC_RELAXED));
  return 0;
}

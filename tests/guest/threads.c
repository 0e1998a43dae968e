/* Threads from guest attributes through musl's headers: stack size, detach state, scheduling
 * inheritance, attributes read back from a running thread, and cleanup handlers. */
#define _GNU_SOURCE
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static char log_text[256];
static pthread_mutex_t log_lock = PTHREAD_MUTEX_INITIALIZER;

static void note(void* text) {
  pthread_mutex_lock(&log_lock);
  strcat(log_text, (const char*)text);
  pthread_mutex_unlock(&log_lock);
}

static void* worker(void* arg) {
  size_t requested = *(size_t*)arg, size = 0;
  pthread_attr_t attr;
  int detach = -1;
  if (pthread_getattr_np(pthread_self(), &attr) != 0) return (void*)-1;
  pthread_attr_getstacksize(&attr, &size);
  pthread_attr_getdetachstate(&attr, &detach);
  pthread_attr_destroy(&attr);

  pthread_cleanup_push(note, "A");
  pthread_cleanup_push(note, "B");
  pthread_cleanup_pop(1);
  pthread_cleanup_pop(0);
  return (void*)(long)(size >= requested && detach == PTHREAD_CREATE_JOINABLE);
}

static void* exiting_worker(void* arg) {
  (void)arg;
  pthread_cleanup_push(note, "X");
  pthread_exit(0);
  pthread_cleanup_pop(0);
  return 0;
}

int main(void) {
  pthread_attr_t attr;
  size_t requested = 256 * 1024, size = 0;
  int value = -1;
  printf("attr_init: %d\n", pthread_attr_init(&attr));
  printf("setstacksize: %d\n", pthread_attr_setstacksize(&attr, requested));
  pthread_attr_getstacksize(&attr, &size);
  printf("getstacksize: %zu\n", size);
  printf("setinheritsched(EXPLICIT): %d\n", pthread_attr_setinheritsched(&attr, PTHREAD_EXPLICIT_SCHED));
  pthread_attr_getinheritsched(&attr, &value);
  printf("inheritsched is EXPLICIT: %d\n", value == PTHREAD_EXPLICIT_SCHED);
  printf("setinheritsched(2): %d\n", pthread_attr_setinheritsched(&attr, 2));
  pthread_attr_setinheritsched(&attr, PTHREAD_INHERIT_SCHED);

  pthread_t threads[4];
  for (int i = 0; i < 4; ++i) pthread_create(&threads[i], &attr, worker, &requested);
  int good = 0;
  for (int i = 0; i < 4; ++i) {
    void* result = 0;
    pthread_join(threads[i], &result);
    good += result == (void*)1;
  }
  printf("threads with the requested stack and joinable: %d of 4\n", good);

  pthread_t exiting;
  pthread_create(&exiting, NULL, exiting_worker, NULL);
  pthread_join(exiting, NULL);
  printf("cleanup handlers ran: %s\n", log_text);

  printf("setdetachstate: %d\n", pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED));
  pthread_attr_getdetachstate(&attr, &value);
  printf("detached: %d\n", value == PTHREAD_CREATE_DETACHED);
  printf("attr_destroy: %d\n", pthread_attr_destroy(&attr));
  return 0;
}

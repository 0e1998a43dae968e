/* Producer and consumers through musl's headers: pthread mutexes and condition variables,
 * timed waits that expire, recursive and error-check mutexes, and C11 mtx_t/cnd_t. */
#include <errno.h>
#include <pthread.h>
#include <stdio.h>
#include <threads.h>
#include <time.h>

#define ITEMS 400
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t more = PTHREAD_COND_INITIALIZER, room = PTHREAD_COND_INITIALIZER;
static int queue[8], head, count, done;
static long consumed_sum;

static void* producer(void* arg) {
  (void)arg;
  for (int i = 1; i <= ITEMS; ++i) {
    pthread_mutex_lock(&lock);
    while (count == 8) pthread_cond_wait(&room, &lock);
    queue[(head + count++) % 8] = i;
    pthread_cond_signal(&more);
    pthread_mutex_unlock(&lock);
  }
  pthread_mutex_lock(&lock);
  done = 1;
  pthread_cond_broadcast(&more);
  pthread_mutex_unlock(&lock);
  return 0;
}

static void* consumer(void* arg) {
  (void)arg;
  for (;;) {
    pthread_mutex_lock(&lock);
    while (count == 0 && !done) pthread_cond_wait(&more, &lock);
    if (count == 0 && done) {
      pthread_mutex_unlock(&lock);
      return 0;
    }
    consumed_sum += queue[head];
    head = (head + 1) % 8;
    --count;
    pthread_cond_signal(&room);
    pthread_mutex_unlock(&lock);
  }
}

static struct timespec in_ms(long ms) {
  struct timespec ts;
  clock_gettime(CLOCK_REALTIME, &ts);
  ts.tv_nsec += ms * 1000000;
  ts.tv_sec += ts.tv_nsec / 1000000000;
  ts.tv_nsec %= 1000000000;
  return ts;
}

static mtx_t c11_lock;
static cnd_t c11_cond;
static int c11_flag;

static int c11_signaller(void* arg) {
  (void)arg;
  mtx_lock(&c11_lock);
  c11_flag = 1;
  cnd_signal(&c11_cond);
  mtx_unlock(&c11_lock);
  return 0;
}

int main(void) {
  pthread_t threads[3];
  pthread_create(&threads[0], NULL, producer, NULL);
  pthread_create(&threads[1], NULL, consumer, NULL);
  pthread_create(&threads[2], NULL, consumer, NULL);
  for (int i = 0; i < 3; ++i) pthread_join(threads[i], NULL);
  printf("consumed sum %ld (expected %d)\n", consumed_sum, ITEMS * (ITEMS + 1) / 2);

  pthread_mutex_lock(&lock);
  struct timespec soon = in_ms(20);
  printf("cond_timedwait: %s\n", pthread_cond_timedwait(&more, &lock, &soon) == ETIMEDOUT
                                     ? "timed out" : "other");
  pthread_mutex_unlock(&lock);

  pthread_mutexattr_t attr;
  pthread_mutexattr_init(&attr);
  pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_t recursive;
  pthread_mutex_init(&recursive, &attr);
  printf("recursive: %d %d %d %d\n", pthread_mutex_lock(&recursive),
         pthread_mutex_lock(&recursive), pthread_mutex_unlock(&recursive),
         pthread_mutex_unlock(&recursive));
  pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_ERRORCHECK);
  pthread_mutex_t checked;
  pthread_mutex_init(&checked, &attr);
  pthread_mutex_lock(&checked);
  printf("errorcheck relock: %s\n", pthread_mutex_lock(&checked) == EDEADLK ? "EDEADLK" : "?");
  pthread_mutex_unlock(&checked);
  pthread_mutexattr_destroy(&attr);

  printf("mtx_init(plain|timed): %d, (4): %d\n", mtx_init(&c11_lock, mtx_timed),
         mtx_init(&(mtx_t){0}, 4));
  cnd_init(&c11_cond);
  thrd_t signaller;
  mtx_lock(&c11_lock);
  thrd_create(&signaller, c11_signaller, NULL);
  while (!c11_flag) cnd_wait(&c11_cond, &c11_lock);
  soon = in_ms(20);
  printf("cnd_timedwait: %s\n", cnd_timedwait(&c11_cond, &c11_lock, &soon) == thrd_timedout
                                    ? "timed out" : "other");
  mtx_unlock(&c11_lock);
  thrd_join(signaller, NULL);
  printf("c11 flag %d\n", c11_flag);
  cnd_destroy(&c11_cond);
  mtx_destroy(&c11_lock);
  return 0;
}

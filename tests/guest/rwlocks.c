/* A statically initialised read-write lock, a barrier and an unnamed semaphore shared by
 * threads, and a spin lock, through musl's headers. */
#include <errno.h>
#include <pthread.h>
#include <semaphore.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

#define THREADS 4
#define SPIN_INCREMENTS 200000
static pthread_rwlock_t table_lock = PTHREAD_RWLOCK_INITIALIZER;
static long table[2];  /* writers keep both equal */
static int torn_reads;
static pthread_barrier_t start_line;
static pthread_spinlock_t spin;
static long spin_counter;
static sem_t tokens;

static void* worker(void* arg) {
  long id = (long)arg;
  pthread_barrier_wait(&start_line);
  for (int i = 0; i < 300; ++i) {
    if (i % 3 == (int)id % 3) {
      pthread_rwlock_wrlock(&table_lock);
      table[0]++;
      table[1]++;
      pthread_rwlock_unlock(&table_lock);
    } else {
      pthread_rwlock_rdlock(&table_lock);
      if (table[0] != table[1]) __atomic_add_fetch(&torn_reads, 1, __ATOMIC_RELAXED);
      pthread_rwlock_unlock(&table_lock);
    }
  }
  sem_post(&tokens);
  return 0;
}

/* Spin locks guard a counter between threads; the alarm ends a run whose lock never frees. */
static void* spinner(void* arg) {
  (void)arg;
  for (int i = 0; i < SPIN_INCREMENTS; ++i) {
    pthread_spin_lock(&spin);
    spin_counter++;
    pthread_spin_unlock(&spin);
  }
  return 0;
}

int main(void) {
  alarm(120);
  printf("barrier_init: %d\n", pthread_barrier_init(&start_line, NULL, THREADS));
  printf("spin_init: %d\n", pthread_spin_init(&spin, PTHREAD_PROCESS_PRIVATE));
  printf("sem_init: %d\n", sem_init(&tokens, 0, 0));
  pthread_t threads[THREADS];
  for (long i = 0; i < THREADS; ++i) pthread_create(&threads[i], NULL, worker, (void*)i);
  for (int i = 0; i < THREADS; ++i) sem_wait(&tokens);
  for (int i = 0; i < THREADS; ++i) pthread_join(threads[i], NULL);
  printf("table %ld %ld, torn reads %d\n", table[0], table[1], torn_reads);
  for (long i = 0; i < THREADS; ++i) pthread_create(&threads[i], NULL, spinner, NULL);
  for (int i = 0; i < THREADS; ++i) pthread_join(threads[i], NULL);
  printf("spin: counter %ld, trylock %d, unlock %d\n", spin_counter, pthread_spin_trylock(&spin),
         pthread_spin_unlock(&spin));

  printf("tryrdlock: %d\n", pthread_rwlock_tryrdlock(&table_lock));
  printf("trywrlock while read-locked: %s\n",
         pthread_rwlock_trywrlock(&table_lock) == EBUSY ? "EBUSY" : "other");
  pthread_rwlock_unlock(&table_lock);
  printf("rwlock_destroy: %d\n", pthread_rwlock_destroy(&table_lock));

  struct timespec soon;
  clock_gettime(CLOCK_REALTIME, &soon);
  soon.tv_nsec += 20000000;
  if (soon.tv_nsec >= 1000000000) soon.tv_sec++, soon.tv_nsec -= 1000000000;
  errno = 0;
  printf("sem_timedwait: %d errno %d\n", sem_timedwait(&tokens, &soon), errno);
  printf("barrier_destroy: %d\n", pthread_barrier_destroy(&start_line));
  printf("sem_destroy: %d\n", sem_destroy(&tokens));
  return 0;
}

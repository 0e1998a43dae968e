/* System V IPC control calls through musl's headers, whose records end with 64-bit times that
 * only a translating msgctl, shmctl or semctl fills. Each object is private to the program and
 * removed before it moves on. */
#define _GNU_SOURCE
#include <stdio.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <time.h>

static const char* recent(time_t t, time_t start) {
  return t >= start - 5 && t <= time(NULL) + 5 ? "recent" : "wrong";
}

static void message_queue(time_t start) {
  int id = msgget(IPC_PRIVATE, IPC_CREAT | 0600);
  if (id < 0) { perror("msgget"); return; }
  struct { long type; char text[8]; } message = {1, "hello"};
  msgsnd(id, &message, sizeof message.text, 0);
  struct msqid_ds ds;
  memset(&ds, 0x5a, sizeof ds);
  int r = msgctl(id, IPC_STAT, &ds);
  printf("msgctl IPC_STAT %d: mode %o qnum %lu stime %s ctime %s rtime %lld\n", r,
         (unsigned)ds.msg_perm.mode & 0777, (unsigned long)ds.msg_qnum,
         recent(ds.msg_stime, start), recent(ds.msg_ctime, start), (long long)ds.msg_rtime);
  ds.msg_perm.mode = 0640;
  printf("msgctl IPC_SET %d\n", msgctl(id, IPC_SET, &ds));
  memset(&ds, 0x5a, sizeof ds);
  msgctl(id, IPC_STAT, &ds);
  printf("after IPC_SET: mode %o\n", (unsigned)ds.msg_perm.mode & 0777);
  printf("msgctl IPC_RMID %d\n", msgctl(id, IPC_RMID, NULL));
}

static void shared_memory(time_t start) {
  int id = shmget(IPC_PRIVATE, 8192, IPC_CREAT | 0600);
  if (id < 0) { perror("shmget"); return; }
  void* at = shmat(id, NULL, 0);
  struct shmid_ds ds;
  memset(&ds, 0x5a, sizeof ds);
  int r = shmctl(id, IPC_STAT, &ds);
  printf("shmctl IPC_STAT %d: segsz %zu nattch %lu atime %s ctime %s dtime %lld\n", r,
         ds.shm_segsz, (unsigned long)ds.shm_nattch, recent(ds.shm_atime, start),
         recent(ds.shm_ctime, start), (long long)ds.shm_dtime);
  shmdt(at);
  printf("shmctl IPC_RMID %d\n", shmctl(id, IPC_RMID, NULL));
}

static void semaphores(time_t start) {
  int id = semget(IPC_PRIVATE, 3, IPC_CREAT | 0600);
  if (id < 0) { perror("semget"); return; }
  printf("semctl SETVAL %d\n", semctl(id, 1, SETVAL, 7));
  printf("semctl GETVAL %d\n", semctl(id, 1, GETVAL));
  unsigned short all[3] = {1, 2, 3};
  printf("semctl SETALL %d\n", semctl(id, 0, SETALL, all));
  struct sembuf op = {2, -1, 0};
  semop(id, &op, 1);
  memset(all, 0, sizeof all);
  printf("semctl GETALL %d: %u %u %u\n", semctl(id, 0, GETALL, all), all[0], all[1], all[2]);
  struct semid_ds ds;
  memset(&ds, 0x5a, sizeof ds);
  int r = semctl(id, 0, IPC_STAT, &ds);
  printf("semctl IPC_STAT %d: nsems %lu otime %s ctime %s\n", r, (unsigned long)ds.sem_nsems,
         recent(ds.sem_otime, start), recent(ds.sem_ctime, start));
  printf("semctl IPC_RMID %d\n", semctl(id, 0, IPC_RMID));
}

int main(void) {
  time_t start = time(NULL);
  message_queue(start);
  shared_memory(start);
  semaphores(start);
  return 0;
}

// bionic's System V IPC control calls. On 32-bit ARM they add the kernel's 64-bit-command bit
// themselves and take the kernel's records (ipc64_perm, times as low and high words), which
// are the first bytes of the guest's records; the seam takes them untyped.
#pragma once

#include <stddef.h>

inline constexpr size_t kHostMsqidSize = 88;
inline constexpr size_t kHostShmidSize = 84;
inline constexpr size_t kHostSemidSize = 64;

#if defined(__BIONIC__)
#include <sys/msg.h>
#include <sys/sem.h>
#include <sys/shm.h>

static_assert(sizeof(msqid_ds) == kHostMsqidSize && offsetof(msqid_ds, msg_stime) == 36);
static_assert(offsetof(msqid_ds, msg_qbytes) == 68);
static_assert(sizeof(shmid_ds) == kHostShmidSize && offsetof(shmid_ds, shm_atime) == 40);
static_assert(offsetof(shmid_ds, shm_nattch) == 72);
static_assert(sizeof(semid_ds) == kHostSemidSize && offsetof(semid_ds, sem_otime) == 36);
static_assert(offsetof(semid_ds, sem_nsems) == 52);

inline int BionicMsgctl(int id, int cmd, void* buf) {
  return msgctl(id, cmd, static_cast<msqid_ds*>(buf));
}
inline int BionicShmctl(int id, int cmd, void* buf) {
  return shmctl(id, cmd, static_cast<shmid_ds*>(buf));
}
inline int BionicSemctl(int id, int num, int cmd, void* arg) { return semctl(id, num, cmd, arg); }
#else
extern "C" {
int BionicMsgctl(int id, int cmd, void* buf) __asm__("msgctl");
int BionicShmctl(int id, int cmd, void* buf) __asm__("shmctl");
int BionicSemctl(int id, int num, int cmd, ...) __asm__("semctl");
}
#endif

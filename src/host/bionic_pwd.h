// bionic's reentrant user lookups, used where only "does this user exist" matters. The record
// is held in a slot large enough for any host's struct passwd and never read field by field.
#pragma once

#include <stddef.h>
#include <sys/types.h>

struct HostPasswdSlot {
  void* words[16];
};

#if defined(__BIONIC__)
#include <pwd.h>

static_assert(sizeof(passwd) <= sizeof(HostPasswdSlot));

inline int BionicGetpwnamR(const char* name, HostPasswdSlot* slot, char* buf, size_t size,
                           void** result) {
  return getpwnam_r(name, reinterpret_cast<passwd*>(slot), buf, size,
                    reinterpret_cast<passwd**>(result));
}
inline int BionicGetpwuidR(uid_t uid, HostPasswdSlot* slot, char* buf, size_t size,
                           void** result) {
  return getpwuid_r(uid, reinterpret_cast<passwd*>(slot), buf, size,
                    reinterpret_cast<passwd**>(result));
}
#else
extern "C" {
int BionicGetpwnamR(const char* name, HostPasswdSlot* slot, char* buf, size_t size,
                    void** result) __asm__("getpwnam_r");
int BionicGetpwuidR(uid_t uid, HostPasswdSlot* slot, char* buf, size_t size, void** result)
    __asm__("getpwuid_r");
}
#endif

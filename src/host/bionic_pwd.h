// bionic's user-database interface. On 32-bit ARM bionic's struct passwd has no pw_gecos; the
// seam names that record HostPasswd, since another host's struct passwd may have one.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

struct HostPasswd {
  char* pw_name;
  char* pw_passwd;
  uint32_t pw_uid;
  uint32_t pw_gid;
  char* pw_dir;
  char* pw_shell;
};
static_assert(sizeof(HostPasswd) == 24);
static_assert(offsetof(HostPasswd, pw_dir) == 16);

#if defined(__BIONIC__)
#include <pwd.h>
// bionic's 32-bit header makes pw_gecos another name for pw_passwd; the guest's record has both.
#undef pw_gecos

static_assert(sizeof(passwd) == sizeof(HostPasswd));
static_assert(offsetof(passwd, pw_dir) == offsetof(HostPasswd, pw_dir));

inline HostPasswd* BionicGetpwent() { return reinterpret_cast<HostPasswd*>(getpwent()); }
inline HostPasswd* BionicGetpwnam(const char* name) {
  return reinterpret_cast<HostPasswd*>(getpwnam(name));
}
inline HostPasswd* BionicGetpwuid(uid_t uid) { return reinterpret_cast<HostPasswd*>(getpwuid(uid)); }
inline int BionicGetpwnamR(const char* name, HostPasswd* pw, char* buf, size_t len,
                           HostPasswd** res) {
  return getpwnam_r(name, reinterpret_cast<passwd*>(pw), buf, len, reinterpret_cast<passwd**>(res));
}
inline int BionicGetpwuidR(uid_t uid, HostPasswd* pw, char* buf, size_t len, HostPasswd** res) {
  return getpwuid_r(uid, reinterpret_cast<passwd*>(pw), buf, len, reinterpret_cast<passwd**>(res));
}
#else
extern "C" {
HostPasswd* BionicGetpwent() __asm__("getpwent");
HostPasswd* BionicGetpwnam(const char* name) __asm__("getpwnam");
HostPasswd* BionicGetpwuid(uid_t uid) __asm__("getpwuid");
int BionicGetpwnamR(const char* name, HostPasswd* pw, char* buf, size_t len, HostPasswd** res)
    __asm__("getpwnam_r");
int BionicGetpwuidR(uid_t uid, HostPasswd* pw, char* buf, size_t len, HostPasswd** res)
    __asm__("getpwuid_r");
}
#endif

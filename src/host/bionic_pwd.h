// bionic's user-database interface. On 32-bit ARM bionic's struct passwd has no pw_gecos, so the
// host record is declared here, not taken from a header, and the functions are bound by name.
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

extern "C" {
HostPasswd* BionicGetpwent() __asm__("getpwent");
HostPasswd* BionicGetpwnam(const char* name) __asm__("getpwnam");
HostPasswd* BionicGetpwuid(uid_t uid) __asm__("getpwuid");
int BionicGetpwnamR(const char* name, HostPasswd* pw, char* buf, size_t len, HostPasswd** res)
    __asm__("getpwnam_r");
int BionicGetpwuidR(uid_t uid, HostPasswd* pw, char* buf, size_t len, HostPasswd** res)
    __asm__("getpwuid_r");
}

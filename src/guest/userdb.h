// Guest (musl, 32-bit ARM) records of the user, group and shadow databases and of the protocol
// and service databases.
#pragma once

#include <stddef.h>
#include <stdint.h>

struct GuestPasswd {
  char* pw_name;
  char* pw_passwd;
  uint32_t pw_uid;
  uint32_t pw_gid;
  char* pw_gecos;
  char* pw_dir;
  char* pw_shell;
};
static_assert(sizeof(GuestPasswd) == 28);
static_assert(offsetof(GuestPasswd, pw_gecos) == 16);
static_assert(offsetof(GuestPasswd, pw_dir) == 20);
static_assert(offsetof(GuestPasswd, pw_shell) == 24);

struct GuestGroup {
  char* gr_name;
  char* gr_passwd;
  uint32_t gr_gid;
  char** gr_mem;
};
static_assert(sizeof(GuestGroup) == 16);

struct GuestSpwd {
  char* sp_namp;
  char* sp_pwdp;
  int32_t sp_lstchg;
  int32_t sp_min;
  int32_t sp_max;
  int32_t sp_warn;
  int32_t sp_inact;
  int32_t sp_expire;
  uint32_t sp_flag;
};
static_assert(sizeof(GuestSpwd) == 36);
static_assert(offsetof(GuestSpwd, sp_flag) == 32);

struct GuestProtoent {
  char* p_name;
  char** p_aliases;
  int32_t p_proto;
};
static_assert(sizeof(GuestProtoent) == 12);

struct GuestServent {
  char* s_name;
  char** s_aliases;
  int32_t s_port;  // network byte order
  char* s_proto;
};
static_assert(sizeof(GuestServent) == 16);
static_assert(offsetof(GuestServent, s_proto) == 12);

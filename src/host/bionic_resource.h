// bionic's 32-bit resource limits (RLIM_INFINITY 0xFFFFFFFF). Another host's headers may map
// these names to 64-bit variants, hence the asm labels.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

struct HostRlimit {
  uint32_t rlim_cur;
  uint32_t rlim_max;
};
static_assert(sizeof(HostRlimit) == 8);
static_assert(offsetof(HostRlimit, rlim_max) == 4);

extern "C" {
int BionicGetrlimit(int resource, HostRlimit* limit) __asm__("getrlimit");
int BionicSetrlimit(int resource, const HostRlimit* limit) __asm__("setrlimit");
int BionicPrlimit(pid_t pid, int resource, const HostRlimit* new_limit, HostRlimit* old_limit)
    __asm__("prlimit");
}

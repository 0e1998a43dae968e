// Guest (musl, 32-bit ARM) resource limits: 64-bit rlim_t, RLIM_INFINITY all ones.
#pragma once

#include <stddef.h>
#include <stdint.h>

struct GuestRlimit {
  uint64_t rlim_cur;
  uint64_t rlim_max;
};
static_assert(sizeof(GuestRlimit) == 16);
static_assert(offsetof(GuestRlimit, rlim_max) == 8);

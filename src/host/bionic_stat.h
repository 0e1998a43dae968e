// bionic's statx (API 30) and the kernel's record it fills, with 64-bit times. bionic declares
// both in <sys/stat.h>; so does glibc, for _GNU_SOURCE, which the test host defines.
#pragma once

#include <stddef.h>
#include <sys/stat.h>

static_assert(sizeof(struct statx) == 256, "the kernel's statx record");
static_assert(offsetof(struct statx, stx_mtime) == 112);

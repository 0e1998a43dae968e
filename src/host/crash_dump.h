// What crash handling needs from the platform: the dump tool's path, the abort message kept in
// the loader's shared globals, and the guest platform's trace id. Read from signal handlers:
// nothing here allocates or locks.
#pragma once

#include <signal.h>
#include <stddef.h>
#include <stdint.h>

#include "host/bionic_libc_init.h"

extern "C" {
// The dump tool that reads a crash record on its standard input: "/system/bin/processdump" on
// Android. The answer lives in static storage.
const char* KelpProcessDumpPath();

// The guest platform's trace library; absent unless the process loaded it.
struct MoxTraceId {
  uint64_t words[2];
};
MoxTraceId MoxTraceGetId() __attribute__((weak));
}

static_assert(sizeof(MoxTraceId) == 16);

// bionic's abort message block: its size word, then the NUL-terminated text.
struct AbortMessageBlock {
  size_t size;
  char text[];
};
static_assert(offsetof(AbortMessageBlock, text) == 4);

// Where bionic's shared globals keep the abort message block's address (32-bit ARM, API 31):
// behind the 1040-byte descriptor table, the linker's argument count, the auxiliary vector
// pointer and the abort message lock.
inline constexpr uint32_t kSharedGlobalsAbortMessage = 0x41C;

#if defined(__BIONIC__)
static_assert(sizeof(struct sigaction) == 16);
#endif

/* A stand-in for the guest platform's allocation hook library, libnative_hook.z.so: counts every
 * call and serves allocations from the host table that initialize hands it. Built in variants:
 *   NATIVE_HOOK_INITIALIZE_RESULT  what initialize returns (default 1)
 *   NATIVE_HOOK_WITHOUT_MUNMAP     leaves kelp_malloc_hook_munmap out
 * It calls no C library function, so guest and host programs can load it alike. */
#include "native_hook.h"

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifndef NATIVE_HOOK_INITIALIZE_RESULT
#define NATIVE_HOOK_INITIALIZE_RESULT 1
#endif

#define EXPORT __attribute__((visibility("default")))
#define COUNT(field) __atomic_fetch_add(&counters.field, 1, __ATOMIC_SEQ_CST)

struct HostTable {
  void* (*mmap)(void*, size_t, int, int, int, int64_t);
  int (*munmap)(void*, size_t);
  void* (*malloc)(size_t);
  void* (*calloc)(size_t, size_t);
  void* (*realloc)(void*, size_t);
  void* unused;
  void (*free)(void*);
};

static struct NativeHookCounters counters;
static const struct HostTable* host;

EXPORT struct NativeHookCounters* native_hook_counters(void) { return &counters; }

EXPORT bool kelp_malloc_hook_initialize(const struct HostTable* table, void* arg,
                                        const char* options) {
  COUNT(initialize);
  host = table;
  counters.host_table = table;
  counters.second_arg = arg;
  counters.options = options;
  return NATIVE_HOOK_INITIALIZE_RESULT;
}

EXPORT void kelp_malloc_hook_finalize(void) { COUNT(finalize); }

EXPORT bool kelp_malloc_hook_get_hook_flag(void) {
  COUNT(get_hook_flag);
  return __atomic_load_n(&counters.hook_flag, __ATOMIC_SEQ_CST) != 0;
}

EXPORT bool kelp_malloc_hook_set_hook_flag(bool flag) {
  COUNT(set_hook_flag);
  return __atomic_exchange_n(&counters.hook_flag, flag ? 1 : 0, __ATOMIC_SEQ_CST) != 0;
}

EXPORT bool kelp_malloc_hook_on_start(void) {
  COUNT(on_start);
  return true;
}

EXPORT bool kelp_malloc_hook_on_end(void) {
  COUNT(on_end);
  return true;
}

EXPORT void* kelp_malloc_hook_malloc(size_t size) {
  COUNT(malloc);
  return host->malloc(size);
}

EXPORT void kelp_malloc_hook_free(void* pointer) {
  COUNT(free);
  host->free(pointer);
}

EXPORT void* kelp_malloc_hook_mmap(void* addr, size_t length, int prot, int flags, int fd,
                                   int64_t offset) {
  COUNT(mmap);
  return host->mmap(addr, length, prot, flags, fd, offset);
}

#ifndef NATIVE_HOOK_WITHOUT_MUNMAP
EXPORT int kelp_malloc_hook_munmap(void* addr, size_t length) {
  COUNT(munmap);
  return host->munmap(addr, length);
}
#endif

EXPORT void* kelp_malloc_hook_calloc(size_t count, size_t size) {
  COUNT(calloc);
  return host->calloc(count, size);
}

EXPORT void* kelp_malloc_hook_realloc(void* pointer, size_t size) {
  COUNT(realloc);
  return host->realloc(pointer, size);
}

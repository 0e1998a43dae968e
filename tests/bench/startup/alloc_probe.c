/* alloc_probe.so: preloaded into an adaptor guest (LD_PRELOAD), it counts the heap allocations
 * made before the guest's start-up entry, by the library that made each, and prints them to
 * standard error when __libc_start_main is entered: everything the static initialisers of the
 * loaded libraries allocated. Blocks come from glibc's own allocator entries. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void __libc_free(void*);

enum { kMaxRecords = 512 };
static struct {
  void* caller;
  size_t bytes;
} g_records[kMaxRecords];
static int g_count, g_frees, g_recording = 1;

static void Record(void* caller, size_t bytes) {
  if (!g_recording) return;
  if (g_count < kMaxRecords) {
    g_records[g_count].caller = caller;
    g_records[g_count].bytes = bytes;
  }
  ++g_count;
}

void* malloc(size_t n) {
  Record(__builtin_return_address(0), n);
  return __libc_malloc(n);
}
void* calloc(size_t n, size_t size) {
  Record(__builtin_return_address(0), n * size);
  return __libc_calloc(n, size);
}
void* realloc(void* p, size_t n) {
  Record(__builtin_return_address(0), n);
  return __libc_realloc(p, n);
}
void free(void* p) {
  if (p != NULL && g_recording) ++g_frees;
  __libc_free(p);
}

/* Allocations and bytes by calling object, then the adaptor's start-up entry. */
typedef int (*StartMain)(void*, int, char**, void (*)(void), void (*)(void), void (*)(void),
                         void*);

/* The guest enters the adaptor's; the test host's stand-in then enters glibc's, by this name
 * too. */
int __libc_start_main(void* main, int argc, char** argv, void (*init)(void), void (*fini)(void),
                      void (*ldso_fini)(void), void* stack_end) {
  if (!g_recording) {
    StartMain host = (StartMain)dlvsym(RTLD_DEFAULT, "__libc_start_main", "GLIBC_2.34");
    return host(main, argc, argv, init, fini, ldso_fini, stack_end);
  }
  g_recording = 0;
  int n = g_count < kMaxRecords ? g_count : kMaxRecords;
  for (int i = 0; i < n; ++i) {
    if (g_records[i].caller == NULL) continue;
    Dl_info info;
    const char* name = dladdr(g_records[i].caller, &info) && info.dli_fname ? info.dli_fname : "?";
    int calls = 0;
    size_t bytes = 0;
    for (int j = i; j < n; ++j) {
      if (g_records[j].caller == NULL) continue;
      Dl_info other;
      const char* other_name =
          dladdr(g_records[j].caller, &other) && other.dli_fname ? other.dli_fname : "?";
      if (strcmp(name, other_name) != 0) continue;
      ++calls;
      bytes += g_records[j].bytes;
      if (j != i) g_records[j].caller = NULL;
    }
    const char* base = strrchr(name, '/');
    fprintf(stderr, "alloc_probe: %s: %d allocations, %zu bytes\n", base ? base + 1 : name, calls,
            bytes);
  }
  fprintf(stderr, "alloc_probe: total: %d allocations, %d frees%s\n", g_count, g_frees,
          g_count > kMaxRecords ? " (only the first 512 attributed)" : "");
  StartMain next = (StartMain)dlvsym(RTLD_DEFAULT, "__libc_start_main", "KELP_ADAPTOR_1");
  return next(main, argc, argv, init, fini, ldso_fini, stack_end);
}

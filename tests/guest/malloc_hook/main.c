/* A guest program that a profiling tool attaches to with signal 36 and detaches from with
 * signal 37 while it allocates. Usage: main lifecycle | missing | init-fails
 * The hook library, libnative_hook.z.so, is the test stand-in that counts its calls. */
#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include "malloc_hook/native_hook.h"

/* The adaptor's hook state. */
extern uint64_t kelp_malloc_hook_shared_library;
extern void* function_of_shared_lib[6];

static int tasks(void) {
  int count = 0;
  DIR* dir = opendir("/proc/self/task");
  if (!dir) return -1;
  for (struct dirent* entry; (entry = readdir(dir));) count += entry->d_name[0] != '.';
  closedir(dir);
  return count;
}

/* Waits until the threads other than those at start have ended: the loader is done. */
static void wait_for_loader(int baseline) {
  for (int i = 0; i < 10000 && tasks() > baseline; ++i) usleep(1000);
}

/* Set while a loader may be running: its failure can clear the word at any moment. */
static int loader_racing;

static const char* handle_word(void) {
  uint32_t word = (uint32_t)kelp_malloc_hook_shared_library;
  if (loader_racing && (word == 0 || word == 0xFFFFFFFFu)) return "all-ones or 0 (loading)";
  return word == 0 ? "0" : word == 0xFFFFFFFFu ? "all-ones" : "a handle";
}

/* Blocks pass through here so that the compiler keeps every allocation call. */
static void* volatile sink;

static void allocate(void) {
  char* p = malloc(100);
  char* q = calloc(3, 10);
  sink = q;
  q = realloc(sink, 200);
  sink = p;
  free(sink);
  sink = q;
  free(sink);
  void* map = mmap(NULL, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (map != MAP_FAILED) munmap(map, 4096);
}

static void report(const char* when) {
  void* handle = dlopen("libnative_hook.z.so", RTLD_NOW | RTLD_NOLOAD);
  struct NativeHookCounters* (*counters)(void) =
      handle ? (struct NativeHookCounters * (*)(void)) dlsym(handle, "native_hook_counters") : NULL;
  if (!counters) {
    printf("%s: hook library not loaded, handle word %s\n", when, handle_word());
    return;
  }
  struct NativeHookCounters* c = counters();
  printf(
      "%s: handle word %s; hooked malloc %d free %d calloc %d realloc %d mmap %d munmap %d;"
      " initialize %d on_start %d on_end %d\n",
      when, handle_word(), c->malloc, c->free, c->calloc, c->realloc, c->mmap, c->munmap,
      c->initialize, c->on_start, c->on_end);
  dlclose(handle);
}

/* The first attachment: the next allocation starts the loader and is served by the host. */
static void attach_first(int baseline) {
  raise(36);
  printf("after signal 36: handle word %s\n", handle_word());
  sink = malloc(10);
  free(sink);
  /* The loader may have ended already; the hook library's counters tell whether it loaded. */
  printf("loader threads started: %s\n", tasks() - baseline <= 1 ? "at most one" : "more");
  wait_for_loader(baseline);
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  int baseline = tasks();
  allocate();
  report("before any signal");
  attach_first(baseline);
  report("loader done");
  if (strcmp(argv[1], "init-fails") == 0) {
    int cleared = 1;
    for (int i = 0; i < 6; ++i) cleared &= function_of_shared_lib[i] == NULL;
    printf("hook functions cleared: %s\n", cleared ? "yes" : "no");
  }
  allocate();
  report("attached");
  raise(37);
  allocate();
  report("detached");
  raise(36);
  /* After a failed initialisation this is a first attachment again, whose loader may end before
     the report. */
  loader_racing = strcmp(argv[1], "init-fails") == 0;
  allocate();
  report("attached again");
  loader_racing = 0;
  if (strcmp(argv[1], "init-fails") == 0) {
    /* Nothing was left loaded, so that was a first attachment again. */
    wait_for_loader(baseline);
    report("second loader done");
  }
  printf("threads beyond the program's: %d\n", tasks() - baseline);
  return 0;
}

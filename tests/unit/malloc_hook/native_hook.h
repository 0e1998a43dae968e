/* The test hook library's call counters, read by tests through native_hook_counters(). */
#ifndef NATIVE_HOOK_H
#define NATIVE_HOOK_H

struct NativeHookCounters {
  int initialize;
  int finalize;
  int get_hook_flag;
  int set_hook_flag;
  int on_start;
  int on_end;
  int malloc;
  int free;
  int mmap;
  int munmap;
  int calloc;
  int realloc;
  int hook_flag;          /* the library's own flag */
  const void* host_table; /* what initialize was given */
  const void* second_arg;
  const char* options;
};

#endif

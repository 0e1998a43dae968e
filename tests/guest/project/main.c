/* The project's program: uses every kind of input the build produced. */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "project.h"

static void at_exit(void) { puts("main: atexit handler"); }
__attribute__((destructor)) static void app_destructor(void) { puts("main: destructor"); }

int main(int argc, char** argv) {
  (void)argc;
  int values[] = {1, 2, 3, 4};
  printf("util_sum: %d\n", util_sum(values, 4));
  printf("part_hypot: %.1f\n", part_hypot(3, 4));
  printf("part_seconds_since(2000): %s\n", part_seconds_since(946684800) > 0 ? "positive" : "bad");
  printf("shared: %s, constructed %d\n", shared_greeting(), shared_constructed());

  char path[512];
  snprintf(path, sizeof(path), "%s", argv[0]);
  char* slash = strrchr(path, '/');
  snprintf(slash ? slash + 1 : path, sizeof(path) - (slash ? (size_t)(slash + 1 - path) : 0),
           "libplugin.so");
  void* plugin = dlopen(path, RTLD_NOW);
  if (!plugin) {
    printf("dlopen failed: %s\n", dlerror());
    return 1;
  }
  plugin_fn run = (plugin_fn)dlsym(plugin, "plugin_run");
  char text[64];
  printf("plugin_run: %d %s\n", run ? run(text, sizeof(text)) : -1, run ? text : "(missing)");
  atexit(at_exit);
  return 0;
}

/* A guest program that keeps its plug-ins in a linker namespace of their own.
 * Usage: main LIBDIR */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include "dlns.h"

static int same_object(const void* a, const void* b) {
  Dl_info ia, ib;
  return dladdr(a, &ia) && dladdr(b, &ib) && ia.dli_fbase == ib.dli_fbase;
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  Dl_namespace ns, found, standard, other;
  dlns_init(&ns, "plugins");
  printf("dlns_create: %d\n", dlns_create(&ns, argv[1]));
  printf("dlns_create again: %d\n", dlns_create(&ns, argv[1]));
  int got = dlns_get("plugins", &found);
  printf("dlns_get: %d %s\n", got, found.name);
  got = dlns_get(NULL, &standard);
  printf("dlns_get(NULL): %d %s\n", got, standard.name);
  printf("dlns_inherit from default: %d\n", dlns_inherit(&ns, &standard, NULL));

  size_t opens = kelphost_open_count();
  void* alpha = dlopen_ns(&ns, "libalpha.so", RTLD_NOW);
  printf("dlopen_ns(plugins): %s\n", alpha ? "loaded" : dlerror());
  if (!alpha) return 1;
  const void* caller = kelphost_open_caller(opens);
  printf("caller inside this program: %s\n", same_object(caller, (const void*)main) ? "yes" : "no");

  int (*twice)(int) = (int (*)(int))dlsym(alpha, "alpha_twice");
  const char* (*describe)(int) = (const char* (*)(int))dlsym(alpha, "alpha_describe");
  printf("dlsym: %s %s\n", twice ? "alpha_twice" : "missing",
         describe ? "alpha_describe" : "missing");
  if (!twice || !describe) return 1;
  printf("alpha_twice(21) = %d\n", twice(21));
  printf("alpha_describe(7) = %s\n", describe(7));
  printf("dlsym(missing): %s\n", dlsym(alpha, "no_such_symbol") ? "found" : "null");

  /* Outside the namespace the bare name is not on the search path. */
  dlns_init(&other, "unregistered");
  void* stray = dlopen_ns(&other, "libalpha.so", RTLD_NOW);
  printf("dlopen_ns(unregistered): %s\n", stray ? "loaded" : "not found");
  printf("dlclose: %d\n", dlclose(alpha));
  return 0;
}

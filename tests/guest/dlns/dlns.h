/* The guest platform's linker-namespace interface, which musl's headers lack. */
#ifndef DLNS_H
#define DLNS_H
#include <stddef.h>

typedef struct {
  char name[256];
} Dl_namespace;

void dlns_init(Dl_namespace* dlns, const char* name);
int dlns_create(Dl_namespace* dlns, const char* lib_path);
int dlns_create2(Dl_namespace* dlns, const char* lib_path, int flags);
int dlns_get(const char* name, Dl_namespace* dlns);
int dlns_inherit(Dl_namespace* ns, Dl_namespace* inherited, const char* shared_libs);
void* dlopen_ns(Dl_namespace* dlns, const char* file, int mode);

/* The test host's record of the linker's opens. */
size_t kelphost_open_count(void);
const void* kelphost_open_caller(size_t index);
#endif

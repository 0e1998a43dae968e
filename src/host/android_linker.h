// The Android dynamic linker's namespace and extended-open interface. android_dlopen_ext and
// android_dlextinfo are public (<android/dlext.h>); the namespace functions and the __loader_
// entries are the platform's own and have no public header, so they are declared here.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(__BIONIC__)
#include <android/dlext.h>
#else
extern "C" {
enum {
  ANDROID_DLEXT_RESERVED_ADDRESS = 0x1,
  ANDROID_DLEXT_RESERVED_ADDRESS_HINT = 0x2,
  ANDROID_DLEXT_WRITE_RELRO = 0x4,
  ANDROID_DLEXT_USE_RELRO = 0x8,
  ANDROID_DLEXT_USE_LIBRARY_FD = 0x10,
  ANDROID_DLEXT_USE_LIBRARY_FD_OFFSET = 0x20,
  ANDROID_DLEXT_FORCE_LOAD = 0x40,
  ANDROID_DLEXT_USE_NAMESPACE = 0x200,
  ANDROID_DLEXT_RESERVED_ADDRESS_RECURSIVE = 0x400,
};

struct android_namespace_t;

typedef struct {
  uint64_t flags;
  void* reserved_addr;
  size_t reserved_size;
  int relro_fd;
  int library_fd;
  off64_t library_fd_offset;
  struct android_namespace_t* library_namespace;
} android_dlextinfo;
}
#endif

extern "C" void* android_dlopen_ext(const char* filename, int flags,
                                    const android_dlextinfo* extinfo);

static_assert(sizeof(android_dlextinfo) == 40);
static_assert(offsetof(android_dlextinfo, library_namespace) == 32);

extern "C" {
// Namespace types of android_create_namespace.
enum : uint64_t {
  ANDROID_NAMESPACE_TYPE_REGULAR = 0,
  ANDROID_NAMESPACE_TYPE_ISOLATED = 1,
  ANDROID_NAMESPACE_TYPE_SHARED = 2,
};

android_namespace_t* android_create_namespace(const char* name, const char* ld_library_path,
                                              const char* default_library_path, uint64_t type,
                                              const char* permitted_when_isolated_path,
                                              android_namespace_t* parent);
bool android_link_namespaces(android_namespace_t* from, android_namespace_t* to,
                             const char* shared_libs_sonames);
android_namespace_t* android_get_exported_namespace(const char* name);

// The loader's own entries: the caller address decides the caller's namespace.
void* __loader_android_dlopen_ext(const char* filename, int flags, const android_dlextinfo* info,
                                  const void* caller_addr);
bool __loader_android_link_namespaces_all_libs(android_namespace_t* from, android_namespace_t* to);
}

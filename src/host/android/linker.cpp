// The Android linker's platform-only entries, reached from an app-visible library.
//
// android_create_namespace and its kind live in libdl_android.so, and the __loader_ entries in
// the linker itself (exported through ld-android.so); neither is part of the API that apps link
// against, so no stub library names them and a direct reference would fail --no-undefined. The
// adaptor defines them here, hidden, as trampolines to the linker's own __loader_ entries: each
// looks its target up once with dlsym(RTLD_DEFAULT) and keeps the address. A name the running
// linker does not export gives the failure result (null or false).
//
// libdl_android's public functions pass their caller's address to the loader, which decides the
// caller's namespace by it; the trampolines pass their own caller's address likewise.
#include <dlfcn.h>

#include "host/android_linker.h"
#include "host/bionic_libc_init.h"

namespace {

// Lookups may race; each racer stores the same address, so a relaxed word suffices.
template <typename Fn>
Fn Resolve(Fn* cache, const char* name) {
  Fn fn = __atomic_load_n(cache, __ATOMIC_RELAXED);
  if (fn == nullptr) {
    fn = reinterpret_cast<Fn>(dlsym(RTLD_DEFAULT, name));
    __atomic_store_n(cache, fn, __ATOMIC_RELAXED);
  }
  return fn;
}

using CreateNamespaceFn = android_namespace_t* (*)(const char*, const char*, const char*, uint64_t,
                                                   const char*, android_namespace_t*, const void*);
using LinkNamespacesFn = bool (*)(android_namespace_t*, android_namespace_t*, const char*);
using ExportedNamespaceFn = android_namespace_t* (*)(const char*);
using DlopenExtFn = void* (*)(const char*, int, const android_dlextinfo*, const void*);
using LinkAllLibsFn = bool (*)(android_namespace_t*, android_namespace_t*);
using SharedGlobalsFn = void* (*)();

CreateNamespaceFn g_create_namespace;
LinkNamespacesFn g_link_namespaces;
ExportedNamespaceFn g_exported_namespace;
DlopenExtFn g_dlopen_ext;
LinkAllLibsFn g_link_all_libs;
SharedGlobalsFn g_shared_globals;

}  // namespace

extern "C" {

android_namespace_t* android_create_namespace(const char* name, const char* ld_library_path,
                                              const char* default_library_path, uint64_t type,
                                              const char* permitted_when_isolated_path,
                                              android_namespace_t* parent) {
  auto fn = Resolve(&g_create_namespace, "__loader_android_create_namespace");
  if (fn == nullptr) return nullptr;
  return fn(name, ld_library_path, default_library_path, type, permitted_when_isolated_path, parent,
            __builtin_return_address(0));
}

bool android_link_namespaces(android_namespace_t* from, android_namespace_t* to,
                             const char* shared_libs_sonames) {
  auto fn = Resolve(&g_link_namespaces, "__loader_android_link_namespaces");
  return fn != nullptr && fn(from, to, shared_libs_sonames);
}

android_namespace_t* android_get_exported_namespace(const char* name) {
  auto fn = Resolve(&g_exported_namespace, "__loader_android_get_exported_namespace");
  return fn != nullptr ? fn(name) : nullptr;
}

void* __loader_android_dlopen_ext(const char* filename, int flags, const android_dlextinfo* info,
                                  const void* caller_addr) {
  auto fn = Resolve(&g_dlopen_ext, "__loader_android_dlopen_ext");
  return fn != nullptr ? fn(filename, flags, info, caller_addr) : nullptr;
}

bool __loader_android_link_namespaces_all_libs(android_namespace_t* from, android_namespace_t* to) {
  auto fn = Resolve(&g_link_all_libs, "__loader_android_link_namespaces_all_libs");
  return fn != nullptr && fn(from, to);
}

void* __loader_shared_globals() {
  auto fn = Resolve(&g_shared_globals, "__loader_shared_globals");
  return fn != nullptr ? fn() : nullptr;
}

}  // extern "C"

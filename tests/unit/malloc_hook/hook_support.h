// The malloc hook's entry points and state as tests reach them, and the test hook library.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

#include <string>

#include "../../../testhost/linker_record.h"
#include "malloc_hook/malloc_hook.h"
#include "malloc_hook/native_hook.h"

extern "C" {
void* kelp_adaptor_malloc(size_t size);
void kelp_adaptor_free(void* pointer);
void* kelp_adaptor_calloc(size_t count, size_t size);
void* kelp_adaptor_realloc(void* pointer, size_t size);
void* kelp_adaptor_mmap(void* addr, size_t length, int prot, int flags, int fd, off64_t offset);
int kelp_adaptor_munmap(void* addr, size_t length);
void __install_malloc_hook(int sig);
void __uninstal_malloc_hook(int sig);
void* init_kelp_malloc_hook(void*);
void malloc_finalize();
bool init_malloc_hook_shared_library(void* handle, const char* prefix, MallocDispatchType* table);
void* load_malloc_hook_shared_library(const char* file, const char* prefix,
                                      MallocDispatchType* table);
}

constexpr char kHookFile[] = "libnative_hook.z.so";
constexpr uint32_t kLoading = 0xFFFFFFFF;

// Directory of one variant of the test hook library: "ok", "init-fails", "partial".
inline std::string HookDir(const char* variant) { return std::string(KELP_HOOK_DIR "/") + variant; }

// Makes the linker's "default" namespace search `dir` for bare library names.
inline void SearchDefaultNamespaceIn(const std::string& dir) {
  android_namespace_t* ns = android_get_exported_namespace("default");
  ASSERT_NE(nullptr, ns);
  ASSERT_LT(dir.size(), sizeof(ns->default_library_path));
  strcpy(ns->default_library_path, dir.c_str());
}

inline uint32_t HandleWord() {
  return static_cast<uint32_t>(__atomic_load_n(&kelp_malloc_hook_shared_library, __ATOMIC_SEQ_CST));
}

inline uint32_t CurrentTable() {
  return static_cast<uint32_t>(
      __atomic_load_n(&__musl_libc_globals.current_dispatch_table, __ATOMIC_SEQ_CST));
}

// Waits (up to ten seconds) until the loader has left the handle word's loading state.
inline bool WaitForLoader() {
  for (int i = 0; i < 10000 && HandleWord() == kLoading; ++i) usleep(1000);
  return HandleWord() != kLoading;
}

// The counters of the loaded hook library, or null when it is not loaded.
inline NativeHookCounters* LoadedHookCounters() {
  void* handle = dlopen(kHookFile, RTLD_NOW | RTLD_NOLOAD);
  if (handle == nullptr) return nullptr;
  auto counters =
      reinterpret_cast<NativeHookCounters* (*)()>(dlsym(handle, "native_hook_counters"));
  dlclose(handle);
  return counters != nullptr ? counters() : nullptr;
}

// Opens of the hook library that the stand-in linker was asked for.
inline int HookOpens() {
  int count = 0;
  KelphostOpen open;
  for (size_t i = 0; kelphost_open_at(i, &open); ++i) {
    if (strstr(open.filename, kHookFile) != nullptr) count++;
  }
  return count;
}

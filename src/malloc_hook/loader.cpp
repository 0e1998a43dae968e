// Attaching and detaching the hook library: signal 36 attaches, signal 37 detaches. Nothing is
// loaded in a signal handler: the first allocation after the first attachment starts one
// detached loader thread, and allocations go to the host allocator until it has finished.
#include <dlfcn.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "core/init_order.h"
#include "host/android_linker.h"
#include "host/bionic_errno.h"
#include "host/bionic_libc_init.h"
#include "host/bionic_signal.h"
#include "malloc_hook/malloc_hook.h"

namespace {

constexpr int kAttachSignal = 36;
constexpr int kDetachSignal = 37;
constexpr char kHookLibrary[] = "libnative_hook.z.so";
constexpr char kHookPrefix[] = "kelp_malloc_hook";

// Symbols of the hook library: "<prefix>_<suffix>", looked up in this order.
struct HookSymbol {
  const char* suffix;
  size_t offset;
};
constexpr HookSymbol kLibraryFunctions[] = {
    {"initialize", offsetof(HookLibraryFunctions, initialize)},
    {"finalize", offsetof(HookLibraryFunctions, finalize)},
    {"get_hook_flag", offsetof(HookLibraryFunctions, get_hook_flag)},
    {"set_hook_flag", offsetof(HookLibraryFunctions, set_hook_flag)},
    {"on_start", offsetof(HookLibraryFunctions, on_start)},
    {"on_end", offsetof(HookLibraryFunctions, on_end)},
};
constexpr HookSymbol kTableFunctions[] = {
    {"malloc", offsetof(MallocDispatchType, malloc)},
    {"free", offsetof(MallocDispatchType, free)},
    {"mmap", offsetof(MallocDispatchType, mmap)},
    {"munmap", offsetof(MallocDispatchType, munmap)},
    {"calloc", offsetof(MallocDispatchType, calloc)},
    {"realloc", offsetof(MallocDispatchType, realloc)},
};

uint32_t HandleWord() {
  return static_cast<uint32_t>(AtomicLoad(&kelp_malloc_hook_shared_library));
}
bool LibraryLoaded() { return HandleWord() != kHookNeverLoaded && HandleWord() != kHookLoading; }

// The hook flag to restore after a switch: none before any attachment, on while loading, else
// the library's own, which is switched off meanwhile.
bool PreviousHookFlag() {
  uint32_t handle = HandleWord();
  if (handle == kHookNeverLoaded) return false;
  if (handle == kHookLoading) return true;
  return function_of_shared_lib.set_hook_flag != nullptr &&
         function_of_shared_lib.set_hook_flag(false);
}

void RestoreHookFlag(bool previous) {
  if (LibraryLoaded() && function_of_shared_lib.set_hook_flag != nullptr) {
    function_of_shared_lib.set_hook_flag(previous);
  }
}

// Stores each symbol's address at its offset in `base`; false at the first one missing.
template <size_t N>
bool LookUp(void* handle, const char* prefix, const HookSymbol (&symbols)[N], void* base) {
  char name[1000];
  for (const HookSymbol& symbol : symbols) {
    memset(name, 0, sizeof(name));
    async_safe_format_buffer(name, sizeof(name), "%s_%s", prefix, symbol.suffix);
    void* address = dlsym(handle, name);
    if (address == nullptr) return false;
    memcpy(static_cast<char*>(base) + symbol.offset, &address, sizeof(address));
  }
  return true;
}

void RunFinalize(void*);

}  // namespace

extern "C" {

KELP_EXPORT void malloc_finalize() {
  if (LibraryLoaded() && function_of_shared_lib.set_hook_flag != nullptr) {
    function_of_shared_lib.set_hook_flag(false);
  }
  if (function_of_shared_lib.finalize != nullptr) function_of_shared_lib.finalize();
  fclose(stdin);
  fclose(stdout);
  fclose(stderr);
}

KELP_EXPORT bool init_malloc_hook_shared_library(void* handle, const char* prefix,
                                                 MallocDispatchType* table) {
  if (!LookUp(handle, prefix, kLibraryFunctions, &function_of_shared_lib) ||
      !LookUp(handle, prefix, kTableFunctions, table)) {
    memset(&function_of_shared_lib, 0, sizeof(function_of_shared_lib));
    return false;
  }
  return true;
}

KELP_EXPORT void* load_malloc_hook_shared_library(const char* file, const char* prefix,
                                                  MallocDispatchType* table) {
  android_namespace_t* ns = android_get_exported_namespace("default");
  void* handle = nullptr;
  if (ns != nullptr) {
    android_dlextinfo info = {};
    info.flags = ANDROID_DLEXT_USE_NAMESPACE;
    info.library_namespace = ns;
    handle = android_dlopen_ext(file, 0, &info);
  }
  if (handle == nullptr) {
    printf("Unable to open shared library %s: %s\n", file, dlerror());
    return nullptr;
  }
  if (!init_malloc_hook_shared_library(handle, prefix, table)) {
    dlclose(handle);
    return nullptr;
  }
  return handle;
}

KELP_EXPORT bool finish_install_kelp_malloc_hooks(void* globals, const char* options) {
  auto* state = static_cast<MuslLibcGlobals*>(globals);
  const HookLibraryFunctions& hook = function_of_shared_lib;
  if (hook.initialize == nullptr ||
      !hook.initialize(&__libc_malloc_default_dispatch, nullptr, options) ||
      hook.on_start == nullptr || !hook.on_start()) {
    memset(&function_of_shared_lib, 0, sizeof(function_of_shared_lib));
    return false;
  }
  AtomicStore(&state->so_dispatch_table, WordOf(&state->malloc_dispatch_table));
  AtomicStore(&state->current_dispatch_table, WordOf(&state->malloc_dispatch_table));
  __cxa_atexit(RunFinalize, nullptr, nullptr);
  return true;
}

KELP_EXPORT void* init_kelp_malloc_hook(void*) {
  bool previous = PreviousHookFlag();
  void* handle = load_malloc_hook_shared_library(kHookLibrary, kHookPrefix,
                                                 &__musl_libc_globals.malloc_dispatch_table);
  if (handle != nullptr) {
    if (finish_install_kelp_malloc_hooks(&__musl_libc_globals, nullptr)) {
      AtomicStore(&kelp_malloc_hook_shared_library, WordOf(handle));
    } else {
      dlclose(handle);
      AtomicStore(&kelp_malloc_hook_shared_library, kHookNeverLoaded);
    }
  }
  RestoreHookFlag(previous);
  return nullptr;
}

// The first allocation after the first attachment: exactly one caller wins the exchange and
// starts the loader; every caller is served by the host.
KELP_EXPORT void* kelp_malloc_hook_init_function(size_t size) {
  uint64_t table =
      __atomic_exchange_n(&__musl_libc_globals.current_dispatch_table, 0, __ATOMIC_SEQ_CST);
  if (table != 0) {
    pthread_t thread;
    if (pthread_create(&thread, nullptr, init_kelp_malloc_hook, nullptr) == 0) {
      pthread_detach(thread);
    }
  }
  return malloc(size);
}

KELP_EXPORT void __install_malloc_hook(int) {
  ErrnoRestorer errno_restorer;
  __atomic_store_n(&__hook_enable_hook_flag, true, __ATOMIC_SEQ_CST);
  uint32_t handle = HandleWord();
  if (handle == kHookNeverLoaded) {
    AtomicStore(&__musl_libc_globals.current_dispatch_table, WordOf(&g_init_dispatch));
    AtomicStore(&kelp_malloc_hook_shared_library, kHookLoading);
    return;
  }
  if (handle == kHookLoading) return;
  bool previous = PreviousHookFlag();
  if (function_of_shared_lib.on_start != nullptr) function_of_shared_lib.on_start();
  RestoreHookFlag(previous);
  AtomicStore(&__musl_libc_globals.current_dispatch_table,
              AtomicLoad(&__musl_libc_globals.so_dispatch_table));
}

KELP_EXPORT void __uninstal_malloc_hook(int) {
  ErrnoRestorer errno_restorer;
  __atomic_store_n(&__hook_enable_hook_flag, false, __ATOMIC_SEQ_CST);
  bool previous = PreviousHookFlag();
  AtomicStore(&__musl_libc_globals.current_dispatch_table, 0);
  if (function_of_shared_lib.on_end != nullptr) function_of_shared_lib.on_end();
  RestoreHookFlag(previous);
}

KELP_EXPORT void __musl_initialize() {
  __atomic_store_n(&__hook_enable_hook_flag, false, __ATOMIC_SEQ_CST);
  AtomicStore(&__musl_libc_globals.current_dispatch_table, 0);
  struct sigaction64 attach = {};
  attach.sa_handler = __install_malloc_hook;
  sigemptyset64(&attach.sa_mask);
  sigaddset64(&attach.sa_mask, kDetachSignal);
  sigaction64(kAttachSignal, &attach, nullptr);
  struct sigaction64 detach = {};
  detach.sa_handler = __uninstal_malloc_hook;
  sigemptyset64(&detach.sa_mask);
  sigaddset64(&detach.sa_mask, kAttachSignal);
  sigaction64(kDetachSignal, &detach, nullptr);
}

}  // extern "C"

namespace {
void RunFinalize(void*) { malloc_finalize(); }
}  // namespace

void InitMallocHook() { __musl_initialize(); }

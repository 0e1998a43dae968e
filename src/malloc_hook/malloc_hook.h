// The malloc hook's exported state: dispatch tables, the handle of the hook library and its
// functions. Layouts are the guest platform's binary interface.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

struct MallocDispatchType {
  void* (*mmap)(void* addr, size_t length, int prot, int flags, int fd, off64_t offset);
  int (*munmap)(void* addr, size_t length);
  void* (*malloc)(size_t size);
  void* (*calloc)(size_t count, size_t size);
  void* (*realloc)(void* pointer, size_t size);
  void* unused;  // never filled
  void (*free)(void* pointer);
  void* reserved[4];
};
static_assert(sizeof(MallocDispatchType) == 44);
static_assert(offsetof(MallocDispatchType, malloc) == 8);
static_assert(offsetof(MallocDispatchType, free) == 24);

struct MuslLibcGlobals {
  uint64_t current_dispatch_table;  // atomic; low word: the table in force, 0 for none
  uint64_t so_dispatch_table;       // atomic; &malloc_dispatch_table once the library is active
  MallocDispatchType malloc_dispatch_table;  // the hook library's functions
};
static_assert(sizeof(MuslLibcGlobals) == 64);
static_assert(offsetof(MuslLibcGlobals, malloc_dispatch_table) == 16);

struct HookLibraryFunctions {
  bool (*initialize)(const MallocDispatchType* host, void* unused, const char* options);
  void (*finalize)();
  bool (*get_hook_flag)();
  bool (*set_hook_flag)(bool flag);
  bool (*on_start)();
  bool (*on_end)();
};
static_assert(sizeof(HookLibraryFunctions) == 24);

// Handle word values besides a real handle.
inline constexpr uint64_t kHookNeverLoaded = 0;
inline constexpr uint64_t kHookLoading = 0xFFFFFFFF;

extern "C" {
extern MuslLibcGlobals __musl_libc_globals;
extern bool __hook_enable_hook_flag;
extern uint64_t kelp_malloc_hook_shared_library;
extern HookLibraryFunctions function_of_shared_lib;
extern MallocDispatchType __libc_malloc_default_dispatch;

void* kelp_malloc_hook_init_function(size_t size);
}

// The init dispatch table: the host allocator but for its malloc slot, which starts the loader.
extern const MallocDispatchType g_init_dispatch;

inline uint64_t AtomicLoad(const uint64_t* word) { return __atomic_load_n(word, __ATOMIC_SEQ_CST); }
inline void AtomicStore(uint64_t* word, uint64_t value) {
  __atomic_store_n(word, value, __ATOMIC_SEQ_CST);
}
inline uint64_t WordOf(const void* pointer) { return reinterpret_cast<uintptr_t>(pointer); }

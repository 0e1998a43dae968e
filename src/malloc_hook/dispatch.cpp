// The hooked allocation entry points and the state they read. With no hook attached an entry
// costs one atomic load and a branch over the host allocator; the rest of the choice is out of
// line. Reached from signal handlers' interrupted code and from any thread: atomics only.
#include <stdlib.h>
#include <sys/mman.h>

#include "core/export.h"
#include "host/bionic_malloc.h"
#include "malloc_hook/malloc_hook.h"

extern "C" {
KELP_VISIBLE MuslLibcGlobals __musl_libc_globals;
KELP_VISIBLE bool __hook_enable_hook_flag;
KELP_VISIBLE uint64_t kelp_malloc_hook_shared_library;
KELP_VISIBLE HookLibraryFunctions function_of_shared_lib;
KELP_VISIBLE MallocDispatchType __libc_malloc_default_dispatch = {
    mmap64, munmap, malloc, calloc, realloc, nullptr, free, {},
};
}

const MallocDispatchType g_init_dispatch = {
    mmap64, munmap, kelp_malloc_hook_init_function, calloc, realloc, nullptr, free, {},
};

namespace {

// Steps 1 to 5 of the choice once a table was seen: the table, or null for the host.
__attribute__((noinline)) const MallocDispatchType* AttachedTable() {
  uint64_t current = AtomicLoad(&__musl_libc_globals.current_dispatch_table);
  if (static_cast<uint32_t>(current) == 0) return nullptr;
  if (!__atomic_load_n(&__hook_enable_hook_flag, __ATOMIC_SEQ_CST)) return nullptr;
  auto handle = static_cast<uint32_t>(AtomicLoad(&kelp_malloc_hook_shared_library));
  if (handle == kHookNeverLoaded) return nullptr;
  const auto* table = reinterpret_cast<const MallocDispatchType*>(static_cast<uintptr_t>(current));
  if (handle == kHookLoading) return table;
  bool (*get_hook_flag)() = function_of_shared_lib.get_hook_flag;
  return get_hook_flag != nullptr && get_hook_flag() ? table : nullptr;
}

// Whether no table is in force: the common answer, read from the word's low half (the table
// pointer) with a plain load. It orders nothing, since nothing of a table is read on that path,
// and the thread that switched the table sees its own store all the same. A table in force is
// read again in full, with sequential consistency, before it is used.
inline bool NoTable() {
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the table pointer is the low half");
  const auto* low = reinterpret_cast<const uint32_t*>(&__musl_libc_globals.current_dispatch_table);
  return __builtin_expect(__atomic_load_n(low, __ATOMIC_RELAXED) == 0, 1);
}

// Out of line, so that the host path stays a load, a branch and a jump.
__attribute__((noinline)) void* HookedMalloc(size_t size) {
  const MallocDispatchType* table = AttachedTable();
  return table != nullptr && table->malloc != nullptr ? table->malloc(size) : malloc(size);
}

__attribute__((noinline)) void HookedFree(void* pointer) {
  const MallocDispatchType* table = AttachedTable();
  if (table == nullptr || table->free == nullptr) return free(pointer);
  table->free(pointer);
}

__attribute__((noinline)) void* HookedCalloc(size_t count, size_t size) {
  const MallocDispatchType* table = AttachedTable();
  return table != nullptr && table->calloc != nullptr ? table->calloc(count, size)
                                                      : calloc(count, size);
}

__attribute__((noinline)) void* HookedRealloc(void* pointer, size_t size) {
  const MallocDispatchType* table = AttachedTable();
  return table != nullptr && table->realloc != nullptr ? table->realloc(pointer, size)
                                                       : realloc(pointer, size);
}

__attribute__((noinline)) void* HookedMmap(void* addr, size_t length, int prot, int flags, int fd,
                                           off64_t offset) {
  const MallocDispatchType* table = AttachedTable();
  return table != nullptr && table->mmap != nullptr
             ? table->mmap(addr, length, prot, flags, fd, offset)
             : mmap64(addr, length, prot, flags, fd, offset);
}

__attribute__((noinline)) int HookedMunmap(void* addr, size_t length) {
  const MallocDispatchType* table = AttachedTable();
  return table != nullptr && table->munmap != nullptr ? table->munmap(addr, length)
                                                      : munmap(addr, length);
}

}  // namespace

// The host path calls through the default table: one indirect jump straight into the host,
// rather than through this library's linkage stub for the name.
KELP_EXPORT void* kelp_adaptor_malloc(size_t size) {
  return NoTable() ? __libc_malloc_default_dispatch.malloc(size) : HookedMalloc(size);
}

KELP_EXPORT void kelp_adaptor_free(void* pointer) {
  return NoTable() ? __libc_malloc_default_dispatch.free(pointer) : HookedFree(pointer);
}

KELP_EXPORT void* kelp_adaptor_calloc(size_t count, size_t size) {
  return NoTable() ? __libc_malloc_default_dispatch.calloc(count, size) : HookedCalloc(count, size);
}

KELP_EXPORT void* kelp_adaptor_realloc(void* pointer, size_t size) {
  return NoTable() ? __libc_malloc_default_dispatch.realloc(pointer, size)
                   : HookedRealloc(pointer, size);
}

// musl's offset is 64-bit: the host's mmap64 takes it whole.
KELP_EXPORT void* kelp_adaptor_mmap(void* addr, size_t length, int prot, int flags, int fd,
                                    off64_t offset) {
  return NoTable() ? __libc_malloc_default_dispatch.mmap(addr, length, prot, flags, fd, offset)
                   : HookedMmap(addr, length, prot, flags, fd, offset);
}

KELP_EXPORT int kelp_adaptor_munmap(void* addr, size_t length) {
  return NoTable() ? __libc_malloc_default_dispatch.munmap(addr, length)
                   : HookedMunmap(addr, length);
}

// The guest's mallinfo2 has the host record's ten 32-bit fields.
KELP_EXPORT struct mallinfo mallinfo2() { return mallinfo(); }

struct GuestMallinfo {
  int32_t fields[10];
};
static_assert(sizeof(GuestMallinfo) == 40);

KELP_EXPORT GuestMallinfo kelp_adaptor_mallinfo() {
  struct mallinfo host = mallinfo();
  const size_t* fields[] = {&host.arena,    &host.ordblks, &host.smblks,  &host.hblks,
                            &host.hblkhd,   &host.usmblks, &host.fsmblks, &host.uordblks,
                            &host.fordblks, &host.keepcost};
  GuestMallinfo guest;
  for (size_t i = 0; i < 10; ++i) {
    guest.fields[i] = *fields[i] > 2147483647u ? 2147483647 : static_cast<int32_t>(*fields[i]);
  }
  return guest;
}

// Test-host stand-in for bionic's start-up, errno and the Android loader's shared globals.
//
// glibc's loader, unlike Android's, does not run the main executable's constructors: glibc's
// own __libc_start_main does. __libc_init therefore hands over to glibc's start-up with an
// init hook that runs the executable's DT_INIT and DT_INIT_ARRAY as Android's loader would,
// and a main that calls the slingshot; glibc then runs exit(main(...)).
#include <elf.h>
#include <errno.h>
#include <link.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>

#include "kelphost.h"

extern "C" int __libc_start_main(int (*main)(int, char**, char**), int argc, char** argv,
                                 void (*init)(int, char**, char**), void (*fini)(),
                                 void (*rtld_fini)(), void* stack_end);
extern "C" int __cxa_atexit(void (*fn)(void*), void* arg, void* dso_handle);

namespace {

// The shape of the Android loader's record, as far as the adaptor reads it.
struct AbortMessage {
  size_t size;  // of the whole block
  char text[];
};

struct SharedGlobals {
  uint8_t head[0x41C];
  AbortMessage* abort_message;  // the first message set, whole, as bionic keeps it
  uint8_t gap[0x53C - 0x420];
  uint32_t fini_array;  // guest executable's DT_FINI_ARRAY
  uint32_t fini_count;
  uint8_t tail[0xBC];
};
static_assert(offsetof(SharedGlobals, abort_message) == 0x41C);
static_assert(offsetof(SharedGlobals, fini_array) == 0x53C);
static_assert(offsetof(SharedGlobals, fini_count) == 0x540);

alignas(8) SharedGlobals g_globals;
int (*g_slingshot)(int, char**, char**);
bool g_guest_started;  // set by __libc_init: only then does the stand-in run library finis

struct DynamicInfo {
  uintptr_t bias = 0;
  const Elf32_Dyn* dynamic = nullptr;

  uintptr_t Get(Elf32_Sword tag) const {
    for (const Elf32_Dyn* d = dynamic; d != nullptr && d->d_tag != DT_NULL; ++d) {
      if (d->d_tag == tag) return d->d_un.d_val;
    }
    return 0;
  }
  uintptr_t Address(Elf32_Sword tag) const {
    uintptr_t value = Get(tag);
    return value != 0 ? value + bias : 0;
  }
};

DynamicInfo Describe(uintptr_t bias, const Elf32_Phdr* phdr, size_t count) {
  DynamicInfo info;
  info.bias = bias;
  for (size_t i = 0; i < count; ++i) {
    if (phdr[i].p_type == PT_DYNAMIC) {
      info.dynamic = reinterpret_cast<const Elf32_Dyn*>(bias + phdr[i].p_vaddr);
    }
  }
  return info;
}

DynamicInfo MainExecutable() {
  auto* phdr = reinterpret_cast<const Elf32_Phdr*>(getauxval(AT_PHDR));
  size_t count = getauxval(AT_PHNUM);
  uintptr_t bias = 0;
  for (size_t i = 0; i < count; ++i) {
    if (phdr[i].p_type == PT_PHDR) bias = reinterpret_cast<uintptr_t>(phdr) - phdr[i].p_vaddr;
  }
  return Describe(bias, phdr, count);
}

using InitFn = void (*)(int, char**, char**);

void RunExecutableInit(int argc, char** argv, char** envp) {
  DynamicInfo exe = MainExecutable();
  if (uintptr_t init = exe.Address(DT_INIT)) reinterpret_cast<InitFn>(init)(argc, argv, envp);
  auto* array = reinterpret_cast<InitFn*>(exe.Address(DT_INIT_ARRAY));
  size_t count = exe.Get(DT_INIT_ARRAYSZ) / sizeof(InitFn);
  for (size_t i = 0; array != nullptr && i < count; ++i) array[i](argc, argv, envp);
}

int Trampoline(int argc, char** argv, char** envp) { return g_slingshot(argc, argv, envp); }

// glibc's loader runs the libraries' destructors from the rtld_fini hook that its own entry
// code passes on; musl's entry code drops it. Run them here, last loaded first, leaving out
// glibc itself and the main executable (whose array is the adaptor's business). Registered at
// load time, ahead of MuslLibcFini, so that the executable's destructors run first.
constexpr size_t kMaxObjects = 128;
struct LoadedObjects {
  DynamicInfo objects[kMaxObjects];
  size_t count = 0;
};

int CollectObject(dl_phdr_info* info, size_t, void* data) {
  auto* list = static_cast<LoadedObjects*>(data);
  const char* name = info->dlpi_name != nullptr ? info->dlpi_name : "";
  bool is_main = list->count == 0 && name[0] == '\0';
  bool is_glibc = strstr(name, "/ld-linux") != nullptr || strstr(name, "/libc.so") != nullptr;
  if (list->count < kMaxObjects && !is_glibc) {
    list->objects[list->count++] =
        is_main ? DynamicInfo{} : Describe(info->dlpi_addr, info->dlpi_phdr, info->dlpi_phnum);
  }
  return 0;
}

void RunLibraryFinis(void*) {
  if (!g_guest_started) return;  // glibc's own start-up registered its loader's hook instead
  static LoadedObjects list;
  dl_iterate_phdr(CollectObject, &list);
  for (size_t i = list.count; i > 0; --i) {
    const DynamicInfo& lib = list.objects[i - 1];
    if (lib.dynamic == nullptr) continue;
    auto* array = reinterpret_cast<void (**)()>(lib.Address(DT_FINI_ARRAY));
    for (size_t j = lib.Get(DT_FINI_ARRAYSZ) / sizeof(void*); array != nullptr && j > 0; --j) {
      array[j - 1]();
    }
    if (uintptr_t fini = lib.Address(DT_FINI)) reinterpret_cast<void (*)()>(fini)();
  }
}

// Publishes the guest executable's termination array before any guest code runs.
__attribute__((constructor)) void FillSharedGlobals() {
  DynamicInfo exe = MainExecutable();
  g_globals.fini_array = static_cast<uint32_t>(exe.Address(DT_FINI_ARRAY));
  g_globals.fini_count = static_cast<uint32_t>(exe.Get(DT_FINI_ARRAYSZ) / sizeof(void*));
  __cxa_atexit(RunLibraryFinis, nullptr, nullptr);
}

}  // namespace

KELPHOST_EXPORT int* __errno() { return &errno; }

KELPHOST_EXPORT void* __loader_shared_globals() { return &g_globals; }

// First message wins, as on Android.
KELPHOST_EXPORT void android_set_abort_message(const char* msg) {
  if (msg == nullptr || g_globals.abort_message != nullptr) return;
  size_t size = sizeof(AbortMessage) + strlen(msg) + 1;
  auto* block = static_cast<AbortMessage*>(malloc(size));
  if (block == nullptr) return;
  block->size = size;
  memcpy(block->text, msg, size - sizeof(AbortMessage));
  g_globals.abort_message = block;
}

KELPHOST_EXPORT const char* kelphost_abort_message() {
  return g_globals.abort_message != nullptr ? g_globals.abort_message->text : "";
}

struct structors_array_t;

KELPHOST_EXPORT [[noreturn]] void __libc_init(void* raw_args, void (*onexit)(),
                                              int (*slingshot)(int, char**, char**),
                                              const structors_array_t*) {
  auto* words = static_cast<uintptr_t*>(raw_args);
  int argc = static_cast<int>(words[0]);
  auto** argv = reinterpret_cast<char**>(words + 1);
  g_slingshot = slingshot;
  g_guest_started = true;
  if (onexit != nullptr) __cxa_atexit(reinterpret_cast<void (*)(void*)>(onexit), nullptr, nullptr);
  __libc_start_main(Trampoline, argc, argv, RunExecutableInit, nullptr, nullptr, raw_args);
  __builtin_unreachable();
}

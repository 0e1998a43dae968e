// Start-up and exit of a guest executable.
//
// musl's entry code calls __libc_start_main(main, argc, argv, _init, _fini, 0). The loader has
// already run the guest's constructors, so bionic is told there are none; the guest's
// termination functions are run by MuslLibcFini from bionic's exit.
#include <stdint.h>
#include <string.h>

#include "core/export.h"
#include "dfx/signal_handler.h"
#include "host/bionic_libc_init.h"

using GuestMain = int (*)(int, char**, char**);
using GuestFn = void (*)();

extern "C" {
KELP_VISIBLE char* __progname_full = nullptr;
KELP_VISIBLE extern char* program_invocation_name __attribute__((weak, alias("__progname_full")));
// bionic has no such word; guests read it after start-up, as musl sets it.
KELP_VISIBLE char* program_invocation_short_name = nullptr;
}

namespace {

constexpr uintptr_t kAllOnes = 0xFFFFFFFFu;

uint32_t SharedGlobalsWord(uint32_t offset) {
  // A loader without the record: no array.
  if (__loader_shared_globals == nullptr) return 0;
  const void* globals = __loader_shared_globals();
  if (globals == nullptr) return 0;
  uint32_t word;
  memcpy(&word, static_cast<const uint8_t*>(globals) + offset, sizeof(word));
  return word;
}

char* BaseName(char* path) {
  char* base = path;
  for (char* p = path; *p != '\0'; ++p) {
    if (*p == '/') base = p + 1;
  }
  return base;
}

}  // namespace

KELP_EXPORT void MuslLibcFini(void* fini_slot) {
  auto* entries = reinterpret_cast<GuestFn*>(SharedGlobalsWord(kSharedGlobalsFiniArray));
  uint32_t count = SharedGlobalsWord(kSharedGlobalsFiniCount);
  // Only the all-ones marker is skipped here; a null entry is called as the loader lists it.
  for (uint32_t i = count; i > 0; --i) {
    GuestFn fn = entries[i - 1];
    if (reinterpret_cast<uintptr_t>(fn) != kAllOnes) fn();
  }
  GuestFn fini = *static_cast<GuestFn*>(fini_slot);
  if (fini != nullptr && reinterpret_cast<uintptr_t>(fini) != kAllOnes) fini();
}

// The address of `fini` is registered for exit, so this frame must outlive the call into
// bionic: no sibling call. The two compilers spell that differently.
#if defined(__clang__)
#define KELP_NO_SIBLING_CALLS __attribute__((disable_tail_calls))
#else
#define KELP_NO_SIBLING_CALLS __attribute__((optimize("no-optimize-sibling-calls")))
#endif

KELP_EXPORT __attribute__((noreturn)) KELP_NO_SIBLING_CALLS void __libc_start_main(
    GuestMain main, int argc, char** argv, GuestFn init, GuestFn fini, GuestFn ldso) {
  (void)argc;
  (void)init;
  (void)ldso;
  // First of all, so that a crash during bionic's own start-up is caught.
  DFX_InstallSignalHandler();
  __progname_full = argv[0];
  program_invocation_short_name = argv[0] != nullptr ? BaseName(argv[0]) : nullptr;

  structors_array_t structors = {};
  if (SharedGlobalsWord(kSharedGlobalsFiniCount) != 0 || fini != nullptr) {
    __cxa_atexit(MuslLibcFini, &fini, nullptr);
  }
  __libc_init(argv - 1, nullptr, main, &structors);
}

// bionic exports no atexit (its own lives in each executable's start files), so the guest's
// binds here. Handlers run at exit with the rest of the __cxa_atexit list.
KELP_EXPORT int GuestAtexit(GuestFn fn) KELP_SYMBOL(atexit);
int GuestAtexit(GuestFn fn) {
  return __cxa_atexit(reinterpret_cast<void (*)(void*)>(fn), nullptr, nullptr);
}

// bionic's start-up interface and the Android loader's shared-globals record.
#pragma once

#include <stdint.h>

#if defined(__BIONIC__)
#include <android/set_abort_message.h>
#endif

extern "C" {

// bionic: libc/private/bionic_globals.h / KernelArgumentBlock start-up path.
struct structors_array_t {
  void (**preinit_array)(void);
  void (**init_array)(void);
  void (**fini_array)(void);
};

// Runs exit(slingshot(argc, argv, envp)); raw_args is the address of argc on the initial stack.
[[noreturn]] void __libc_init(void* raw_args, void (*onexit)(void),
                              int (*slingshot)(int, char**, char**),
                              structors_array_t const* const structors);

// The loader's process-wide record; the adaptor reads only the words named below. It is the
// dynamic linker's own symbol, which the NDK has no stub for: referenced weakly, and on Android
// answered by a trampoline (host/android/linker.cpp) that gives null when the linker lacks it.
void* __loader_shared_globals(void) __attribute__((weak));

void android_set_abort_message(const char* msg);

int __cxa_atexit(void (*fn)(void*), void* arg, void* dso_handle);

}  // extern "C"

// Words of the shared-globals record that describe the guest executable's termination array.
inline constexpr uint32_t kSharedGlobalsFiniArray = 0x53C;
inline constexpr uint32_t kSharedGlobalsFiniCount = 0x540;

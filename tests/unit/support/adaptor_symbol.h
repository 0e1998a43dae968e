// Reaching the adaptor's definition of a name that the host libc defines too.
//
// Test binaries are host programs: they link glibc ahead of the adaptor, so that their own
// start-up and glibc-named calls bind to glibc. A test of an adaptor entry whose name glibc also
// exports (atexit, __sigsetjmp, mq_open, ...) resolves it by the adaptor's version node.
#pragma once

#include <dlfcn.h>

#include <gtest/gtest.h>

inline void* AdaptorSymbolAddress(const char* name) {
  return dlvsym(RTLD_DEFAULT, name, "KELP_ADAPTOR_1");
}

template <typename Fn>
Fn AdaptorSymbol(const char* name) {
  void* address = AdaptorSymbolAddress(name);
  EXPECT_NE(nullptr, address) << name << " is not exported by the adaptor";
  return reinterpret_cast<Fn>(address);
}

// Declares `fn` as the adaptor's `name` with the given function type:
//   ADAPTOR_FN(int (*)(void (*)()), adaptor_atexit, "atexit");
#define ADAPTOR_FN(type, fn, name) static const auto fn = AdaptorSymbol<type>(name)

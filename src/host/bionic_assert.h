// bionic's __assert(file, line, message): reports and aborts. bionic's <assert.h> declares it;
// glibc has a function of the same name with another signature, so the test host reaches
// bionic's through an asm label.
#pragma once

#include <sys/cdefs.h>  // says whether this is bionic

#if defined(__BIONIC__)
#include <assert.h>

[[noreturn]] inline void BionicAssert(const char* file, int line, const char* msg) {
  __assert(file, line, msg);
}
#else
extern "C" [[noreturn]] void BionicAssert(const char* file, int line,
                                          const char* msg) __asm__("__assert");
#endif

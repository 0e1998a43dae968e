// bionic's tmpnam (names up to its L_tmpnam, 4096) and __fpurge (no result). The C library of
// another host may declare them with other attributes, hence the asm labels.
#pragma once

#include <stdio.h>

inline constexpr size_t kHostTmpnamMax = 4096;

#if defined(__BIONIC__)
#include <stdio_ext.h>

static_assert(L_tmpnam == kHostTmpnamMax);

inline char* BionicTmpnam(char* buf) {
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
  return tmpnam(buf);
#pragma clang diagnostic pop
}
inline void BionicFpurge(FILE* stream) { __fpurge(stream); }
#else
extern "C" {
char* BionicTmpnam(char* buf) __asm__("tmpnam");
void BionicFpurge(FILE* stream) __asm__("__fpurge");
}
#endif

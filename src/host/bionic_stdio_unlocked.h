// bionic's unlocked stdio calls. glibc's headers expand these inline into its own stream
// record and its __uflow and __overflow, which the adaptor exports itself, so on another host
// they are bound to the out-of-line symbols by asm label.
#pragma once

#include <stdio.h>

#if defined(__BIONIC__)
inline int HostFeofUnlocked(FILE* stream) { return feof_unlocked(stream); }
inline int HostFerrorUnlocked(FILE* stream) { return ferror_unlocked(stream); }
inline int HostGetcUnlocked(FILE* stream) { return getc_unlocked(stream); }
inline int HostPutcUnlocked(int c, FILE* stream) { return putc_unlocked(c, stream); }
#else
extern "C" {
int HostFeofUnlocked(FILE* stream) __asm__("feof_unlocked");
int HostFerrorUnlocked(FILE* stream) __asm__("ferror_unlocked");
int HostGetcUnlocked(FILE* stream) __asm__("getc_unlocked");
int HostPutcUnlocked(int c, FILE* stream) __asm__("putc_unlocked");
}
#endif

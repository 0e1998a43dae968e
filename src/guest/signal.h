// Guest (musl, 32-bit ARM) signal sets, actions and jump buffers.
#pragma once

#include <stddef.h>
#include <stdint.h>

// Signal n (1..64) is bit n-1 of the first 8 bytes; the other 120 bytes carry no signals.
struct GuestSigset {
  uint32_t words[32];
};
static_assert(sizeof(GuestSigset) == 128);

struct GuestSigaction {
  void* handler;  // sa_handler / sa_sigaction
  GuestSigset sa_mask;
  int32_t sa_flags;
  void* sa_restorer;
};
static_assert(sizeof(GuestSigaction) == 140);
static_assert(offsetof(GuestSigaction, sa_mask) == 4);
static_assert(offsetof(GuestSigaction, sa_flags) == 132);
static_assert(offsetof(GuestSigaction, sa_restorer) == 136);

// jmp_buf and sigjmp_buf: one 388-byte type.
inline constexpr size_t kGuestJmpBufSize = 388;
inline constexpr size_t kJmpBufSp = 32;             // after r4..r11
inline constexpr size_t kJmpBufLr = 36;
inline constexpr size_t kJmpBufCoprocessor = 40;    // optional FPA / VFP / iWMMXt blocks
inline constexpr size_t kJmpBufCallerLr = 256;      // __fl, during sigsetjmp with a mask
inline constexpr size_t kJmpBufMask = 260;          // the 8 signal bytes of the saved mask
inline constexpr size_t kJmpBufCallerR4 = 268;

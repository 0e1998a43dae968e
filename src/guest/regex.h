// Guest (musl, 32-bit ARM) regular-expression records.
#pragma once

#include <stddef.h>
#include <stdint.h>

// musl's regex_t: re_nsub, an opaque pointer, four padding pointers, a second count and a byte.
// The adaptor keeps its host object's address in word 3 (the second padding pointer) and writes
// no other word.
struct GuestRegex {
  uint32_t words[8];
};
static_assert(sizeof(GuestRegex) == 32);
inline constexpr int kGuestRegexNsubWord = 0;
inline constexpr int kGuestRegexHostWord = 3;
static_assert(kGuestRegexHostWord * sizeof(uint32_t) == 12);

// regmatch_t: two 32-bit offsets, the same on both sides; passed to the host unchanged.
struct GuestRegmatch {
  int32_t rm_so;
  int32_t rm_eo;
};
static_assert(sizeof(GuestRegmatch) == 8 && offsetof(GuestRegmatch, rm_eo) == 4);

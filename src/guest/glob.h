// Guest (musl, 32-bit ARM) glob record, flag bits and results.
#pragma once

#include <stddef.h>
#include <stdint.h>

struct GuestGlob {
  uint32_t gl_pathc;
  char** gl_pathv;
  uint32_t gl_offs;
  int32_t reserved_int;
  void* reserved_ptr[5];
};
static_assert(sizeof(GuestGlob) == 36);
static_assert(offsetof(GuestGlob, gl_pathv) == 4);
static_assert(offsetof(GuestGlob, gl_offs) == 8);

inline constexpr int kGuestGlobErr = 0x01;
inline constexpr int kGuestGlobMark = 0x02;
inline constexpr int kGuestGlobNosort = 0x04;
inline constexpr int kGuestGlobDooffs = 0x08;
inline constexpr int kGuestGlobNocheck = 0x10;
inline constexpr int kGuestGlobAppend = 0x20;
inline constexpr int kGuestGlobNoescape = 0x40;
inline constexpr int kGuestGlobPeriod = 0x80;
inline constexpr int kGuestGlobTilde = 0x1000;
inline constexpr int kGuestGlobTildeCheck = 0x4000;

inline constexpr int kGuestGlobNospace = 1;
inline constexpr int kGuestGlobAborted = 2;
inline constexpr int kGuestGlobNomatch = 3;
inline constexpr int kGuestGlobNosys = 4;

// bionic's newlocale: it refuses a category mask with a bit outside its LC_ALL_MASK (0x1fbf,
// categories 0..12 except LC_ALL itself). The locale object is opaque here.
#pragma once

#include <sys/types.h>  // a libc header first: it says whether this is bionic

inline constexpr int kHostLcAllMask = 0x1fbf;

#if defined(__BIONIC__)
#include <locale.h>

static_assert(LC_ALL_MASK == kHostLcAllMask);

inline void* BionicNewlocale(int mask, const char* name, void* base) {
  return newlocale(mask, name, static_cast<locale_t>(base));
}
#else
extern "C" void* BionicNewlocale(int mask, const char* name, void* base) __asm__("newlocale");
#endif

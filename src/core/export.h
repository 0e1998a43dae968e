// Marks the adaptor's binary interface. Everything is hidden by default; a definition is
// exported when it carries KELP_EXPORT *and* its name is listed in libkelpadaptor.map.
#pragma once

#define KELP_EXPORT extern "C" __attribute__((visibility("default")))

// For exported data, defined inside an extern "C" block.
#define KELP_VISIBLE __attribute__((visibility("default")))

// A second exported name for an existing definition: both names run identical code.
//   KELP_EXPORT int kelp_adaptor_utime(const char*, const void*) KELP_ALIAS(__utime64);
#define KELP_ALIAS(target) __attribute__((alias(#target)))

// Gives a definition a symbol name that differs from its C++ name. Used where the host's
// own headers declare the guest name with another signature or exception specification.
#define KELP_SYMBOL(name) __asm__(#name)

// Defines an exported entry `name` through a C++ function of another name, for guest names that
// the host's headers declare with another signature or exception specification:
//   KELP_ENTRY(int, __isxdigit_l, (int c, locale_t)) { ... }
#define KELP_ENTRY(ret, name, params)                           \
  KELP_EXPORT ret KelpEntry_##name params KELP_SYMBOL(name); \
  ret KelpEntry_##name params

// bionic's default command search path and shell.
#pragma once

#if defined(__BIONIC__)
#include <paths.h>

inline constexpr char kHostDefaultPath[] = _PATH_DEFPATH;
inline constexpr char kHostShell[] = _PATH_BSHELL;
#else
// glibc's <paths.h> names the test host's own directories; these are bionic's.
inline constexpr char kHostDefaultPath[] =
    "/product/bin:/apex/com.android.runtime/bin:/apex/com.android.art/bin:/system_ext/bin:"
    "/system/bin:/system/xbin:/odm/bin:/vendor/bin:/vendor/xbin";
inline constexpr char kHostShell[] = "/system/bin/sh";
#endif

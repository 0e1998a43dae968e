// bionic's 64-bit time functions for 32-bit processes. bionic declares them in <time64.h>;
// they are declared here on both platforms, so that bionic's own header checks this reading.
#pragma once

#include <stdint.h>
#include <time.h>

#if defined(__BIONIC__)
#include <time64.h>
#else
typedef int64_t time64_t;
#endif

extern "C" {
struct tm* gmtime64(const time64_t* t);
struct tm* localtime64(const time64_t* t);
struct tm* localtime64_r(const time64_t* t, struct tm* result);
time64_t mktime64(const struct tm* tm);
time64_t timegm64(const struct tm* tm);
}

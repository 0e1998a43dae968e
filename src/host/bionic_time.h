// bionic's 64-bit time functions for 32-bit processes (<time64.h> on Android).
#pragma once

#include <stdint.h>
#include <time.h>

typedef int64_t time64_t;

extern "C" {
struct tm* gmtime64(const time64_t* t);
struct tm* localtime64(const time64_t* t);
struct tm* localtime64_r(const time64_t* t, struct tm* result);
time64_t mktime64(const struct tm* tm);
time64_t timegm64(const struct tm* tm);
}

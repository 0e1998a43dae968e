// Test host: bionic's 64-bit time functions on glibc's 64-bit time variants.
#include <pthread.h>
#include <stdint.h>
#include <time.h>

#include "kelphost.h"

extern "C" {
struct tm* __gmtime64(const int64_t* t);
struct tm* __localtime64(const int64_t* t);
int64_t __mktime64(struct tm* tm);
int64_t __timegm64(struct tm* tm);
}

namespace {
pthread_mutex_t g_localtime_lock = PTHREAD_MUTEX_INITIALIZER;
}  // namespace

KELPHOST_EXPORT struct tm* gmtime64(const int64_t* t) { return __gmtime64(t); }

KELPHOST_EXPORT struct tm* localtime64(const int64_t* t) { return __localtime64(t); }

// glibc exports no reentrant 64-bit form: copy out of its static record under a lock.
KELPHOST_EXPORT struct tm* localtime64_r(const int64_t* t, struct tm* result) {
  pthread_mutex_lock(&g_localtime_lock);
  struct tm* shared = __localtime64(t);
  if (shared != nullptr) *result = *shared;
  pthread_mutex_unlock(&g_localtime_lock);
  return shared != nullptr ? result : nullptr;
}

// bionic's forms take a const record and leave it as it is.
KELPHOST_EXPORT int64_t mktime64(const struct tm* tm) {
  struct tm copy = *tm;
  return __mktime64(&copy);
}

KELPHOST_EXPORT int64_t timegm64(const struct tm* tm) {
  struct tm copy = *tm;
  return __timegm64(&copy);
}

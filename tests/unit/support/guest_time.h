// Guest time-outs for tests.
#pragma once

#include <time.h>

#include "guest/time.h"

// An absolute realtime guest time-out `ms` milliseconds from now.
inline GuestTimespec RealtimeIn(long ms) {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  int64_t ns = now.tv_nsec + ms * 1000000;
  return {now.tv_sec + ns / 1000000000, static_cast<int32_t>(ns % 1000000000), 0};
}

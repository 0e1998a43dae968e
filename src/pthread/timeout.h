// Guest time-outs for the lock families: the guest's 64-bit timespec narrowed to the host's.
#pragma once

#include <time.h>

#include "translate/time_convert.h"

// The host time-out for a guest one; a null guest time-out is an immediate one, not "forever".
struct HostTimeout {
  explicit HostTimeout(const GuestTimespec* guest) {
    if (guest != nullptr) timespec_musl2bionic(guest, &host);
  }
  const timespec* get() const { return reinterpret_cast<const timespec*>(&host); }
  HostTimespec host = {};
};

// The 64-bit-time entries refuse seconds that do not fit the host's 32-bit field.
inline bool OutOfHostRange(const GuestTimespec* guest) { return guest->tv_sec > 2147483647; }

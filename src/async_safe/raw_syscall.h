// System calls without errno: the result is the kernel's (-4095..-1 on failure). Used where
// errno must stay untouched (logging, crash handling, allocator hooks).
#pragma once

extern "C" long RawSyscall(long number, long a0 = 0, long a1 = 0, long a2 = 0, long a3 = 0,
                           long a4 = 0, long a5 = 0);

// Retries a raw system call while it is interrupted by a signal.
template <typename Call>
long RawRetry(Call call) {
  long result;
  do {
    result = call();
  } while (result == -4 /* EINTR */);
  return result;
}

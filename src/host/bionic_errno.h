// errno for adaptor code: always bionic's per-thread word, reached through __errno().
//
// The adaptor exports __errno_location (the guest's errno entry). A host libc whose errno
// macro expands to __errno_location() would bind that call back to the adaptor itself, so
// errno is redefined here once, for every family.
#pragma once

#include <errno.h>

// bionic's <errno.h> declares it too; on the test host libkelphost.so provides it.
extern "C" int* __errno(void);

#undef errno
#define errno (*__errno())

// Saves errno and puts it back when the scope ends.
class ErrnoRestorer {
 public:
  ErrnoRestorer() : saved_(errno) {}
  ~ErrnoRestorer() { errno = saved_; }
  ErrnoRestorer(const ErrnoRestorer&) = delete;
  ErrnoRestorer& operator=(const ErrnoRestorer&) = delete;

 private:
  int saved_;
};

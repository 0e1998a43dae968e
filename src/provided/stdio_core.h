// The adaptor's stdio core, in the BSD design, on the host's stream record (HostFile): stream
// slots with their extensions, buffer set-up, refilling, flushing and vectored writes. Cookie
// streams take their template from __sfp. Whatever drives such a record reaches the data only
// through its four slots, called with `_cookie`.
//
// Internal to the library: nothing here is exported. Headers are included by relative path, so
// that the test host's stand-in, which drives these records in bionic's place, can build the
// same core.
#pragma once

#include <stddef.h>

#include "../host/bionic_stdio.h"

namespace kelp_stdio {

struct HostIov {
  const void* iov_base;
  size_t iov_len;
};
struct HostUio {
  HostIov* uio_iov;
  int uio_iovcnt;
  size_t uio_resid;  // bytes left in all of uio_iov
};

// A fresh stream slot: flags 1 (taken), descriptor -1, everything else zero, and its own
// extension with a recursive lock. Null with ENOMEM when no slot can be had.
HostFile* __sfp();
// Calls fn on every taken slot and ORs the results.
int _fwalk(int (*fn)(HostFile*));
// Gives a stream without a buffer one (or the one-byte buffer when none can be allocated).
void __smakebuf(HostFile* fp);
// Switches a stream to writing; 0, or EOF with EBADF when it is not open for writing.
int __swsetup(HostFile* fp);
// Switches a stream to reading and fills its buffer; 0, or EOF at end of file or on error
// (the stream's flags say which).
int __srefill(HostFile* fp);
// Writes out a writing stream's pending bytes; 0, or EOF with the error flag set.
int __sflush(HostFile* fp);
// Writes every byte of uio through the buffer; 0, or EOF with the error flag set.
int __sfvwrite(HostFile* fp, HostUio* uio);

// Holds a stream's lock for a scope, as the host's stdio does around each call.
class ScopedStreamLock {
 public:
  explicit ScopedStreamLock(HostFile* fp);
  ~ScopedStreamLock();
  ScopedStreamLock(const ScopedStreamLock&) = delete;
  ScopedStreamLock& operator=(const ScopedStreamLock&) = delete;

 private:
  HostFileExt* ext_;
};

}  // namespace kelp_stdio

// The adaptor's stdio core: stream slots, buffers, refilling, flushing and vectored writes on
// HostFile records (see stdio_core.h).
#include "stdio_core.h"

#include <limits.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../host/bionic_errno.h"

namespace kelp_stdio {
namespace {

constexpr int kSlotsPerBlock = 10;
constexpr uint16_t kSlotTaken = 1;

// Slots come in blocks that live as long as the process; a new block goes to the front of the
// list, so a walk that has read the head sees a list that only ever grows behind it.
struct SlotBlock {
  SlotBlock* next;
  HostFile files[kSlotsPerBlock];
  HostFileExt exts[kSlotsPerBlock];
};

pthread_mutex_t g_slot_lock = PTHREAD_MUTEX_INITIALIZER;
SlotBlock* g_slot_blocks = nullptr;

void InitSlot(HostFile* fp, HostFileExt* ext) {
  memset(fp, 0, sizeof(*fp));
  memset(ext, 0, sizeof(*ext));
  pthread_mutexattr_t attr;
  pthread_mutexattr_init(&attr);
  pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&ext->_lock, &attr);
  pthread_mutexattr_destroy(&attr);
  fp->_flags = kSlotTaken;
  fp->_file = -1;
  fp->_ext._base = reinterpret_cast<unsigned char*>(ext);
}

// Takes the first free slot; the caller holds g_slot_lock.
HostFile* TakeFreeSlot() {
  for (SlotBlock* block = g_slot_blocks; block != nullptr; block = block->next) {
    for (int i = 0; i < kSlotsPerBlock; ++i) {
      if (block->files[i]._flags == 0) {
        InitSlot(&block->files[i], &block->exts[i]);
        return &block->files[i];
      }
    }
  }
  return nullptr;
}

bool FullyBuffered(const HostFile* fp) {
  return (fp->_flags & (kHostLineBuffered | kHostUnbuffered)) == 0;
}

// The buffer is empty again: the next write starts at its base.
void ResetWritePosition(HostFile* fp) {
  fp->_p = fp->_bf._base;
  fp->_w = FullyBuffered(fp) ? fp->_bf._size : 0;
}

void UpdateWriteRoom(HostFile* fp) {
  fp->_w = FullyBuffered(fp) ? fp->_bf._size - static_cast<int>(fp->_p - fp->_bf._base) : 0;
}

int CallWrite(HostFile* fp, const char* p, size_t len) {
  if (fp->_write == nullptr) {
    errno = EBADF;
    return -1;
  }
  return fp->_write(fp->_cookie, p, static_cast<int>(len > INT_MAX ? INT_MAX : len));
}

// Writes one chunk through the buffer: fills and flushes while bytes are pending, writes
// straight through while the rest is at least a buffer's worth, keeps the tail buffered.
bool WriteChunk(HostFile* fp, const char* p, size_t len, size_t* resid) {
  while (len > 0) {
    size_t used = static_cast<size_t>(fp->_p - fp->_bf._base);
    size_t room = static_cast<size_t>(fp->_bf._size) - used;
    size_t done;
    if ((fp->_flags & kHostUnbuffered) != 0 || (used == 0 && len >= room)) {
      int w = CallWrite(fp, p, len);
      if (w <= 0) return false;
      if (fp->_p == nullptr) ResetWritePosition(fp);
      done = static_cast<size_t>(w);
    } else {
      done = len < room ? len : room;
      memcpy(fp->_p, p, done);
      fp->_p += done;
      UpdateWriteRoom(fp);
      if (done == room && __sflush(fp) != 0) return false;
    }
    p += done;
    len -= done;
    *resid -= done;
  }
  return true;
}

int FlushIfWriting(HostFile* fp) {
  return (fp->_flags & kHostWriting) != 0 ? __sflush(fp) : 0;
}

}  // namespace

HostFile* __sfp() {
  pthread_mutex_lock(&g_slot_lock);
  HostFile* fp = TakeFreeSlot();
  if (fp == nullptr) {
    auto* block = static_cast<SlotBlock*>(calloc(1, sizeof(SlotBlock)));
    if (block != nullptr) {
      block->next = g_slot_blocks;
      __atomic_store_n(&g_slot_blocks, block, __ATOMIC_RELEASE);
      fp = TakeFreeSlot();
    } else {
      errno = ENOMEM;
    }
  }
  pthread_mutex_unlock(&g_slot_lock);
  return fp;
}

int _fwalk(int (*fn)(HostFile*)) {
  int result = 0;
  SlotBlock* block = __atomic_load_n(&g_slot_blocks, __ATOMIC_ACQUIRE);
  for (; block != nullptr; block = block->next) {
    for (HostFile& fp : block->files) {
      if (fp._flags != 0 && (fp._flags & kHostIgnore) == 0) result |= fn(&fp);
    }
  }
  return result;
}

void __smakebuf(HostFile* fp) {
  int size = BUFSIZ;
  bool terminal = false;
  struct stat st;
  if ((fp->_flags & kHostUnbuffered) == 0 && fp->_file >= 0 && fstat(fp->_file, &st) == 0) {
    if (st.st_blksize > 0) size = static_cast<int>(st.st_blksize);
    terminal = S_ISCHR(st.st_mode) && isatty(fp->_file) == 1;
  }
  void* buffer = (fp->_flags & kHostUnbuffered) == 0 ? malloc(size) : nullptr;
  if (buffer == nullptr) {
    fp->_flags |= kHostUnbuffered;
    fp->_bf._base = fp->_p = fp->_nbuf;
    fp->_bf._size = 1;
    return;
  }
  fp->_flags |= kHostMallocBuffer | (terminal ? kHostLineBuffered : 0);
  fp->_bf._base = fp->_p = static_cast<unsigned char*>(buffer);
  fp->_bf._size = size;
  fp->_blksize = size;
}

int __swsetup(HostFile* fp) {
  if ((fp->_flags & kHostWriting) == 0) {
    if ((fp->_flags & kHostReadWrite) == 0) {
      errno = EBADF;
      fp->_flags |= kHostError;
      return EOF;
    }
    if ((fp->_flags & kHostReading) != 0) {
      // Unread buffered input is dropped; the position was the caller's to fix by seeking.
      fp->_flags &= ~(kHostReading | kHostEof);
      fp->_r = 0;
      fp->_p = fp->_bf._base;
    }
    fp->_flags |= kHostWriting;
  }
  if (fp->_bf._base == nullptr) __smakebuf(fp);
  if (fp->_p == nullptr) fp->_p = fp->_bf._base;
  fp->_lbfsize = (fp->_flags & kHostLineBuffered) != 0 ? -fp->_bf._size : 0;
  UpdateWriteRoom(fp);
  return 0;
}

int __srefill(HostFile* fp) {
  fp->_r = 0;
  if ((fp->_flags & kHostEof) != 0) return EOF;
  if ((fp->_flags & kHostReading) == 0) {
    if ((fp->_flags & kHostReadWrite) == 0) {
      errno = EBADF;
      fp->_flags |= kHostError;
      return EOF;
    }
    if (FlushIfWriting(fp) != 0) return EOF;
    fp->_flags = (fp->_flags & ~kHostWriting) | kHostReading;
    fp->_w = 0;
    fp->_lbfsize = 0;
  }
  if (fp->_bf._base == nullptr) __smakebuf(fp);
  fp->_p = fp->_bf._base;
  int n = -1;
  if (fp->_read != nullptr) {
    n = fp->_read(fp->_cookie, reinterpret_cast<char*>(fp->_p), fp->_bf._size);
  } else {
    errno = EBADF;
  }
  if (n <= 0) {
    fp->_flags |= n == 0 ? kHostEof : kHostError;
    fp->_r = 0;
    return EOF;
  }
  fp->_r = n;
  return 0;
}

int __sflush(HostFile* fp) {
  unsigned char* base = fp->_bf._base;
  if ((fp->_flags & kHostWriting) == 0 || base == nullptr) return 0;
  // A slot that failed may have cleared _p: nothing is pending then.
  ptrdiff_t n = fp->_p != nullptr ? fp->_p - base : 0;
  ResetWritePosition(fp);
  unsigned char* p = base;
  while (n > 0) {
    int t = CallWrite(fp, reinterpret_cast<const char*>(p), static_cast<size_t>(n));
    if (t <= 0) {
      // Keep what was not written at the front, unless the slot gave up the position itself.
      if (fp->_p == base) {
        memmove(base, p, static_cast<size_t>(n));
        fp->_p = base + n;
        UpdateWriteRoom(fp);
      } else {
        ResetWritePosition(fp);
      }
      fp->_flags |= kHostError;
      return EOF;
    }
    p += t;
    n -= t;
  }
  return 0;
}

int __sfvwrite(HostFile* fp, HostUio* uio) {
  if (uio->uio_resid == 0) return 0;
  if (((fp->_flags & kHostWriting) == 0 || fp->_bf._base == nullptr) && __swsetup(fp) != 0) {
    return EOF;
  }
  if (fp->_p == nullptr) ResetWritePosition(fp);
  bool newline = false;
  for (int i = 0; i < uio->uio_iovcnt && uio->uio_resid > 0; ++i) {
    const char* p = static_cast<const char*>(uio->uio_iov[i].iov_base);
    size_t len = uio->uio_iov[i].iov_len;
    if (!WriteChunk(fp, p, len, &uio->uio_resid)) {
      fp->_flags |= kHostError;
      return EOF;
    }
    newline = newline || memchr(p, '\n', len) != nullptr;
  }
  if (newline && (fp->_flags & kHostLineBuffered) != 0 && __sflush(fp) != 0) return EOF;
  return 0;
}

ScopedStreamLock::ScopedStreamLock(HostFile* fp) : ext_(HostFileExtOf(fp)) {
  if (ext_ != nullptr && ext_->_caller_handles_locking) ext_ = nullptr;
  if (ext_ != nullptr) pthread_mutex_lock(&ext_->_lock);
}

ScopedStreamLock::~ScopedStreamLock() {
  if (ext_ != nullptr) pthread_mutex_unlock(&ext_->_lock);
}

}  // namespace kelp_stdio

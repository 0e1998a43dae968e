// bionic's stdio stream record on 32-bit ARM: the BSD FILE. bionic's headers keep FILE opaque,
// but its stdio drives every stream through these fields and through the four slots, called with
// `_cookie` (the slot types are those of funopen). Streams the adaptor builds have this shape;
// on the test host the stand-in drives such records the way bionic does.
//
// Included by relative path so that the test host's stand-in can use it too.
#pragma once

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

struct HostSbuf {
  unsigned char* _base;
  int _size;
};

struct HostFile {
  unsigned char* _p;  // next byte to read or write
  int _r;             // bytes left to read from the buffer
  int _w;             // room left for writing in the buffer
  uint16_t _flags;
  int16_t _file;  // descriptor, -1 for streams without one
  HostSbuf _bf;   // the buffer
  int _lbfsize;   // -_bf._size when line buffered, else 0
  void* _cookie;
  int (*_close)(void*);
  int (*_read)(void*, char*, int);
  int32_t (*_seek)(void*, int32_t, int);  // fpos_t is 32-bit here
  int (*_write)(void*, const char*, int);
  HostSbuf _ext;  // _base points at the stream's HostFileExt
  unsigned char* _up;
  int _ur;
  unsigned char _ubuf[3];
  unsigned char _nbuf[1];
  HostSbuf _lb;
  int _blksize;
  int32_t _offset;
};
static_assert(sizeof(HostFile) == 84);
static_assert(offsetof(HostFile, _r) == 4 && offsetof(HostFile, _w) == 8);
static_assert(offsetof(HostFile, _flags) == 12 && offsetof(HostFile, _file) == 14);
static_assert(offsetof(HostFile, _bf) == 16 && offsetof(HostFile, _lbfsize) == 24);
static_assert(offsetof(HostFile, _cookie) == 28 && offsetof(HostFile, _close) == 32);
static_assert(offsetof(HostFile, _read) == 36 && offsetof(HostFile, _seek) == 40);
static_assert(offsetof(HostFile, _write) == 44 && offsetof(HostFile, _ext) == 48);
static_assert(offsetof(HostFile, _up) == 56 && offsetof(HostFile, _ubuf) == 64);
static_assert(offsetof(HostFile, _lb) == 68 && offsetof(HostFile, _offset) == 80);

// Flag bits of HostFile::_flags.
inline constexpr uint16_t kHostLineBuffered = 0x0001;
inline constexpr uint16_t kHostUnbuffered = 0x0002;
inline constexpr uint16_t kHostReading = 0x0004;
inline constexpr uint16_t kHostWriting = 0x0008;
inline constexpr uint16_t kHostReadWrite = 0x0010;  // open for reading and writing
inline constexpr uint16_t kHostEof = 0x0020;
inline constexpr uint16_t kHostError = 0x0040;
inline constexpr uint16_t kHostMallocBuffer = 0x0080;  // _bf._base came from malloc
inline constexpr uint16_t kHostAppend = 0x0100;
inline constexpr uint16_t kHostOffsetValid = 0x1000;  // _offset is the descriptor's offset
inline constexpr uint16_t kHostIgnore = 0x8000;       // not a stream: the walk skips it

// The per-stream extension that bionic's stdio reaches through `_ext._base`: the pushed-back
// bytes, the wide-character state, the stream lock (recursive) and the 64-bit seek slot, which
// stays null so that seeks go through the 32-bit `_seek`.
struct HostFileExt {
  HostSbuf _ub;                // pushed-back bytes beyond _ubuf
  uint32_t _wcio[5];           // two mbstate_t, one pushed-back wchar_t, its count, orientation
  pthread_mutex_t _lock;
  bool _caller_handles_locking;
  int64_t (*_seek64)(void*, int64_t, int);
  pid_t _popen_pid;
};
static_assert(offsetof(HostFileExt, _wcio) == 8 && offsetof(HostFileExt, _lock) == 28);
#if defined(__BIONIC__)
static_assert(offsetof(HostFileExt, _caller_handles_locking) == 32);
static_assert(offsetof(HostFileExt, _seek64) == 36 && sizeof(HostFileExt) == 44);
#endif

inline HostFileExt* HostFileExtOf(HostFile* fp) {
  return reinterpret_cast<HostFileExt*>(fp->_ext._base);
}

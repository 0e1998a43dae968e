// bionic's sendfile64 (64-bit offset; its 32-bit ARM sendfile takes a 32-bit one) and mknodat
// (16-bit mode_t and 32-bit dev_t on 32-bit ARM). Another host may declare these with other
// types, hence the asm labels.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#if defined(__BIONIC__)
#include <sys/sendfile.h>
#include <sys/stat.h>

static_assert(sizeof(dev_t) == 4 && sizeof(mode_t) == 2);

inline ssize_t BionicSendfile64(int out_fd, int in_fd, int64_t* offset, size_t count) {
  return sendfile64(out_fd, in_fd, reinterpret_cast<off64_t*>(offset), count);
}
inline int BionicMknodat(int dir_fd, const char* path, uint16_t mode, uint32_t dev) {
  return mknodat(dir_fd, path, mode, dev);
}
#else
extern "C" {
ssize_t BionicSendfile64(int out_fd, int in_fd, int64_t* offset, size_t count)
    __asm__("sendfile64");
int BionicMknodat(int dir_fd, const char* path, uint16_t mode, uint32_t dev) __asm__("mknodat");
}
#endif

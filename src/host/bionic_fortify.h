// bionic's checked large-file I/O entries.
#pragma once

#include <sys/types.h>

extern "C" {
ssize_t __pread64_chk(int fd, void* buf, size_t count, off64_t offset, size_t buf_size);
ssize_t __pwrite64_chk(int fd, const void* buf, size_t count, off64_t offset, size_t buf_size);
}

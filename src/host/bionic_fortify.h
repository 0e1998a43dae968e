// bionic's checked large-file I/O entries. bionic declares them in <unistd.h> when it fortifies;
// they are declared here on both platforms, so that bionic's own header checks this reading.
#pragma once

#include <sys/types.h>
#include <unistd.h>

extern "C" {
ssize_t __pread64_chk(int fd, void* buf, size_t count, off64_t offset, size_t buf_size);
ssize_t __pwrite64_chk(int fd, const void* buf, size_t count, off64_t offset, size_t buf_size);
}

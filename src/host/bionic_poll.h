// bionic's ppoll and pselect with 64-bit signal sets.
#pragma once

#include <poll.h>
#include <sys/select.h>
#include <time.h>

#include "bionic_signal.h"

extern "C" {
#if !defined(__BIONIC__)
int ppoll64(struct pollfd* fds, nfds_t count, const struct timespec* timeout,
            const sigset64_t* mask);
int pselect64(int nfds, fd_set* readfds, fd_set* writefds, fd_set* exceptfds,
              const struct timespec* timeout, const sigset64_t* mask);
#endif
}

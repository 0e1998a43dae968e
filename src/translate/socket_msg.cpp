// Scatter/gather socket messages. Guest and host msghdr/mmsghdr agree word for word; each call
// still copies into host records so that neither side's layout leaks into the other.
#include <stdint.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <time.h>

#include "async_safe/log.h"
#include "core/export.h"
#include "guest/socket.h"
#include "guest/time.h"
#include "host/bionic_errno.h"
#include "translate/time_convert.h"

static_assert(sizeof(struct msghdr) == sizeof(GuestMsghdr));
static_assert(sizeof(struct mmsghdr) == sizeof(GuestMmsghdr));
static_assert(sizeof(struct timespec) == sizeof(HostTimespec));

namespace {

void ToHost(const GuestMsghdr& in, struct msghdr* out) {
  out->msg_name = in.msg_name;
  out->msg_namelen = in.msg_namelen;
  out->msg_iov = static_cast<struct iovec*>(in.msg_iov);
  out->msg_iovlen = in.msg_iovlen;
  out->msg_control = in.msg_control;
  out->msg_controllen = in.msg_controllen;
  out->msg_flags = in.msg_flags;
}

void ToGuest(const struct msghdr& in, GuestMsghdr* out) {
  out->msg_name = in.msg_name;
  out->msg_namelen = in.msg_namelen;
  out->msg_iov = in.msg_iov;
  out->msg_iovlen = static_cast<int32_t>(in.msg_iovlen);
  out->msg_control = in.msg_control;
  out->msg_controllen = static_cast<uint32_t>(in.msg_controllen);
  out->msg_flags = in.msg_flags;
}

// A host copy of a guest vector; null when it cannot be allocated. A count whose byte size
// does not fit the address space cannot describe a real vector and fails like malloc.
struct mmsghdr* HostVector(const GuestMmsghdr* v, unsigned vlen) {
  if (vlen > SIZE_MAX / sizeof(struct mmsghdr)) return nullptr;
  auto* host = static_cast<struct mmsghdr*>(malloc(vlen * sizeof(struct mmsghdr)));
  if (host == nullptr) return nullptr;
  for (unsigned i = 0; i < vlen; ++i) {
    ToHost(v[i].msg_hdr, &host[i].msg_hdr);
    host[i].msg_len = v[i].msg_len;
  }
  return host;
}

}  // namespace

KELP_EXPORT ssize_t kelp_adaptor_sendmsg(int fd, const GuestMsghdr* m, int flags) {
  if (m == nullptr) return sendmsg(fd, nullptr, flags);
  struct msghdr host;
  ToHost(*m, &host);
  return sendmsg(fd, &host, flags);
}

// The kernel updates msg_namelen, msg_controllen and msg_flags: all seven words go back.
KELP_EXPORT ssize_t kelp_adaptor_recvmsg(int fd, GuestMsghdr* m, int flags) {
  if (m == nullptr) return recvmsg(fd, nullptr, flags);
  struct msghdr host;
  ToHost(*m, &host);
  ssize_t result = recvmsg(fd, &host, flags);
  ToGuest(host, m);
  return result;
}

// msg_len is not reported back to the guest.
KELP_EXPORT int kelp_adaptor_sendmmsg(int fd, GuestMmsghdr* v, unsigned vlen, int flags) {
  if (v == nullptr) return sendmmsg(fd, nullptr, vlen, flags);
  struct mmsghdr* host = HostVector(v, vlen);
  if (host == nullptr) {
    KELP_LOG(kLogError, "sendmmsg failed to malloc");
    errno = ENOMEM;
    return -1;
  }
  int result = sendmmsg(fd, host, vlen, flags);
  free(host);
  return result;
}

// Without a host copy the call still reaches the host, with a null vector, whose error the
// guest then sees.
KELP_EXPORT int __recvmmsg_time64(int fd, GuestMmsghdr* v, unsigned vlen, int flags,
                                  GuestTimespec* timeout) {
  struct mmsghdr* host = v != nullptr ? HostVector(v, vlen) : nullptr;
  HostTimespec host_timeout = {};
  if (timeout != nullptr) timespec_musl2bionic(timeout, &host_timeout);
  int result = recvmmsg(fd, host, vlen, flags,
                        timeout != nullptr ? reinterpret_cast<struct timespec*>(&host_timeout)
                                           : nullptr);
  if (timeout != nullptr) timespec_bionic2musl(timeout, &host_timeout);
  if (v == nullptr) return result;
  if (host != nullptr) {
    for (unsigned i = 0; i < vlen; ++i) {
      ToGuest(host[i].msg_hdr, &v[i].msg_hdr);
      v[i].msg_len = host[i].msg_len;
    }
  }
  free(host);
  return result;
}
KELP_EXPORT int kelp_adaptor_recvmmsg(int, GuestMmsghdr*, unsigned, int, GuestTimespec*)
    KELP_ALIAS(__recvmmsg_time64);

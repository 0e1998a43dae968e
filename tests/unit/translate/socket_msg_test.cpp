// sendmsg/recvmsg and sendmmsg/recvmmsg with guest records over loopback and socket pairs.
#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "guest/socket.h"
#include "guest/time.h"
#include "support/fake_log_daemon.h"

extern "C" {
ssize_t kelp_adaptor_sendmsg(int fd, const GuestMsghdr* m, int flags);
ssize_t kelp_adaptor_recvmsg(int fd, GuestMsghdr* m, int flags);
int kelp_adaptor_sendmmsg(int fd, GuestMmsghdr* v, unsigned vlen, int flags);
int kelp_adaptor_recvmmsg(int fd, GuestMmsghdr* v, unsigned vlen, int flags,
                          GuestTimespec* timeout);
int __recvmmsg_time64(int fd, GuestMmsghdr* v, unsigned vlen, int flags,
                      GuestTimespec* timeout);
}

namespace {

constexpr uint32_t kUnset = 0xA5A5A5A5;
constexpr int32_t kPad = 0x5A5A5A5A;

class Fd {
 public:
  explicit Fd(int fd = -1) : fd_(fd) {}
  ~Fd() {
    if (fd_ >= 0) close(fd_);
  }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

// A UDP socket bound to an ephemeral loopback port.
int BoundUdp(sockaddr_in* addr) {
  int fd = socket(AF_INET, SOCK_DGRAM, 0);
  *addr = {};
  addr->sin_family = AF_INET;
  addr->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof(*addr);
  EXPECT_EQ(0, bind(fd, reinterpret_cast<sockaddr*>(addr), sizeof(*addr)));
  EXPECT_EQ(0, getsockname(fd, reinterpret_cast<sockaddr*>(addr), &len));
  return fd;
}

GuestMsghdr Message(iovec* iov, int iovlen) {
  GuestMsghdr m = {};
  m.msg_iov = iov;
  m.msg_iovlen = iovlen;
  m.msg_flags = static_cast<int32_t>(kUnset);
  return m;
}

}  // namespace

TEST(socket_msg, descriptor_passing_through_recvmsg) {
  int pair[2], pipe_fds[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, pair));
  ASSERT_EQ(0, pipe(pipe_fds));
  Fd a(pair[0]), b(pair[1]), pipe_read(pipe_fds[0]), pipe_write(pipe_fds[1]);

  char payload[] = "fd";
  iovec out_iov = {payload, 2};
  alignas(cmsghdr) char out_control[CMSG_SPACE(sizeof(int))] = {};
  GuestMsghdr out = Message(&out_iov, 1);
  out.msg_flags = 0;
  out.msg_control = out_control;
  out.msg_controllen = sizeof(out_control);
  auto* c = reinterpret_cast<cmsghdr*>(out_control);
  c->cmsg_level = SOL_SOCKET;
  c->cmsg_type = SCM_RIGHTS;
  c->cmsg_len = CMSG_LEN(sizeof(int));
  memcpy(CMSG_DATA(c), &pipe_fds[1], sizeof(int));
  ASSERT_EQ(2, kelp_adaptor_sendmsg(a.get(), &out, 0));

  char in_buf[8] = {};
  iovec in_iov = {in_buf, sizeof(in_buf)};
  alignas(cmsghdr) char in_control[64] = {};
  GuestMsghdr in = Message(&in_iov, 1);
  in.msg_control = in_control;
  in.msg_controllen = sizeof(in_control);
  ASSERT_EQ(2, kelp_adaptor_recvmsg(b.get(), &in, 0));
  EXPECT_EQ(CMSG_SPACE(sizeof(int)), in.msg_controllen) << "the kernel's length comes back";
  EXPECT_EQ(0, in.msg_flags);
  EXPECT_EQ(in_control, in.msg_control);
  EXPECT_EQ(&in_iov, in.msg_iov);
  EXPECT_EQ(1, in.msg_iovlen);
  auto* got = reinterpret_cast<cmsghdr*>(in_control);
  EXPECT_EQ(SOL_SOCKET, got->cmsg_level);
  EXPECT_EQ(SCM_RIGHTS, got->cmsg_type);
  int passed = -1;
  memcpy(&passed, CMSG_DATA(got), sizeof(int));
  Fd passed_fd(passed);
  ASSERT_NE(pipe_fds[1], passed);
  ASSERT_EQ(3, write(passed, "abc", 3));
  char echo[4] = {};
  EXPECT_EQ(3, read(pipe_fds[0], echo, 3));
  EXPECT_STREQ("abc", echo);
}

TEST(socket_msg, recvmsg_reports_sender_and_truncation) {
  sockaddr_in from_addr, to_addr;
  Fd from(BoundUdp(&from_addr)), to(BoundUdp(&to_addr));
  char payload[] = "0123456789";
  iovec out_iov = {payload, 10};
  GuestMsghdr out = Message(&out_iov, 1);
  out.msg_flags = 0;
  out.msg_name = &to_addr;
  out.msg_namelen = sizeof(to_addr);
  ASSERT_EQ(10, kelp_adaptor_sendmsg(from.get(), &out, 0));

  char small[4];
  iovec in_iov = {small, sizeof(small)};
  sockaddr_in sender = {};
  GuestMsghdr in = Message(&in_iov, 1);
  in.msg_name = &sender;
  in.msg_namelen = 100;
  EXPECT_EQ(4, kelp_adaptor_recvmsg(to.get(), &in, 0));
  EXPECT_EQ(sizeof(sockaddr_in), in.msg_namelen);
  EXPECT_EQ(from_addr.sin_port, sender.sin_port);
  EXPECT_EQ(MSG_TRUNC, in.msg_flags);
  EXPECT_EQ(0u, in.msg_controllen);

  errno = 0;
  EXPECT_EQ(-1, kelp_adaptor_recvmsg(to.get(), &in, MSG_DONTWAIT));
  EXPECT_EQ(EAGAIN, errno);
}

TEST(socket_msg, mmsg_over_a_loopback_udp_pair) {
  sockaddr_in from_addr, to_addr;
  Fd from(BoundUdp(&from_addr)), to(BoundUdp(&to_addr));
  ASSERT_EQ(0, connect(from.get(), reinterpret_cast<sockaddr*>(&to_addr), sizeof(to_addr)));

  char data[] = "abcdefghijklmno";
  iovec out_iov[3] = {{data, 3}, {data + 3, 5}, {data + 8, 7}};
  GuestMmsghdr out[3];
  for (int i = 0; i < 3; ++i) {
    out[i].msg_hdr = Message(&out_iov[i], 1);
    out[i].msg_hdr.msg_flags = 0;
    out[i].msg_len = kUnset;
  }
  ASSERT_EQ(3, kelp_adaptor_sendmmsg(from.get(), out, 3, 0));
  for (const GuestMmsghdr& m : out) EXPECT_EQ(kUnset, m.msg_len) << "not copied back";

  char buf[3][16];
  iovec in_iov[4];
  GuestMmsghdr in[4];
  for (int i = 0; i < 4; ++i) {
    in_iov[i] = {buf[i % 3], sizeof(buf[0])};
    in[i].msg_hdr = Message(&in_iov[i], 1);
    in[i].msg_len = kUnset;
  }
  GuestTimespec timeout = {(1LL << 32) + 2, 0, kPad};  // narrowed to 2 s
  ASSERT_EQ(3, __recvmmsg_time64(to.get(), in, 4, MSG_WAITFORONE, &timeout));
  const uint32_t kLengths[] = {3, 5, 7};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(kLengths[i], in[i].msg_len) << i;
    EXPECT_EQ(0, in[i].msg_hdr.msg_flags) << i;
  }
  EXPECT_EQ(0, memcmp(buf[2], "ijklmno", 7));
  EXPECT_EQ(kUnset, in[3].msg_len) << "an entry the kernel did not fill keeps its value";
  EXPECT_GE(timeout.tv_sec, 0);
  EXPECT_LE(timeout.tv_sec, 2) << "remaining time, sign-extended";
  EXPECT_EQ(kPad, timeout.pad);

  errno = 0;
  GuestTimespec none = {0, 0, 0};
  EXPECT_EQ(-1, kelp_adaptor_recvmmsg(to.get(), in, 1, MSG_DONTWAIT, &none));
  EXPECT_EQ(EAGAIN, errno);
}

TEST(socket_msg, null_and_unallocatable_vectors) {
  sockaddr_in to_addr;
  Fd to(BoundUdp(&to_addr));
  FakeLogDaemon daemon;
  errno = 0;
  EXPECT_EQ(-1, kelp_adaptor_sendmmsg(to.get(), nullptr, 1, 0));
  EXPECT_EQ(EFAULT, errno);
  errno = 0;
  EXPECT_EQ(-1, kelp_adaptor_recvmmsg(to.get(), nullptr, 1, MSG_DONTWAIT, nullptr));
  EXPECT_EQ(EFAULT, errno);
  EXPECT_TRUE(daemon.Messages().empty());

  GuestMmsghdr one = {};
  EXPECT_EQ(0, kelp_adaptor_sendmmsg(to.get(), &one, 0, 0)) << "an empty vector still goes out";

  // A count no address space can hold fails like an allocation.
  constexpr unsigned kHuge = 0x08000000;
  errno = 0;
  EXPECT_EQ(-1, kelp_adaptor_sendmmsg(to.get(), &one, kHuge, 0));
  EXPECT_EQ(ENOMEM, errno);
  EXPECT_EQ(std::vector<std::string>{"sendmmsg failed to malloc"}, daemon.Messages());
  errno = 0;
  EXPECT_EQ(-1, kelp_adaptor_recvmmsg(to.get(), &one, kHuge, MSG_DONTWAIT, nullptr));
  EXPECT_EQ(EFAULT, errno) << "the host got a null vector";
  EXPECT_TRUE(daemon.Messages().empty());
}

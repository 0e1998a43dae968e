// getaddrinfo, getnameinfo and gai_strerror as a guest calls them: flag and error numbering
// checked row by row against musl's and bionic's <netdb.h>, results against the host's own
// answer to the same numeric query.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <string.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/fake_log_daemon.h"
#include "translate/netdb_guest.h"

namespace {

struct Flag {
  int musl;    // /usr/include/arm-linux-musleabihf/netdb.h
  int bionic;  // bionic's <netdb.h>
};

// AI_PASSIVE, AI_CANONNAME, AI_NUMERICHOST, AI_V4MAPPED, AI_ALL, AI_ADDRCONFIG, AI_NUMERICSERV.
const Flag kAiFlags[] = {{0x01, 0x1},   {0x02, 0x2},   {0x04, 0x4},  {0x08, 0x800},
                         {0x10, 0x100}, {0x20, 0x400}, {0x400, 0x8}};
// NI_NUMERICHOST, NI_NUMERICSERV, NI_NOFQDN, NI_NAMEREQD, NI_DGRAM.
const Flag kNiFlags[] = {{0x01, 0x2}, {0x02, 0x8}, {0x04, 0x1}, {0x08, 0x4}, {0x10, 0x10}};

// Each bionic EAI_* code (1..15, ADDRFAMILY to MAX) and what the guest sees: musl's code of that
// name. Bionic's EAI_MEMORY reaches the guest as musl's EAI_SYSTEM (-11), and the codes musl
// lacks (BADHINTS, PROTOCOL, MAX) keep their bionic values.
const int kGuestErrors[] = {-9, -3, -1, -4, -6, -11, -5, -2, -8, -7, -11, 12, 13, -12, 15};

std::string UnsupportedValue(int value) {
  char buf[160];
  snprintf(buf, sizeof(buf),
           "getaddrinfo return a unsupport value \"%d\" in musl, this value define in bionic",
           value);
  return buf;
}

GuestAddrinfo Hints(int flags, int family = AF_INET, int socktype = SOCK_STREAM) {
  GuestAddrinfo hints = {};
  hints.ai_flags = flags;
  hints.ai_family = family;
  hints.ai_socktype = socktype;
  return hints;
}

int Convert(int flags, bool to_bionic) {
  int out = 0;
  for (const Flag& flag : kAiFlags) {
    if ((flags & (to_bionic ? flag.musl : flag.bionic)) != 0) out |= to_bionic ? flag.bionic : flag.musl;
  }
  return out;
}

}  // namespace

TEST(addrinfo, flags_both_ways_and_unsupported_ones_logged) {
  FakeLogDaemon daemon;
  GuestAddrinfo* res = nullptr;
  char buf[128];
  for (const Flag& flag : kAiFlags) {
    SCOPED_TRACE(flag.musl);
    GuestAddrinfo hints = Hints(flag.musl);
    if (kelp_adaptor_getaddrinfo("127.0.0.1", "80", &hints, &res) == 0) kelp_adaptor_freeaddrinfo(res);
    EXPECT_EQ(flag.bionic, kelphost_netdb_seen_flags());
    hints = Hints(0);
    kelphost_netdb_node_flags_next(flag.bionic);
    ASSERT_EQ(0, kelp_adaptor_getaddrinfo("127.0.0.1", "80", &hints, &res));
    EXPECT_EQ(flag.musl, res->ai_flags);
    kelp_adaptor_freeaddrinfo(res);
    // Only the flags numbered alike pass without a log line.
    std::vector<std::string> expected;
    snprintf(buf, sizeof(buf), "getaddrinfo get a unsupport flag in addrinfo, your input:\"0x%x\"",
             flag.musl);
    if (flag.musl != flag.bionic) expected.push_back(buf);
    EXPECT_EQ(expected, daemon.Messages());
  }
  GuestAddrinfo hints = Hints(0x7F | 0x400 | 0x100 | 0x800);  // unknown bits are dropped
  if (kelp_adaptor_getaddrinfo("127.0.0.1", "80", &hints, &res) == 0) kelp_adaptor_freeaddrinfo(res);
  EXPECT_EQ(0xD0F, kelphost_netdb_seen_flags());
  hints = Hints(0);
  kelphost_netdb_node_flags_next(0x200);  // bionic's AI_V4MAPPED_CFG: no guest counterpart
  ASSERT_EQ(0, kelp_adaptor_getaddrinfo("127.0.0.1", "80", &hints, &res));
  EXPECT_EQ(0, res->ai_flags);
  kelp_adaptor_freeaddrinfo(res);
  EXPECT_EQ(1u, daemon.Messages().size());
  kelp_adaptor_getaddrinfo("127.0.0.1", "80", nullptr, &res);
  EXPECT_EQ(-1, kelphost_netdb_seen_flags()) << "no hints stay no hints";
  kelp_adaptor_freeaddrinfo(res);
  kelp_adaptor_freeaddrinfo(nullptr);

  sockaddr_in sin = {};
  sin.sin_family = AF_INET;
  sin.sin_port = htons(8080);
  sin.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  char host[64], serv[32];
  auto* sa = reinterpret_cast<sockaddr*>(&sin);
  for (const Flag& flag : kNiFlags) {
    kelp_adaptor_getnameinfo(sa, sizeof(sin), host, sizeof(host), serv, sizeof(serv), flag.musl);
    EXPECT_EQ(flag.bionic, kelphost_netdb_seen_flags()) << flag.musl;
  }
  kelp_adaptor_getnameinfo(sa, sizeof(sin), host, sizeof(host), serv, sizeof(serv), 0x120);
  EXPECT_EQ(0, kelphost_netdb_seen_flags()) << "unknown guest bits are dropped";
  ASSERT_EQ(0, kelp_adaptor_getnameinfo(sa, sizeof(sin), host, sizeof(host), serv, sizeof(serv),
                                        0x1 | 0x2));
  EXPECT_STREQ("127.0.0.1", host);
  EXPECT_STREQ("8080", serv);
  EXPECT_EQ(-12, kelp_adaptor_getnameinfo(sa, sizeof(sin), host, 4, nullptr, 0, 0x1));
  EXPECT_TRUE(daemon.Messages().empty());
}

TEST(addrinfo, host_errors_become_guest_codes) {
  FakeLogDaemon daemon;
  sockaddr_in sin = {};
  sin.sin_family = AF_INET;
  char host[64];
  auto check = [&](int bionic, int guest) {
    SCOPED_TRACE(bionic);
    bool logged = guest > 0;
    kelphost_netdb_fail_next(bionic);
    GuestAddrinfo hints = Hints(0);
    GuestAddrinfo* res = reinterpret_cast<GuestAddrinfo*>(0x1234);
    EXPECT_EQ(guest, kelp_adaptor_getaddrinfo("127.0.0.1", "80", &hints, &res));
    EXPECT_EQ(reinterpret_cast<GuestAddrinfo*>(0x1234), res) << "no list, no write";
    kelphost_netdb_fail_next(bionic);
    EXPECT_EQ(guest, kelp_adaptor_getnameinfo(reinterpret_cast<sockaddr*>(&sin), sizeof(sin), host,
                                              sizeof(host), nullptr, 0, 0));
    std::vector<std::string> expected;
    if (logged) expected = {UnsupportedValue(guest), UnsupportedValue(guest)};
    EXPECT_EQ(expected, daemon.Messages());
  };
  for (int i = 0; i < 15; ++i) check(i + 1, kGuestErrors[i]);
  check(16, 16);
  check(-5, -5);  // already a guest code: passed on
}

TEST(addrinfo, gai_strerror_guest_texts_and_host_codes) {
  struct Text {
    int code;
    const char* text;
  };
  // musl's EAI_* codes, BADFLAGS (-1) to OVERFLOW (-12), and codes it has no text for.
  const Text kTexts[] = {
      {-1, "Invalid flags"},      {-2, "Name does not resolve"},  {-3, "Try again"},
      {-4, "Non-recoverable error"},  {-5, "Unknown error"},
      {-6, "Unrecognized address family or invalid length"},  {-7, "Unrecognized socket type"},
      {-8, "Unrecognized service"},   {-9, "Unknown error"},   {-10, "Out of memory"},
      {-11, "System error"},      {-12, "Overflow"},           {0, "Unknown error"},
      {-13, "Unknown error"},     {-100, "Unknown error"},     {INT32_MIN, "Unknown error"},
  };
  FakeLogDaemon daemon;
  for (const Text& t : kTexts) EXPECT_STREQ(t.text, kelp_adaptor_gai_strerror(t.code)) << t.code;
  EXPECT_TRUE(daemon.Messages().empty());
  auto host_strerror = HostResolver<const char* (*)(int)>("gai_strerror");
  ASSERT_NE(nullptr, host_strerror);
  EXPECT_STREQ(host_strerror(6), kelp_adaptor_gai_strerror(6));
  EXPECT_EQ(std::vector<std::string>{"gai_strerror get a unsupport value \"6\" in musl, this value "
                                     "define in bionic"},
            daemon.Messages());
}

struct Query {
  const char* node;
  const char* service;
  int musl_flags, family, socktype;
};

// Runs the query through the adaptor and through the host and compares the lists node by node.
TEST(addrinfo, numeric_results_match_the_host_field_by_field) {
  const Query kQueries[] = {
      {"127.0.0.1", nullptr, 0, AF_UNSPEC, 0},  // one node per socket type
      {"::ffff:10.1.2.3", "53", 0x04, AF_INET6, SOCK_DGRAM},
      {nullptr, "8080", 0x01, AF_UNSPEC, SOCK_STREAM},  // AI_PASSIVE, no host
      {"127.0.0.1", "80", 0x02 | 0x04, AF_INET, 0},     // AI_CANONNAME | AI_NUMERICHOST
      {"::1", "80", 0, AF_INET, SOCK_STREAM},           // an error either way
      {"127.0.0.1", "no-such-service-kelp", 0x400, AF_INET, SOCK_STREAM},
  };
  auto host_getaddrinfo = HostResolver<decltype(&BionicGetaddrinfo)>("getaddrinfo");
  auto host_freeaddrinfo = HostResolver<decltype(&BionicFreeaddrinfo)>("freeaddrinfo");
  ASSERT_NE(nullptr, host_getaddrinfo);
  for (const Query& q : kQueries) {
    SCOPED_TRACE(std::string(q.node != nullptr ? q.node : "(null)"));
    HostAddrinfo host_hints = {};
    host_hints.ai_flags = Convert(q.musl_flags, true);
    host_hints.ai_family = q.family;
    host_hints.ai_socktype = q.socktype;
    HostAddrinfo* host = nullptr;
    int host_result = host_getaddrinfo(q.node, q.service, &host_hints, &host);
    GuestAddrinfo hints = Hints(q.musl_flags, q.family, q.socktype);
    GuestAddrinfo* guest = nullptr;
    int guest_result = kelp_adaptor_getaddrinfo(q.node, q.service, &hints, &guest);
    EXPECT_EQ(host_result > 0 ? kGuestErrors[host_result - 1] : host_result, guest_result);
    const HostAddrinfo* h = host;
    const GuestAddrinfo* g = guest;
    for (; h != nullptr && g != nullptr; h = h->ai_next, g = g->ai_next) {
      EXPECT_EQ(Convert(h->ai_flags, false), g->ai_flags);
      EXPECT_EQ(h->ai_family, g->ai_family);
      EXPECT_EQ(h->ai_socktype, g->ai_socktype);
      EXPECT_EQ(h->ai_protocol, g->ai_protocol);
      ASSERT_EQ(h->ai_addrlen, g->ai_addrlen);
      EXPECT_EQ(reinterpret_cast<const char*>(g) + 32, g->ai_addr) << "the node's own storage";
      EXPECT_EQ(0, memcmp(h->ai_addr, g->ai_addr, h->ai_addrlen));
      if (h->ai_canonname == nullptr || h->ai_canonname[0] == '\0') {
        EXPECT_EQ(nullptr, g->ai_canonname);
      } else {
        ASSERT_NE(nullptr, g->ai_canonname);
        EXPECT_STREQ(h->ai_canonname, g->ai_canonname);
        EXPECT_NE(h->ai_canonname, g->ai_canonname) << "a copy of its own";
      }
    }
    EXPECT_EQ(nullptr, h) << "the guest list is shorter than the host's";
    EXPECT_EQ(nullptr, g) << "the guest list is longer than the host's";
    if (host != nullptr) host_freeaddrinfo(host);
    kelp_adaptor_freeaddrinfo(guest);
  }
}

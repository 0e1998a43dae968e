// getaddrinfo, getnameinfo and gai_strerror as a guest calls them: flag and error numbering
// checked row by row against musl's and bionic's <netdb.h>, results against the host's own
// answer to the same numeric query.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <string.h>

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/fake_log_daemon.h"
#include "translate/netdb_guest.h"

namespace {

struct Flag {
  const char* name;
  int musl;    // /usr/include/arm-linux-musleabihf/netdb.h
  int bionic;  // bionic's <netdb.h>
};

const Flag kAiFlags[] = {
    {"AI_PASSIVE", 0x01, 0x00000001},     {"AI_CANONNAME", 0x02, 0x00000002},
    {"AI_NUMERICHOST", 0x04, 0x00000004}, {"AI_V4MAPPED", 0x08, 0x00000800},
    {"AI_ALL", 0x10, 0x00000100},         {"AI_ADDRCONFIG", 0x20, 0x00000400},
    {"AI_NUMERICSERV", 0x400, 0x00000008},
};

const Flag kNiFlags[] = {
    {"NI_NUMERICHOST", 0x01, 0x00000002}, {"NI_NUMERICSERV", 0x02, 0x00000008},
    {"NI_NOFQDN", 0x04, 0x00000001},      {"NI_NAMEREQD", 0x08, 0x00000004},
    {"NI_DGRAM", 0x10, 0x00000010},
};

struct Error {
  const char* name;
  int bionic;
  int guest;  // what the guest sees
};

// Each bionic code by name, and the musl code of that name. Two rows keep deliberate oddities:
// bionic's EAI_MEMORY reaches the guest as musl's EAI_SYSTEM (-11), and the codes musl lacks
// keep their bionic values.
const Error kErrors[] = {
    {"EAI_ADDRFAMILY", 1, -9}, {"EAI_AGAIN", 2, -3},    {"EAI_BADFLAGS", 3, -1},
    {"EAI_FAIL", 4, -4},       {"EAI_FAMILY", 5, -6},   {"EAI_MEMORY", 6, -11},
    {"EAI_NODATA", 7, -5},     {"EAI_NONAME", 8, -2},   {"EAI_SERVICE", 9, -8},
    {"EAI_SOCKTYPE", 10, -7},  {"EAI_SYSTEM", 11, -11}, {"EAI_BADHINTS", 12, 12},
    {"EAI_PROTOCOL", 13, 13},  {"EAI_OVERFLOW", 14, -12}, {"EAI_MAX", 15, 15},
};

constexpr char kUnsupportedFlag[] = "getaddrinfo get a unsupport flag in addrinfo, your input:\"";
constexpr char kUnsupportedValue[] =
    "getaddrinfo return a unsupport value \"%d\" in musl, this value define in bionic";

std::string Format(const char* fmt, int value) {
  char buf[160];
  snprintf(buf, sizeof(buf), fmt, value);
  return buf;
}

std::string Hex(int value) {
  char buf[128];
  snprintf(buf, sizeof(buf), "%s0x%x\"", kUnsupportedFlag, static_cast<unsigned>(value));
  return buf;
}

GuestAddrinfo Hints(int flags, int family = AF_INET, int socktype = SOCK_STREAM) {
  GuestAddrinfo hints = {};
  hints.ai_flags = flags;
  hints.ai_family = family;
  hints.ai_socktype = socktype;
  return hints;
}

sockaddr_in Loopback(int port) {
  sockaddr_in sin = {};
  sin.sin_family = AF_INET;
  sin.sin_port = htons(static_cast<uint16_t>(port));
  sin.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return sin;
}

}  // namespace

TEST(addrinfo, hint_flags_reach_the_host_in_its_numbering) {
  FakeLogDaemon daemon;
  for (const Flag& flag : kAiFlags) {
    SCOPED_TRACE(flag.name);
    GuestAddrinfo hints = Hints(flag.musl);
    GuestAddrinfo* res = nullptr;
    kelp_adaptor_getaddrinfo("127.0.0.1", "80", &hints, &res);
    EXPECT_EQ(flag.bionic, kelphost_netdb_seen_flags());
    kelp_adaptor_freeaddrinfo(res);
    // Only the flags numbered alike pass without a log line.
    std::vector<std::string> expected;
    if (flag.musl != flag.bionic) expected.push_back(Hex(flag.musl));
    EXPECT_EQ(expected, daemon.Messages());
  }
  int all_musl = 0, all_bionic = 0;
  for (const Flag& flag : kAiFlags) all_musl |= flag.musl, all_bionic |= flag.bionic;
  GuestAddrinfo hints = Hints(all_musl | 0x40 | 0x100 | 0x800);  // unknown bits are dropped
  GuestAddrinfo* res = nullptr;
  kelp_adaptor_getaddrinfo("127.0.0.1", "80", &hints, &res);
  EXPECT_EQ(all_bionic, kelphost_netdb_seen_flags());
  kelp_adaptor_freeaddrinfo(res);
  EXPECT_EQ(std::vector<std::string>{Hex(all_musl | 0x940)}, daemon.Messages());

  hints = Hints(0x40);
  kelp_adaptor_getaddrinfo("127.0.0.1", "80", &hints, &res);
  EXPECT_EQ(0, kelphost_netdb_seen_flags());
  kelp_adaptor_freeaddrinfo(res);
  EXPECT_EQ(std::vector<std::string>{Hex(0x40)}, daemon.Messages());

  kelp_adaptor_getaddrinfo("127.0.0.1", "80", nullptr, &res);
  EXPECT_EQ(-1, kelphost_netdb_seen_flags()) << "no hints stay no hints";
  kelp_adaptor_freeaddrinfo(res);
}

TEST(addrinfo, result_flags_come_back_in_the_guest_numbering) {
  for (const Flag& flag : kAiFlags) {
    SCOPED_TRACE(flag.name);
    kelphost_netdb_node_flags_next(flag.bionic);
    GuestAddrinfo hints = Hints(0);
    GuestAddrinfo* res = nullptr;
    ASSERT_EQ(0, kelp_adaptor_getaddrinfo("127.0.0.1", "80", &hints, &res));
    ASSERT_NE(nullptr, res);
    EXPECT_EQ(flag.musl, res->ai_flags);
    kelp_adaptor_freeaddrinfo(res);
  }
  kelphost_netdb_node_flags_next(0x200);  // bionic's AI_V4MAPPED_CFG: no guest counterpart
  GuestAddrinfo hints = Hints(0);
  GuestAddrinfo* res = nullptr;
  ASSERT_EQ(0, kelp_adaptor_getaddrinfo("127.0.0.1", "80", &hints, &res));
  EXPECT_EQ(0, res->ai_flags);
  kelp_adaptor_freeaddrinfo(res);
}

TEST(addrinfo, host_errors_become_guest_codes) {
  FakeLogDaemon daemon;
  auto check = [&](int host, int guest, bool logged) {
    SCOPED_TRACE(host);
    kelphost_netdb_fail_next(host);
    GuestAddrinfo hints = Hints(0);
    GuestAddrinfo* res = reinterpret_cast<GuestAddrinfo*>(0x1234);
    EXPECT_EQ(guest, kelp_adaptor_getaddrinfo("127.0.0.1", "80", &hints, &res));
    EXPECT_EQ(reinterpret_cast<GuestAddrinfo*>(0x1234), res) << "no list, no write";
    std::vector<std::string> expected;
    if (logged) expected.push_back(Format(kUnsupportedValue, guest));
    EXPECT_EQ(expected, daemon.Messages());
  };
  for (const Error& error : kErrors) check(error.bionic, error.guest, error.guest > 0);
  check(16, 16, true);
  check(100, 100, true);
  check(-5, -5, false);  // already a guest code: passed on
}

TEST(nameinfo, flags_and_errors) {
  FakeLogDaemon daemon;
  sockaddr_in sin = Loopback(80);
  char host[64], serv[32];
  for (const Flag& flag : kNiFlags) {
    SCOPED_TRACE(flag.name);
    kelp_adaptor_getnameinfo(reinterpret_cast<sockaddr*>(&sin), sizeof(sin), host, sizeof(host),
                             serv, sizeof(serv), flag.musl);
    EXPECT_EQ(flag.bionic, kelphost_netdb_seen_flags());
  }
  kelp_adaptor_getnameinfo(reinterpret_cast<sockaddr*>(&sin), sizeof(sin), host, sizeof(host),
                           serv, sizeof(serv), 0x100 | 0x20);
  EXPECT_EQ(0, kelphost_netdb_seen_flags()) << "unknown guest bits are dropped";
  EXPECT_TRUE(daemon.Messages().empty());

  for (const Error& error : kErrors) {
    SCOPED_TRACE(error.name);
    kelphost_netdb_fail_next(error.bionic);
    EXPECT_EQ(error.guest, kelp_adaptor_getnameinfo(reinterpret_cast<sockaddr*>(&sin),
                                                    sizeof(sin), host, sizeof(host), serv,
                                                    sizeof(serv), 0));
    std::vector<std::string> expected;
    if (error.guest > 0) expected.push_back(Format(kUnsupportedValue, error.guest));
    EXPECT_EQ(expected, daemon.Messages());
  }
  kelphost_netdb_fail_next(16);
  EXPECT_EQ(16, kelp_adaptor_getnameinfo(reinterpret_cast<sockaddr*>(&sin), sizeof(sin), host,
                                         sizeof(host), serv, sizeof(serv), 0));
  EXPECT_EQ(std::vector<std::string>{Format(kUnsupportedValue, 16)}, daemon.Messages());
}

TEST(nameinfo, numeric_loopback) {
  sockaddr_in sin = Loopback(8080);
  char host[64] = "", serv[32] = "";
  ASSERT_EQ(0, kelp_adaptor_getnameinfo(reinterpret_cast<sockaddr*>(&sin), sizeof(sin), host,
                                        sizeof(host), serv, sizeof(serv), 0x1 | 0x2));
  EXPECT_STREQ("127.0.0.1", host);
  EXPECT_STREQ("8080", serv);
  char tiny[4];
  EXPECT_EQ(-12, kelp_adaptor_getnameinfo(reinterpret_cast<sockaddr*>(&sin), sizeof(sin), tiny,
                                          sizeof(tiny), nullptr, 0, 0x1))
      << "EAI_OVERFLOW";
}

TEST(gai_strerror, guest_texts_and_host_codes) {
  struct Text {
    int code;
    const char* text;
  };
  // musl's EAI_* codes by the names of its <netdb.h>.
  const Text kTexts[] = {
      {-1, "Invalid flags"},                                   // EAI_BADFLAGS
      {-2, "Name does not resolve"},                           // EAI_NONAME
      {-3, "Try again"},                                       // EAI_AGAIN
      {-4, "Non-recoverable error"},                           // EAI_FAIL
      {-5, "Unknown error"},                                   // EAI_NODATA
      {-6, "Unrecognized address family or invalid length"},  // EAI_FAMILY
      {-7, "Unrecognized socket type"},                        // EAI_SOCKTYPE
      {-8, "Unrecognized service"},                            // EAI_SERVICE
      {-9, "Unknown error"},                                   // EAI_ADDRFAMILY
      {-10, "Out of memory"},                                  // EAI_MEMORY
      {-11, "System error"},                                   // EAI_SYSTEM
      {-12, "Overflow"},                                       // EAI_OVERFLOW
      {0, "Unknown error"},
      {-13, "Unknown error"},
      {-100, "Unknown error"},  // EAI_INPROGRESS
      {-105, "Unknown error"},  // EAI_IDN_ENCODE
      {-2147483647 - 1, "Unknown error"},
  };
  FakeLogDaemon daemon;
  for (const Text& t : kTexts) EXPECT_STREQ(t.text, kelp_adaptor_gai_strerror(t.code)) << t.code;
  EXPECT_TRUE(daemon.Messages().empty());

  auto host_strerror = HostResolver<const char* (*)(int)>("gai_strerror");
  ASSERT_NE(nullptr, host_strerror);
  for (const Error& error : kErrors) {
    EXPECT_STREQ(host_strerror(error.bionic), kelp_adaptor_gai_strerror(error.bionic));
    EXPECT_EQ(std::vector<std::string>{Format("gai_strerror get a unsupport value \"%d\" in musl, "
                                              "this value define in bionic",
                                              error.bionic)},
              daemon.Messages());
  }
}

namespace {

int BionicFlags(int musl) {
  int bionic = 0;
  for (const Flag& flag : kAiFlags) {
    if ((musl & flag.musl) != 0) bionic |= flag.bionic;
  }
  return bionic;
}

int MuslFlags(int bionic) {
  int musl = 0;
  for (const Flag& flag : kAiFlags) {
    if ((bionic & flag.bionic) != 0) musl |= flag.musl;
  }
  return musl;
}

int GuestError(int bionic) {
  for (const Error& error : kErrors) {
    if (error.bionic == bionic) return error.guest;
  }
  return bionic;
}

struct Query {
  const char* node;
  const char* service;
  int musl_flags;
  int family;
  int socktype;
};

// Runs the query through the adaptor and through the host and compares the lists node by node.
void ExpectSameAsHost(const Query& q) {
  SCOPED_TRACE(std::string(q.node != nullptr ? q.node : "(null)") + " " +
               (q.service != nullptr ? q.service : "(null)"));
  auto host_getaddrinfo = HostResolver<decltype(&BionicGetaddrinfo)>("getaddrinfo");
  auto host_freeaddrinfo = HostResolver<decltype(&BionicFreeaddrinfo)>("freeaddrinfo");
  ASSERT_NE(nullptr, host_getaddrinfo);
  HostAddrinfo host_hints = {};
  host_hints.ai_flags = BionicFlags(q.musl_flags);
  host_hints.ai_family = q.family;
  host_hints.ai_socktype = q.socktype;
  HostAddrinfo* host = nullptr;
  int host_result = host_getaddrinfo(q.node, q.service, &host_hints, &host);

  GuestAddrinfo hints = Hints(q.musl_flags, q.family, q.socktype);
  GuestAddrinfo* guest = nullptr;
  int guest_result = kelp_adaptor_getaddrinfo(q.node, q.service, &hints, &guest);
  EXPECT_EQ(GuestError(host_result), guest_result);

  int count = 0;
  const HostAddrinfo* h = host;
  const GuestAddrinfo* g = guest;
  for (; h != nullptr && g != nullptr; h = h->ai_next, g = g->ai_next, ++count) {
    SCOPED_TRACE(count);
    EXPECT_EQ(MuslFlags(h->ai_flags), g->ai_flags);
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

bool HostsFileHasLocalhost() {
  std::ifstream hosts("/etc/hosts");
  std::string line;
  while (std::getline(hosts, line)) {
    if (line.rfind("127.0.0.1", 0) == 0 && line.find("localhost") != std::string::npos) {
      return true;
    }
  }
  return false;
}

}  // namespace

TEST(addrinfo, numeric_results_match_the_host_field_by_field) {
  const Query kQueries[] = {
      {"127.0.0.1", "80", 0, AF_INET, SOCK_STREAM},
      {"127.0.0.1", nullptr, 0, AF_UNSPEC, 0},  // one node per socket type
      {"::1", "443", 0, AF_INET6, SOCK_DGRAM},
      {"::ffff:10.1.2.3", "53", 0x04, AF_INET6, SOCK_DGRAM},
      {nullptr, "8080", 0x01, AF_UNSPEC, SOCK_STREAM},  // AI_PASSIVE, no host
      {nullptr, "8080", 0, AF_INET, SOCK_STREAM},       // loopback
      {"127.0.0.1", "80", 0x02 | 0x04, AF_INET, 0},     // AI_CANONNAME | AI_NUMERICHOST
      {"127.0.0.1", "5000", 0x400, AF_INET, SOCK_STREAM},  // AI_NUMERICSERV
      {"::1", "80", 0, AF_INET, SOCK_STREAM},              // an error either way
      {"127.0.0.1", "no-such-service-kelp", 0x400, AF_INET, SOCK_STREAM},
      {nullptr, nullptr, 0, AF_UNSPEC, 0},
  };
  for (const Query& q : kQueries) ExpectSameAsHost(q);
}

TEST(addrinfo, hosts_file_name) {
  if (!HostsFileHasLocalhost()) GTEST_SKIP() << "no 127.0.0.1 localhost line in /etc/hosts";
  ExpectSameAsHost({"localhost", "22", 0x02, AF_INET, SOCK_STREAM});
}

TEST(addrinfo, freeaddrinfo_null_is_a_no_op) { kelp_adaptor_freeaddrinfo(nullptr); }

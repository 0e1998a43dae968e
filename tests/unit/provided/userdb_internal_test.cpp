// The service resolver over services-file fixtures, and the shadow line parser.
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "guest/userdb.h"
#include "provided/services.h"
#include "support/temp_dir.h"

extern "C" void kelphost_set_services_path(const char* path);
extern "C" int __parsespent(char* s, GuestSpwd* sp);

namespace {

constexpr const char kServices[] =
    "# a comment naming ftp 21/tcp\n"
    "smtp\t\t25/tcp\t\tmail\t\t# mail comment\n"
    "domain\t53/udp\n"
    "domain\t53/tcp\n"
    "www-alt 8080/tcp\n"
    "www 80/tcp\n"
    "www 80/udp\n"
    "www 81/tcp\n"
    "big 70000/tcp\n"
    "nonum none/tcp\n"
    "sctp-only 9/sctp\n";

class Services : public ::testing::Test {
 protected:
  void SetUp() override { Use(kServices); }
  void TearDown() override { kelphost_set_services_path(nullptr); }
  void Use(const std::string& text) {
    std::string path = dir_.Path("services");
    FILE* f = fopen(path.c_str(), "w");
    ASSERT_NE(nullptr, f);
    fputs(text.c_str(), f);
    fclose(f);
    kelphost_set_services_path(path.c_str());
  }
  TempDir dir_;
};

struct Lookup {
  const char* name;
  int proto, socktype, flags;
  int result;
  service first, second;
};

TEST_F(Services, ResolvesNamesAndNumbers) {
  const Lookup cases[] = {
      {nullptr, 0, 0, 0, 2, {0, 6, 1}, {0, 17, 2}},
      {"443", 0, 0, 0, 2, {443, 6, 1}, {443, 17, 2}},
      {"443", 17, 0, 0, 1, {443, 17, 2}, {}},
      {"443", 0, 1, 0, 1, {443, 6, 1}, {}},
      {"65536", 0, 0, 0, -8, {}, {}},
      {"", 0, 0, 0, -8, {}, {}},
      {"443", 17, 1, 0, -8, {}, {}},   // stream needs TCP
      {"443", 6, 2, 0, -8, {}, {}},    // datagram needs UDP
      {"443", 0, 3, 0, -8, {}, {}},    // a raw socket has no named service
      {nullptr, 0, 3, 0, 1, {0, 0, 3}, {}},
      {"smtp", 0, 0, 0, 1, {25, 6, 1}, {}},
      {"mail", 0, 0, 0, 1, {25, 6, 1}, {}},
      {"mai", 0, 0, 0, -8, {}, {}},      // a prefix of a word is no match
      {"tp", 0, 0, 0, -8, {}, {}},       // nor is its end
      {"comment", 0, 0, 0, -8, {}, {}},  // comments are cut
      {"ftp", 0, 0, 0, -8, {}, {}},
      {"domain", 0, 0, 0, 2, {53, 17, 2}, {53, 6, 1}},  // in file order
      {"domain", 6, 0, 0, 1, {53, 6, 1}, {}},
      {"www", 0, 0, 0, 2, {80, 6, 1}, {80, 17, 2}},     // two records at most
      {"www", 17, 0, 0, 1, {80, 17, 2}, {}},
      {"big", 0, 0, 0, -8, {}, {}},
      {"nonum", 0, 0, 0, -8, {}, {}},
      {"sctp-only", 0, 0, 0, -8, {}, {}},
      {"smtp", 0, 0, 0x400, -2, {}, {}},  // AI_NUMERICSERV
  };
  for (const Lookup& c : cases) {
    SCOPED_TRACE(c.name != nullptr ? c.name : "(null)");
    service buf[2] = {};
    int n = __lookup_serv(buf, c.name, c.proto, c.socktype, c.flags);
    ASSERT_EQ(c.result, n);
    const service* want[] = {&c.first, &c.second};
    for (int i = 0; i < n; ++i) {
      EXPECT_EQ(want[i]->port, buf[i].port);
      EXPECT_EQ(want[i]->proto, buf[i].proto);
      EXPECT_EQ(want[i]->socktype, buf[i].socktype);
    }
  }
}

TEST_F(Services, LongLinesAreReadInPieces) {
  std::string filler(200, 'x');
  Use("svc " + filler + " long\nlong 7/tcp\n");
  service buf[2];
  // The 200-character line's pieces hold "long" with no port after the first field.
  ASSERT_EQ(1, __lookup_serv(buf, "long", 0, 0, 0));
  EXPECT_EQ(7, buf[0].port);
}

TEST_F(Services, FileErrors) {
  service buf[2];
  std::string missing = dir_.Path("missing");
  kelphost_set_services_path(missing.c_str());
  EXPECT_EQ(-8, __lookup_serv(buf, "smtp", 0, 0, 0));
  std::string not_dir = dir_.Path("services") + "/x";
  kelphost_set_services_path(not_dir.c_str());
  EXPECT_EQ(-8, __lookup_serv(buf, "smtp", 0, 0, 0));
  std::string loop = dir_.Path("loop");
  ASSERT_EQ(0, symlink(loop.c_str(), loop.c_str()));
  kelphost_set_services_path(loop.c_str());
  EXPECT_EQ(-11, __lookup_serv(buf, "smtp", 0, 0, 0));  // any other failure is a system error
}

TEST(ShadowLine, FieldsAndRejections) {
  struct Case {
    const char* line;
    int result;
    int32_t lstchg, min, max, expire;
    uint32_t flag;
  } cases[] = {
      {"root:$6$x:19000:0:99999:7:::\n", 0, 19000, 0, 99999, -1, 0xFFFFFFFFu},
      {"u:*:1:2::4:5:6:7\n", 0, 1, 2, -1, 6, 7},
      {"u:*:12ab:x:3:4:5:6:7\n", -1, 0, 0, 0, 0, 0},  // digits then letters: no ':' follows
      {"u:*:x:3:4:5:6:7:8\n", -1, 0, 0, 0, 0, 0},    // a field that is no number
      {"u:*:1:2:3:4:5:6:7", -1, 0, 0, 0, 0, 0},      // the last field needs its newline
      {"u:*:1:2:3\n", -1, 0, 0, 0, 0, 0},
      {"nocolon\n", -1, 0, 0, 0, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    char line[64];
    strcpy(line, c.line);
    GuestSpwd sp = {};
    ASSERT_EQ(c.result, __parsespent(line, &sp));
    if (c.result != 0) continue;
    EXPECT_EQ(c.lstchg, sp.sp_lstchg);
    EXPECT_EQ(c.min, sp.sp_min);
    EXPECT_EQ(c.max, sp.sp_max);
    EXPECT_EQ(c.expire, sp.sp_expire);
    EXPECT_EQ(c.flag, sp.sp_flag);
  }
}

}  // namespace

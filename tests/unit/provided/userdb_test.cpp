// The protocol table, the service lookups, the user records and the passwd, group and shadow
// file functions, through the adaptor's exported entries.
#include <arpa/inet.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <string>

#include <gtest/gtest.h>

#include "guest/userdb.h"
#include "support/adaptor_symbol.h"
#include "support/temp_dir.h"

extern "C" {
void kelp_adaptor_setprotoent(int);
GuestProtoent* kelp_adaptor_getprotoent();
GuestProtoent* kelp_adaptor_getprotobyname(const char*);
GuestProtoent* kelp_adaptor_getprotobynumber(int);
GuestPasswd* kelp_adaptor_getpwnam(const char*);
int kelp_adaptor_getpwuid_r(uid_t, GuestPasswd*, char*, size_t, GuestPasswd**);
void kelphost_set_services_path(const char* path);
}

using ServFn = int (*)(const char*, const char*, GuestServent*, char*, size_t, GuestServent**);
using PortFn = int (*)(int, const char*, GuestServent*, char*, size_t, GuestServent**);

namespace {

TEST(Protocols, TableCursorAndLookups) {
  // The guest's protocol database, in order.
  const struct {
    int number;
    const char* name;
  } expected[] = {{0, "ip"},         {1, "icmp"},        {2, "igmp"},        {3, "ggp"},
                  {4, "ipencap"},    {5, "st"},          {6, "tcp"},         {8, "egp"},
                  {12, "pup"},       {17, "udp"},        {20, "hmp"},        {22, "xns-idp"},
                  {27, "rdp"},       {29, "iso-tp4"},    {36, "xtp"},        {37, "ddp"},
                  {38, "idpr-cmtp"}, {41, "ipv6"},       {43, "ipv6-route"}, {44, "ipv6-frag"},
                  {45, "idrp"},      {46, "rsvp"},       {47, "gre"},        {50, "esp"},
                  {51, "ah"},        {57, "skip"},       {58, "ipv6-icmp"},  {59, "ipv6-nonxt"},
                  {60, "ipv6-opts"}, {73, "rspf"},       {81, "vmtp"},       {89, "ospf"},
                  {94, "ipip"},      {98, "encap"},      {103, "pim"},       {255, "raw"}};
  kelp_adaptor_setprotoent(1);
  for (const auto& e : expected) {
    GuestProtoent* p = kelp_adaptor_getprotoent();
    ASSERT_NE(nullptr, p) << e.name;
    EXPECT_STREQ(e.name, p->p_name);
    EXPECT_EQ(e.number, p->p_proto);
    ASSERT_NE(nullptr, p->p_aliases);
    EXPECT_EQ(nullptr, p->p_aliases[0]);
  }
  EXPECT_EQ(nullptr, kelp_adaptor_getprotoent());

  ASSERT_NE(nullptr, kelp_adaptor_getprotobyname("raw"));
  EXPECT_EQ(nullptr, kelp_adaptor_getprotoent());  // the cursor stays behind the match
  ASSERT_NE(nullptr, kelp_adaptor_getprotobyname("udp"));
  EXPECT_STREQ("hmp", kelp_adaptor_getprotoent()->p_name);
  EXPECT_EQ(nullptr, kelp_adaptor_getprotobynumber(7));
  EXPECT_EQ(nullptr, kelp_adaptor_getprotobyname("nope"));
  GuestProtoent* pim = kelp_adaptor_getprotobynumber(103);
  ASSERT_NE(nullptr, pim);
  EXPECT_STREQ("pim", pim->p_name);
}

class ServiceEntries : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string path = dir_.Path("services");
    FILE* f = fopen(path.c_str(), "w");
    ASSERT_NE(nullptr, f);
    fputs("smtp 25/tcp mail\nsyslog 514/udp\n", f);
    fclose(f);
    kelphost_set_services_path(path.c_str());
  }
  void TearDown() override { kelphost_set_services_path(nullptr); }
  TempDir dir_;
};

TEST_F(ServiceEntries, ByName) {
  ADAPTOR_FN(ServFn, by_name, "getservbyname_r");
  alignas(4) char buf[64];
  GuestServent se;
  GuestServent* res = &se;
  ASSERT_EQ(0, by_name("mail", nullptr, &se, buf + 1, sizeof(buf) - 1, &res));
  EXPECT_EQ(&se, res);
  EXPECT_STREQ("mail", se.s_name);
  EXPECT_EQ(htons(25), se.s_port);
  EXPECT_STREQ("tcp", se.s_proto);
  EXPECT_EQ(reinterpret_cast<char**>(buf + 4), se.s_aliases);  // aligned up
  EXPECT_STREQ("mail", se.s_aliases[0]);
  EXPECT_EQ(nullptr, se.s_aliases[1]);
  ASSERT_EQ(0, by_name("syslog", "udp", &se, buf, sizeof(buf), &res));
  EXPECT_STREQ("udp", se.s_proto);

  struct {
    const char* name;
    const char* proto;
    size_t offset, len;
    int error;
  } failures[] = {
      {"syslog", "tcp", 0, 64, ENOENT},  {"smtp", "sctp", 0, 64, EINVAL},
      {"smtp", nullptr, 1, 10, ERANGE},  {"smtp", nullptr, 0, 7, ERANGE},
      {"absent", nullptr, 0, 64, ENOENT},
  };
  for (const auto& f : failures) {
    SCOPED_TRACE(f.name);
    res = &se;
    EXPECT_EQ(f.error, by_name(f.name, f.proto, &se, buf + f.offset, f.len, &res));
    EXPECT_EQ(nullptr, res);
  }
  // A number is no service name, and the file is not even read for it.
  kelphost_set_services_path(dir_.Path("none").c_str());
  EXPECT_EQ(ENOENT, by_name("80", nullptr, &se, buf, sizeof(buf), &res));
}

TEST(ServicePorts, ByPort) {
  ADAPTOR_FN(PortFn, by_port, "getservbyport_r");
  alignas(4) char buf[128];
  GuestServent se;
  GuestServent* res = nullptr;
  // Port 9 is "discard" in every services database, on both protocols.
  ASSERT_EQ(0, by_port(htons(9), nullptr, &se, buf, sizeof(buf), &res));
  EXPECT_EQ(&se, res);
  EXPECT_STREQ("discard", se.s_name);
  EXPECT_STREQ("tcp", se.s_proto);
  EXPECT_EQ(htons(9), se.s_port);
  EXPECT_EQ(se.s_name, se.s_aliases[0]);
  EXPECT_EQ(ENOENT, by_port(htons(64999), "tcp", &se, buf, sizeof(buf), &res));  // numeric answer
  EXPECT_EQ(nullptr, res);
  EXPECT_EQ(EINVAL, by_port(htons(9), "sctp", &se, buf, sizeof(buf), &res));
  EXPECT_EQ(ERANGE, by_port(htons(9), "tcp", &se, buf, 8, &res));
  EXPECT_EQ(ERANGE, by_port(htons(9), "tcp", &se, buf + 1, 9, &res));
}

TEST(UserRecords, PasswordAndGecosStayNull) {
  GuestPasswd* pw = kelp_adaptor_getpwnam("root");
  ASSERT_NE(nullptr, pw);
  EXPECT_STREQ("root", pw->pw_name);
  EXPECT_EQ(0u, pw->pw_uid);
  EXPECT_EQ(nullptr, pw->pw_passwd);
  EXPECT_EQ(nullptr, pw->pw_gecos);
  EXPECT_NE(nullptr, pw->pw_shell);

  char buf[1024];
  GuestPasswd r;
  memset(&r, 0, sizeof(r));
  char marker[] = "kept";
  r.pw_gecos = marker;
  GuestPasswd* res = nullptr;
  ASSERT_EQ(0, kelp_adaptor_getpwuid_r(0, &r, buf, sizeof(buf), &res));
  EXPECT_EQ(&r, res);
  EXPECT_STREQ("root", r.pw_name);
  EXPECT_STREQ(pw->pw_dir, r.pw_dir);
  EXPECT_EQ(marker, r.pw_gecos);
  EXPECT_EQ(nullptr, r.pw_passwd);
  EXPECT_EQ(ERANGE, kelp_adaptor_getpwuid_r(0, &r, buf, 4, &res));
  EXPECT_EQ(nullptr, res);
  EXPECT_EQ(0, kelp_adaptor_getpwuid_r(0, nullptr, buf, sizeof(buf), &res));
  EXPECT_EQ(nullptr, res);
}

}  // namespace

// The resolver helpers and h_errno reach the host's own; nothing here touches the network.
#include <netdb.h>
#include <stdint.h>
#include <string.h>

#include <gtest/gtest.h>

#include "support/adaptor_symbol.h"

extern "C" {
int kelp_adaptor_dn_comp(const char* src, unsigned char* dst, int dst_size,
                         unsigned char** dn_ptrs, unsigned char** last_dn_ptr);
int kelp_adaptor_dn_skipname(const unsigned char* ptr, const unsigned char* eom);
unsigned kelp_adaptor_ns_get16(const unsigned char* src);
unsigned long kelp_adaptor_ns_get32(const unsigned char* src);
void kelp_adaptor_ns_put16(unsigned src, unsigned char* dst);
void kelp_adaptor_ns_put32(unsigned long src, unsigned char* dst);
int kelp_adaptor_ns_initparse(const unsigned char* msg, int msg_size, void* handle);
int kelp_adaptor_ns_skiprr(const unsigned char* ptr, const unsigned char* eom, int section,
                           int count);
int kelp_adaptor_ns_parserr(void* handle, int section, int rr_number, void* rr);
int kelp_adaptor_ns_name_uncompress(const unsigned char* msg, const unsigned char* eom,
                                    const unsigned char* src, char* dst, size_t dst_size);
}

TEST(resolv, network_byte_order_helpers) {
  unsigned char buf[4] = {};
  kelp_adaptor_ns_put16(0x1234, buf);
  EXPECT_EQ(0x12, buf[0]);
  EXPECT_EQ(0x34, buf[1]);
  EXPECT_EQ(0x1234u, kelp_adaptor_ns_get16(buf));
  kelp_adaptor_ns_put32(0x89ABCDEFUL, buf);
  EXPECT_EQ(0x89, buf[0]);
  EXPECT_EQ(0xEF, buf[3]);
  EXPECT_EQ(0x89ABCDEFUL, kelp_adaptor_ns_get32(buf));
}

TEST(resolv, names_and_a_parsed_message) {
  // A query for www.example.com, type A, class IN: header, then one question.
  unsigned char msg[64] = {0x12, 0x34, 0x01, 0x00, 0, 1, 0, 0, 0, 0, 0, 0};
  int len = kelp_adaptor_dn_comp("www.example.com", msg + 12, sizeof(msg) - 12, nullptr,
                                 nullptr);
  ASSERT_EQ(17, len);
  unsigned char* end = msg + 12 + len;
  kelp_adaptor_ns_put16(1, end);
  kelp_adaptor_ns_put16(1, end + 2);
  end += 4;
  EXPECT_EQ(17, kelp_adaptor_dn_skipname(msg + 12, end));

  char name[64] = {};
  EXPECT_EQ(17, kelp_adaptor_ns_name_uncompress(msg, end, msg + 12, name, sizeof(name)));
  EXPECT_STREQ("www.example.com", name);

  EXPECT_EQ(21, kelp_adaptor_ns_skiprr(msg + 12, end, 0, 1));  // ns_s_qd
  alignas(8) unsigned char handle[512] = {};
  ASSERT_EQ(0, kelp_adaptor_ns_initparse(msg, static_cast<int>(end - msg), handle));
  alignas(8) unsigned char rr[2048] = {};
  EXPECT_EQ(0, kelp_adaptor_ns_parserr(handle, 0, 0, rr));
  EXPECT_STREQ("www.example.com", reinterpret_cast<char*>(rr)) << "ns_rr starts with the name";
  EXPECT_EQ(-1, kelp_adaptor_ns_initparse(msg, 5, handle));
}

TEST(resolv, h_errno_is_the_hosts_per_thread_word) {
  ADAPTOR_FN(int* (*)(), adaptor_h_errno, "__h_errno_location");
  ASSERT_NE(nullptr, adaptor_h_errno);
  EXPECT_EQ(&h_errno, adaptor_h_errno());
  h_errno = HOST_NOT_FOUND;
  EXPECT_EQ(HOST_NOT_FOUND, *adaptor_h_errno());
}

// Cookie streams driven through the stdio calls a guest makes, which on this host the stand-in
// answers for bionic-shaped streams (tests/guest/cookie.c covers the rest against musl).
#include <dlfcn.h>
#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <string>

#include <gtest/gtest.h>

#include "guest/cookie.h"
#include "support/adaptor_symbol.h"

namespace {

template <typename Fn>
Fn HostStdio(const char* name) {
  void* address = dlvsym(RTLD_DEFAULT, name, "KELPHOST_1");
  EXPECT_NE(nullptr, address) << name;
  return reinterpret_cast<Fn>(address);
}

// The stdio entries a guest binds to.
struct Stdio {
  size_t (*fread)(void*, size_t, size_t, FILE*) = HostStdio<decltype(fread)>("fread");
  size_t (*fwrite)(const void*, size_t, size_t, FILE*) = HostStdio<decltype(fwrite)>("fwrite");
  int (*fseek)(FILE*, long, int) = HostStdio<decltype(fseek)>("fseek");
  long (*ftell)(FILE*) = HostStdio<decltype(ftell)>("ftell");
  int (*fseeko64)(FILE*, int64_t, int) = HostStdio<decltype(fseeko64)>("fseeko64");
  int64_t (*ftello64)(FILE*) = HostStdio<decltype(ftello64)>("ftello64");
  int (*fflush)(FILE*) = HostStdio<decltype(fflush)>("fflush");
  int (*fclose)(FILE*) = HostStdio<decltype(fclose)>("fclose");
};

// A guest stream that stores what it is written and seeks within a size of its choosing.
struct Memory {
  std::string data;
  int64_t pos = 0, size = -1;  // size < 0: the data's
};

ssize_t MemWrite(void* c, const char* buf, size_t len) {
  auto* m = static_cast<Memory*>(c);
  m->data.append(buf, len);
  return static_cast<ssize_t>(len);
}
int MemSeek(void* c, int64_t* offset, int whence) {
  auto* m = static_cast<Memory*>(c);
  int64_t end = m->size >= 0 ? m->size : static_cast<int64_t>(m->data.size());
  m->pos = *offset = (whence == SEEK_SET ? 0 : whence == SEEK_CUR ? m->pos : end) + *offset;
  return 0;
}

class CookieStdioTest : public testing::Test {
 protected:
  FILE* Open(const char* mode) {
    FILE* f = fopencookie_(&memory_, mode, GuestCookieIoFunctions{nullptr, MemWrite, MemSeek, nullptr});
    EXPECT_NE(nullptr, f);
    return f;
  }

  FILE* (*fopencookie_)(void*, const char*, GuestCookieIoFunctions) =
      AdaptorSymbol<decltype(fopencookie_)>("fopencookie");
  Stdio io_;
  Memory memory_;
};

TEST_F(CookieStdioTest, LargeWritesKeepTheirOrder) {
  FILE* f = Open("w");
  std::string data(5000, '\0');
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>('!' + i % 89);
  EXPECT_EQ(100u, io_.fwrite(data.data(), 1, 100, f));
  EXPECT_EQ(4900u, io_.fwrite(data.data() + 100, 1, 4900, f));
  EXPECT_EQ(0, io_.fclose(f));
  EXPECT_EQ(data, memory_.data);
}

TEST_F(CookieStdioTest, PositionsPast2GiBAreNotSignExtended) {
  FILE* f = Open("r");
  memory_.size = (6LL << 30) + 16;
  EXPECT_EQ(0, io_.fseeko64(f, 0, SEEK_END));
  EXPECT_EQ((2LL << 30) + 16, io_.ftello64(f)) << "the slot's 32-bit result, unsigned";
  errno = 0;
  EXPECT_EQ(-1, io_.ftell(f));
  EXPECT_EQ(EOVERFLOW, errno);
  io_.fclose(f);
}

TEST_F(CookieStdioTest, GlibcStreamsStillGoToGlibc) {
  char buffer[64] = {};
  FILE* f = fmemopen(buffer, sizeof(buffer), "w+");
  ASSERT_NE(nullptr, f);
  EXPECT_EQ(5u, io_.fwrite("hello", 1, 5, f));
  EXPECT_EQ(0, io_.fflush(f));
  EXPECT_EQ(0, io_.fseek(f, 1, SEEK_SET));
  char got[4] = {};
  EXPECT_EQ(3u, io_.fread(got, 1, 3, f));
  EXPECT_STREQ("ell", got);
  EXPECT_EQ(0, io_.fclose(f));
}

}  // namespace

// Cookie streams driven through stdio: the adaptor's fopencookie, and the stdio calls a guest
// makes, which on this host the stand-in answers for bionic-shaped streams.
#include <dlfcn.h>
#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

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
  char* (*fgets)(char*, int, FILE*) = HostStdio<decltype(fgets)>("fgets");
  int (*fgetc)(FILE*) = HostStdio<decltype(fgetc)>("fgetc");
  int (*fprintf)(FILE*, const char*, ...) = HostStdio<decltype(fprintf)>("fprintf");
  int (*fseek)(FILE*, long, int) = HostStdio<decltype(fseek)>("fseek");
  long (*ftell)(FILE*) = HostStdio<decltype(ftell)>("ftell");
  int (*fseeko64)(FILE*, int64_t, int) = HostStdio<decltype(fseeko64)>("fseeko64");
  int64_t (*ftello64)(FILE*) = HostStdio<decltype(ftello64)>("ftello64");
  int (*fflush)(FILE*) = HostStdio<decltype(fflush)>("fflush");
  int (*fclose)(FILE*) = HostStdio<decltype(fclose)>("fclose");
  int (*feof)(FILE*) = HostStdio<decltype(feof)>("feof");
  int (*ferror)(FILE*) = HostStdio<decltype(ferror)>("ferror");
  void (*clearerr)(FILE*) = HostStdio<decltype(clearerr)>("clearerr");
};

// An in-memory guest stream with a 64-bit position; reads hand out at most `chunk` bytes.
struct Memory {
  std::string data;
  int64_t pos = 0;
  size_t chunk = SIZE_MAX;
  ssize_t read_result = 1;  // <= 0: every read returns this
  ssize_t write_result = 1;
  int64_t size_override = -1;  // the size SEEK_END sees
  std::vector<size_t> read_lengths;
  std::vector<int64_t> seek_offsets;
  int closes = 0;
};

ssize_t MemRead(void* c, char* buf, size_t len) {
  auto* m = static_cast<Memory*>(c);
  m->read_lengths.push_back(len);
  if (m->read_result <= 0) return m->read_result;
  size_t left = m->data.size() - static_cast<size_t>(m->pos);
  size_t n = std::min({len, m->chunk, left});
  memcpy(buf, m->data.data() + m->pos, n);
  m->pos += static_cast<int64_t>(n);
  return static_cast<ssize_t>(n);
}
ssize_t MemWrite(void* c, const char* buf, size_t len) {
  auto* m = static_cast<Memory*>(c);
  if (m->write_result <= 0) return m->write_result;
  m->data.replace(static_cast<size_t>(m->pos), len, buf, len);
  m->pos += static_cast<int64_t>(len);
  return static_cast<ssize_t>(len);
}
int MemSeek(void* c, int64_t* offset, int whence) {
  auto* m = static_cast<Memory*>(c);
  m->seek_offsets.push_back(*offset);
  int64_t end = m->size_override >= 0 ? m->size_override : static_cast<int64_t>(m->data.size());
  int64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? m->pos : end;
  if (base + *offset < 0) return -1;
  m->pos = *offset = base + *offset;
  return 0;
}
int MemClose(void* c) { return ++static_cast<Memory*>(c)->closes > 1 ? -1 : 0; }

const GuestCookieIoFunctions kMemoryIo = {MemRead, MemWrite, MemSeek, MemClose};

class CookieStdioTest : public testing::Test {
 protected:
  FILE* Open(const char* mode, GuestCookieIoFunctions io = kMemoryIo) {
    FILE* f = fopencookie_(&memory_, mode, io);
    EXPECT_NE(nullptr, f);
    return f;
  }
  std::string Pattern(size_t n) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>('!' + i % 89);
    return s;
  }

  FILE* (*fopencookie_)(void*, const char*, GuestCookieIoFunctions) =
      AdaptorSymbol<decltype(fopencookie_)>("fopencookie");
  Stdio io_;
  Memory memory_;
};

TEST_F(CookieStdioTest, WritesReachTheCookieOnFlushAndClose) {
  FILE* f = Open("w");
  EXPECT_EQ(10u, io_.fwrite("0123456789", 1, 10, f));
  EXPECT_EQ("", memory_.data) << "held in the stream's buffer";
  EXPECT_EQ(0, io_.fflush(f));
  EXPECT_EQ("0123456789", memory_.data);
  EXPECT_EQ(7, io_.fprintf(f, "<%d|%s>", 42, "ab"));
  std::string longer(700, 'z');
  EXPECT_EQ(702, io_.fprintf(f, "[%s]", longer.c_str()));
  EXPECT_EQ(10u, memory_.data.size());
  EXPECT_EQ(0, io_.fclose(f));
  EXPECT_EQ("0123456789<42|ab>[" + longer + "]", memory_.data);
  EXPECT_EQ(1, memory_.closes);
}

TEST_F(CookieStdioTest, LargeWritesKeepTheirOrder) {
  FILE* f = Open("w");
  std::string data = Pattern(5000);
  EXPECT_EQ(100u, io_.fwrite(data.data(), 1, 100, f));
  EXPECT_EQ(4900u, io_.fwrite(data.data() + 100, 1, 4900, f));
  EXPECT_EQ(0, io_.fclose(f));
  EXPECT_EQ(data, memory_.data);
}

TEST_F(CookieStdioTest, ReadsThroughTheTopUp) {
  memory_.data = Pattern(10000);
  memory_.chunk = 64;
  FILE* f = Open("r");
  EXPECT_EQ(memory_.data[0], io_.fgetc(f));
  // A large read goes straight to the slot; the guest fills all it is asked for, so the
  // adapter tops up the stream's own buffer and hands out its first byte.
  memory_.chunk = SIZE_MAX;
  char buf[4096];
  ASSERT_EQ(sizeof(buf), io_.fread(buf, 1, sizeof(buf), f));
  EXPECT_EQ(memory_.data.substr(1, sizeof(buf)), std::string(buf, sizeof(buf)));
  EXPECT_EQ((std::vector<size_t>{1023, 4032, 1024}), memory_.read_lengths);
  // The stream counts the handed-out byte as still buffered: the position told is one short.
  EXPECT_EQ(4096, io_.ftello64(f));
  char next[16];
  ASSERT_EQ(sizeof(next), io_.fread(next, 1, sizeof(next), f));
  EXPECT_EQ(memory_.data.substr(4097, sizeof(next)), std::string(next, sizeof(next)));
  io_.fclose(f);
}

// The host's refill reads into the stream's own buffer; when the guest fills the request there,
// the adapter's top-up reads over the same buffer. What the stream hands out starts one byte
// into the top-up's data.
TEST_F(CookieStdioTest, RefillThatTheGuestFillsIsOverwrittenByTheTopUp) {
  memory_.data = Pattern(4000);
  FILE* f = Open("r");
  EXPECT_EQ(memory_.data[1024], io_.fgetc(f));
  EXPECT_EQ((std::vector<size_t>{1023, 1024}), memory_.read_lengths);
  io_.fclose(f);
}

TEST_F(CookieStdioTest, LinesAcrossRefills) {
  std::string text;
  for (int i = 0; i < 200; ++i) text += "line " + std::to_string(i) + std::string(i % 37, '.') + "\n";
  memory_.data = text;
  memory_.chunk = 64;
  FILE* f = Open("r");
  std::string seen;
  char line[40];
  while (io_.fgets(line, sizeof(line), f) != nullptr) seen += line;
  EXPECT_EQ(text, seen);
  EXPECT_TRUE(io_.feof(f));
  EXPECT_FALSE(io_.ferror(f));
  io_.fclose(f);
}

TEST_F(CookieStdioTest, GuestResultsBecomeTheStreamsFlags) {
  struct Case {
    ssize_t read_result;
    bool eof, error;
  };
  // A failed read reaches the host's refill as 0 bytes: end of file as well.
  for (const Case& c : {Case{0, true, false}, Case{-1, true, true}}) {
    memory_ = Memory();
    memory_.read_result = c.read_result;
    FILE* f = Open("r");
    EXPECT_EQ(EOF, io_.fgetc(f));
    EXPECT_EQ(c.eof, io_.feof(f) != 0) << c.read_result;
    EXPECT_EQ(c.error, io_.ferror(f) != 0) << c.read_result;
    io_.fclose(f);
  }
  memory_ = Memory();
  memory_.write_result = -1;
  FILE* f = Open("w");
  EXPECT_EQ(3u, io_.fwrite("abc", 1, 3, f));
  EXPECT_EQ(EOF, io_.fflush(f));
  EXPECT_TRUE(io_.ferror(f));
  // The stream stays usable once the guest recovers.
  io_.clearerr(f);
  memory_.write_result = 1;
  EXPECT_EQ(3u, io_.fwrite("def", 1, 3, f));
  EXPECT_EQ(0, io_.fflush(f));
  EXPECT_EQ("def", memory_.data);
  io_.fclose(f);
}

TEST_F(CookieStdioTest, NullCallbacks) {
  FILE* f = Open("w", GuestCookieIoFunctions{});
  EXPECT_EQ(3u, io_.fwrite("abc", 1, 3, f));
  EXPECT_EQ(0, io_.fflush(f)) << "writes without a write function are discarded as written";
  errno = 0;
  EXPECT_EQ(-1, io_.fseek(f, 0, SEEK_SET));
  EXPECT_EQ(EOPNOTSUPP, errno);
  EXPECT_EQ(EOF, io_.fgetc(f));
  EXPECT_TRUE(io_.ferror(f));
  EXPECT_EQ(0, io_.fclose(f));
}

TEST_F(CookieStdioTest, SeekAndTellPast4GiB) {
  FILE* f = Open("r");
  memory_.size_override = (5LL << 30) + 100;
  EXPECT_EQ(0, io_.fseeko64(f, 0, SEEK_END));
  EXPECT_EQ((5LL << 30) + 100, memory_.pos);
  EXPECT_EQ((1LL << 30) + 100, io_.ftello64(f)) << "the slot's position is 32 bits wide";
  EXPECT_EQ(0, io_.fseeko64(f, -1, SEEK_END));
  EXPECT_EQ(-1, memory_.seek_offsets.back()) << "the offset reaches the guest sign-extended";
  memory_.size_override = (6LL << 30) + 16;
  EXPECT_EQ(0, io_.fseeko64(f, 0, SEEK_END));
  EXPECT_EQ((2LL << 30) + 16, io_.ftello64(f)) << "no sign extension of the slot's result";
  errno = 0;
  EXPECT_EQ(-1, io_.ftell(f));
  EXPECT_EQ(EOVERFLOW, errno);
  errno = 0;
  EXPECT_EQ(-1, io_.fseek(f, 0, 3));
  EXPECT_EQ(EINVAL, errno);
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

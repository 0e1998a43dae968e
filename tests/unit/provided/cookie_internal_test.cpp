// The cookie stream adapters called as the host's stdio calls them, on crafted streams, and the
// stdio core under them.
#include "provided/cookie.h"

#include <errno.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace kelp_cookie;

// The adaptor's fopencookie, linked into this test; glibc's header declares another signature.
extern "C" FILE* AdaptorFopencookie(void* cookie, const char* mode, GuestCookieIoFunctions io)
    __asm__("fopencookie");

namespace {

// The guest's side: scripted results, every call recorded. Read data bytes are 'A' + call index.
struct Script {
  std::vector<ssize_t> results;
  std::vector<size_t> lengths;
  std::string written;
  int64_t offset = 0, seek_to = 0;
  int seek_result = 0;
};
Script* g_script;

ssize_t ScriptRead(void*, char* buf, size_t len) {
  size_t call = g_script->lengths.size();
  g_script->lengths.push_back(len);
  ssize_t r = g_script->results.at(call);
  if (r > 0) memset(buf, 'A' + static_cast<int>(call), static_cast<size_t>(r));
  return r;
}
ssize_t ScriptWrite(void*, const char* buf, size_t len) {
  size_t call = g_script->lengths.size();
  g_script->lengths.push_back(len);
  ssize_t r = call < g_script->results.size() ? g_script->results[call] : static_cast<ssize_t>(len);
  if (r > 0) g_script->written.append(buf, static_cast<size_t>(r));
  return r;
}
int ScriptSeek(void*, int64_t* offset, int) {
  g_script->offset = *offset;
  if (g_script->seek_result >= 0) *offset = g_script->seek_to;
  return g_script->seek_result;
}
int ScriptClose(void*) { return -5; }

// A stream laid out as fopencookie lays it out, with the scripted callbacks.
class CookieAdapterTest : public testing::Test {
 protected:
  void SetUp() override {
    script_ = Script();
    g_script = &script_;
    memset(&stream_, 0, sizeof(stream_));
    f_ = &stream_.file;
    f_->_flags = kHostReadWrite;
    f_->_bf._base = f_->_p = stream_.buffer;
    f_->_bf._size = kCookieBufferSize;
    stream_.record = {f_, nullptr, ScriptRead, ScriptWrite, ScriptSeek, ScriptClose, {0, 0}};
  }
  void* record() { return &stream_.record; }

  Script script_;
  CookieStream stream_;
  HostFile* f_ = nullptr;
};

TEST_F(CookieAdapterTest, ReadSteps) {
  struct Case {
    const char* what;
    int buffer_size, len;
    std::vector<ssize_t> results;
    int expect;
    std::vector<size_t> lengths;  // asked of the guest
    uint16_t flags;               // added to the stream's
    int p_offset, r;              // _p - base and _r afterwards (-1: untouched)
  };
  const Case cases[] = {
      {"short read returns", 1024, 100, {40}, 40, {99}, 0, -1, -1},
      {"one short of want still returns", 1024, 100, {98}, 98, {99}, 0, -1, -1},
      {"end of file", 1024, 100, {0}, 0, {99}, kHostEof, 0, 0},
      {"error", 1024, 100, {-1}, 0, {99}, kHostError, 0, 0},
      {"full read tops up", 1024, 100, {99, 300}, 100, {99, 1024}, 0, 1, 300},
      {"top-up at end of file", 1024, 100, {99, 0}, 99, {99, 1024}, kHostEof, 0, 0},
      {"top-up error", 1024, 100, {99, -1}, 99, {99, 1024}, kHostError, 0, 0},
      {"one byte: top-up only", 1024, 1, {7}, 1, {1024}, 0, 1, 7},
      {"no buffer: the whole length, no top-up", 0, 100, {100}, 100, {100}, 0, -1, -1},
      {"no guest read function", 1024, 8, {}, 0, {}, kHostError, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    SetUp();
    if (c.results.empty()) stream_.record.read = nullptr;
    f_->_bf._size = c.buffer_size;
    f_->_p = stream_.buffer + 5;  // an earlier position, reset on every path that touches it
    f_->_r = 9;
    script_.results = c.results;
    char buf[128] = {};
    EXPECT_EQ(c.expect, cookieread(record(), buf, c.len));
    EXPECT_EQ(c.lengths, script_.lengths);
    EXPECT_EQ(kHostReadWrite | c.flags, f_->_flags);
    EXPECT_EQ(c.p_offset < 0 ? 5 : c.p_offset, f_->_p - stream_.buffer);
    EXPECT_EQ(c.r < 0 ? 9 : c.r, f_->_r);
    if (c.expect == 100 && c.lengths.size() == 2) {
      EXPECT_EQ('B', buf[99]) << "the first byte of the top-up is handed out";
      EXPECT_EQ('A', buf[98]);
    }
  }
}

TEST_F(CookieAdapterTest, WriteSteps) {
  // Pending bytes go first, through the same adapter.
  memcpy(stream_.buffer, "abc", 3);
  f_->_p = stream_.buffer + 3;
  EXPECT_EQ(2, cookiewrite(record(), "de", 2));
  EXPECT_EQ("abcde", script_.written);
  EXPECT_EQ(stream_.buffer, f_->_p);

  // Pending bytes written short: nothing more is written.
  SetUp();
  f_->_p = stream_.buffer + 3;
  script_.results = {2};
  EXPECT_EQ(0, cookiewrite(record(), "de", 2));
  EXPECT_EQ((std::vector<size_t>{3}), script_.lengths);

  // A failed guest write: error flag, no position, no room.
  SetUp();
  f_->_w = 100;
  script_.results = {-1};
  EXPECT_EQ(0, cookiewrite(record(), "de", 2));
  EXPECT_EQ(kHostReadWrite | kHostError, f_->_flags);
  EXPECT_EQ(nullptr, f_->_p);
  EXPECT_EQ(0, f_->_w);
}

TEST_F(CookieAdapterTest, SeekSteps) {
  struct Case {
    int32_t offset;
    int whence;
    int64_t seek_to;
    int seek_result;
    int32_t expect;
    int64_t guest_offset;  // as the guest saw it
  };
  const Case cases[] = {
      {-1, SEEK_END, 99, 0, 99, -1},                              // sign-extended
      {0, SEEK_CUR, 0x1'8000'0010LL, 0, INT32_MIN + 16, 0},       // low 32 bits
      {4, SEEK_CUR, 0, -7, -7, 4},                                 // failure as is
  };
  for (const Case& c : cases) {
    SetUp();
    script_.seek_to = c.seek_to;
    script_.seek_result = c.seek_result;
    EXPECT_EQ(c.expect, cookieseek(record(), c.offset, c.whence)) << c.offset;
    EXPECT_EQ(c.guest_offset, script_.offset) << c.offset;
  }
  for (int whence : {3, -1}) {
    errno = 0;
    EXPECT_EQ(-1, cookieseek(record(), 0, whence));
    EXPECT_EQ(EINVAL, errno);
  }
  EXPECT_EQ(-5, cookieclose(record()));
  stream_.record.close = nullptr;
  EXPECT_EQ(0, cookieclose(record()));
}

TEST(CookieStream, LayoutOfANewStream) {
  int cookie = 0;
  GuestCookieIoFunctions io = {ScriptRead, nullptr, ScriptSeek, ScriptClose};
  auto* block = reinterpret_cast<unsigned char*>(AdaptorFopencookie(&cookie, "r", io));
  ASSERT_NE(nullptr, block);
  auto* f = reinterpret_cast<HostFile*>(block);
  EXPECT_EQ(0xFFFF0010u, reinterpret_cast<uint32_t*>(block)[3]);
  EXPECT_EQ(block + 116, f->_bf._base);
  EXPECT_EQ(block + 116, f->_p);
  EXPECT_EQ(1024, f->_bf._size);
  EXPECT_EQ(block + 84, f->_cookie);
  EXPECT_EQ(&cookieclose, f->_close);
  EXPECT_EQ(&cookieread, f->_read);
  EXPECT_EQ(&cookieseek, f->_seek);
  EXPECT_EQ(&cookiewrite, f->_write);
  const CookieRecord record = {f, &cookie, ScriptRead, nullptr, ScriptSeek, ScriptClose, {0, 0}};
  EXPECT_EQ(0, memcmp(&record, block + 84, sizeof(record)));
  // The template's extension came along: a recursive lock.
  HostFileExt* ext = HostFileExtOf(f);
  ASSERT_NE(nullptr, ext);
  ASSERT_EQ(0, pthread_mutex_lock(&ext->_lock));
  EXPECT_EQ(0, pthread_mutex_trylock(&ext->_lock));
  pthread_mutex_unlock(&ext->_lock);
  pthread_mutex_unlock(&ext->_lock);

  for (const char* mode : {"+", "R", " w"}) {  // checked by the first character only
    errno = 0;
    EXPECT_EQ(nullptr, AdaptorFopencookie(nullptr, mode, io)) << mode;
    EXPECT_EQ(EINVAL, errno) << mode;
  }
  EXPECT_NE(nullptr, AdaptorFopencookie(nullptr, "a", io));
}

int SlotRead(void* cookie, char*, int) { return *static_cast<int*>(cookie); }

// The core under a slot other than the adapters: a slot's result alone sets the flags, and a
// free slot is taken before a new one.
TEST(StdioCore, RefillResultsBecomeFlagsAndSlotsAreReused) {
  struct Case {
    int result, expect;
    uint16_t flags;
    int r;
  };
  for (const Case& c : {Case{5, 0, kHostReading, 5}, Case{0, EOF, kHostReading | kHostEof, 0},
                        Case{-1, EOF, kHostReading | kHostError, 0}}) {
    HostFile* f = kelp_stdio::__sfp();
    ASSERT_NE(nullptr, f);
    unsigned char buffer[16];
    int result = c.result;
    f->_flags = kHostReadWrite;
    f->_bf = {buffer, sizeof(buffer)};
    f->_cookie = &result;
    f->_read = SlotRead;
    EXPECT_EQ(c.expect, kelp_stdio::__srefill(f)) << c.result;
    EXPECT_EQ(kHostReadWrite | c.flags, f->_flags) << c.result;
    EXPECT_EQ(c.r, f->_r) << c.result;
    f->_flags = 0;  // the slot is free again
  }
  HostFile* a = kelp_stdio::__sfp();
  HostFile* b = kelp_stdio::__sfp();
  ASSERT_NE(nullptr, b);
  EXPECT_NE(a->_ext._base, b->_ext._base);
  EXPECT_EQ(-1, a->_file);
  a->_r = 7;
  a->_flags = 0;
  HostFile* c = kelp_stdio::__sfp();
  EXPECT_EQ(a, c);
  EXPECT_EQ(0, c->_r);
  b->_flags = c->_flags = 0;
}

}  // namespace

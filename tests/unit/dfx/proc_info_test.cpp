// The process facts the crash handler gathers: status, time and the /proc names.
#include <string.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "support/temp_dir.h"

struct DfxProcStatus {
  int32_t tid;
  int32_t pid;
  int32_t ppid;
  bool pid_is_one;
};

extern "C" {
int GetProcStatus(DfxProcStatus* status);
uint64_t GetTimeMilliseconds();
bool ReadStringFromFile(const char* path, char* out, size_t len);
bool GetThreadName(char* out, size_t len);
bool GetProcessName(char* out, size_t len);
}

namespace {

std::string Slurp(const char* path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace

TEST(GetProcStatus, fills_ids_of_the_calling_thread) {
  DfxProcStatus status;
  memset(&status, 0x5A, sizeof(status));
  EXPECT_EQ(0, GetProcStatus(&status));
  EXPECT_EQ(getpid(), status.pid);
  EXPECT_EQ(static_cast<int32_t>(syscall(SYS_gettid)), status.tid);
  EXPECT_EQ(getppid(), status.ppid);
  EXPECT_FALSE(status.pid_is_one);
}

TEST(GetTimeMilliseconds, is_wall_clock_milliseconds) {
  timeval before, after;
  gettimeofday(&before, nullptr);
  uint64_t ms = GetTimeMilliseconds();
  gettimeofday(&after, nullptr);
  EXPECT_LE(static_cast<uint64_t>(before.tv_sec) * 1000 + before.tv_usec / 1000, ms);
  EXPECT_GE(static_cast<uint64_t>(after.tv_sec) * 1000 + after.tv_usec / 1000, ms);
}

TEST(ReadStringFromFile, takes_the_first_line_or_argument) {
  TempDir dir;
  struct Case {
    std::string content;
    size_t len;
    std::string expected;  // bytes written to the output, NUL included
  } cases[] = {
      {"comm\n", 128, std::string("comm\0", 5)},
      {std::string("prog\0arg1\0", 10), 128, std::string("prog\0", 5)},
      {"", 128, std::string("\0", 1)},
      {"\nsecond", 128, std::string("\0", 1)},
      {std::string(200, 'x'), 128, std::string(127, 'x') + '\0'},  // 127 bytes are read
      {"abcdef", 4, "abcd"},                                       // cut, not terminated
      {"ab", 3, std::string("ab\0", 3)},
  };
  for (const Case& c : cases) {
    std::string path = dir.Path("file");
    std::ofstream(path, std::ios::binary | std::ios::trunc) << c.content;
    char out[160];
    memset(out, '#', sizeof(out));
    EXPECT_TRUE(ReadStringFromFile(path.c_str(), out, c.len)) << c.content;
    EXPECT_EQ(c.expected, std::string(out, c.expected.size())) << c.content;
    EXPECT_EQ('#', out[c.expected.size()]) << c.content;
  }
  char out[8] = "keep";
  EXPECT_FALSE(ReadStringFromFile(dir.Path("missing").c_str(), out, sizeof(out)));
  EXPECT_STREQ("keep", out);
}

TEST(GetThreadName, reads_the_main_threads_comm_and_first_argument) {
  char name[128];
  ASSERT_TRUE(GetThreadName(name, sizeof(name)));
  std::string comm = Slurp("/proc/self/comm");
  EXPECT_EQ(comm.substr(0, comm.find('\n')), name);
  ASSERT_TRUE(GetProcessName(name, sizeof(name)));
  EXPECT_EQ(Slurp("/proc/self/cmdline").c_str(), std::string(name));
}

// Forwarders that rearrange their arguments, the diagnostics and the fatal-message store.
#include <errno.h>
#include <fcntl.h>
#include <malloc.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/adaptor_symbol.h"
#include "support/capture_fd.h"
#include "support/temp_dir.h"


TEST(forwarders, sched_cpualloc_rounds_to_whole_words) {
  ADAPTOR_FN(void* (*)(size_t), cpualloc, "__sched_cpualloc");
  for (auto [count, bytes] : {std::pair<size_t, size_t>{1, 4}, {32, 4}, {33, 8}, {1024, 128}}) {
    void* set = cpualloc(count);
    ASSERT_NE(nullptr, set);
    EXPECT_GE(malloc_usable_size(set), bytes) << count;
    memset(set, 0xFF, bytes);
    free(set);
  }
}

TEST(forwarders, isxdigit_l_computed_in_place) {
  ADAPTOR_FN(int (*)(int, void*), isxdigit_l, "__isxdigit_l");
  for (int c = -1; c < 256; ++c) {
    bool expected = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    EXPECT_EQ(expected, isxdigit_l(c, nullptr) != 0) << c;
  }
}

TEST(forwarders, strto_internal_drops_grouping) {
  ADAPTOR_FN(long (*)(const char*, char**, int, int), strtol_internal, "__strtol_internal");
  ADAPTOR_FN(unsigned long long (*)(const char*, char**, int, int), strtoull_internal,
             "__strtoull_internal");
  char* end = nullptr;
  EXPECT_EQ(1234, strtol_internal("1234,567", &end, 10, 1));
  EXPECT_STREQ(",567", end);
  EXPECT_EQ(0xFFFFFFFFFFULL, strtoull_internal("ffffffffff", nullptr, 16, 0));
  ADAPTOR_FN(int (*)(const wchar_t*, const wchar_t*, void*), wcscoll_l, "__wcscoll_l");
  EXPECT_LT(wcscoll_l(L"B", L"a", nullptr), 0) << "plain code-point order";
  ADAPTOR_FN(char* (*)(char*), xpg_basename, "__xpg_basename");
  char path[] = "/usr/lib/";
  EXPECT_STREQ("", xpg_basename(path));
  EXPECT_STREQ("/usr/lib/", path) << "the argument is never modified";
}

TEST(forwarders, xmknod_takes_the_low_device_word) {
  TempDir dir;
  ADAPTOR_FN(int (*)(int, const char*, mode_t, const uint64_t*), xmknod, "__xmknod");
  uint64_t device = (0xDEADBEEFULL << 32) | makedev(1, 3);
  std::string fifo = dir.Path("fifo");
  ASSERT_EQ(0, xmknod(0, fifo.c_str(), S_IFIFO | 0600, &device));
  struct stat st;
  ASSERT_EQ(0, stat(fifo.c_str(), &st));
  EXPECT_TRUE(S_ISFIFO(st.st_mode));
  std::string node = dir.Path("null");
  if (xmknod(0, node.c_str(), S_IFCHR | 0600, &device) != 0) {
    GTEST_SKIP() << "device nodes cannot be made here: " << strerror(errno);
  }
  ASSERT_EQ(0, stat(node.c_str(), &st));
  EXPECT_EQ(makedev(1, 3), st.st_rdev);
}

TEST(forwarders, eaccess_lchmod_and_explicit_bzero) {
  TempDir dir;
  ADAPTOR_FN(int (*)(const char*, int), eaccess, "eaccess");
  ADAPTOR_FN(int (*)(const char*, mode_t), lchmod, "lchmod");
  std::string file = dir.Path("f");
  close(open(file.c_str(), O_CREAT | O_WRONLY, 0644));
  EXPECT_EQ(0, eaccess(file.c_str(), R_OK));
  errno = 0;
  EXPECT_EQ(-1, eaccess(dir.Path("missing").c_str(), F_OK));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_EQ(0, lchmod(file.c_str(), 0600));
  struct stat st;
  ASSERT_EQ(0, stat(file.c_str(), &st));
  EXPECT_EQ(0600u, st.st_mode & 0777);

  ADAPTOR_FN(void (*)(void*, size_t), bzero, "explicit_bzero");
  char secret[16];
  memset(secret, 'x', sizeof(secret));
  bzero(secret + 1, 14);
  EXPECT_EQ('x', secret[0]);
  EXPECT_EQ('x', secret[15]);
  for (int i = 1; i < 15; ++i) EXPECT_EQ(0, secret[i]);
}

TEST(diagnostics, versions_environment_and_log_print) {
  ADAPTOR_FN(int (*)(), get_sdk, "get_application_target_sdk_version");
  ADAPTOR_FN(void (*)(int), set_sdk, "set_application_target_sdk_version");
  EXPECT_EQ(9999, get_sdk());
  set_sdk(31);
  EXPECT_EQ(31, get_sdk());
  set_sdk(0);
  EXPECT_EQ(9999, get_sdk());
  EXPECT_EQ(0, AdaptorSymbol<int (*)()>("get_device_api_version")());

  setenv("KELP_FRAME_TEST", "value", 1);
  ADAPTOR_FN(char* (*)(const char*), secure_getenv, "secure_getenv");
  EXPECT_STREQ("value", secure_getenv("KELP_FRAME_TEST"));

  CaptureFd capture(2);
  AdaptorSymbol<void (*)(const char*, ...)>("log_print")("%s=%d", "x", 1);
  EXPECT_EQ("x=1", capture.Text());
}

TEST(diagnostics_death, assert_fail_reports_flushes_and_aborts) {
  ADAPTOR_FN(void (*)(const char*, const char*, int, const char*), assert_fail, "__assert_fail");
  EXPECT_DEATH(
      {
        printf("pending stdout ");
        assert_fail("x > 0", "file.c", 12, "main");
      },
      "Assertion failed: x > 0 \\(file.c: main: 12\\)");
}

TEST(fatal_message, first_message_of_many_threads_wins_or_none_when_unnamed) {
  ADAPTOR_FN(void (*)(const char*), set_message, "set_fatal_message");
  ADAPTOR_FN(void* (*)(), get_message, "get_fatal_message");
  set_message(nullptr);
  EXPECT_EQ(nullptr, get_message());

  std::vector<std::string> texts;
  for (int i = 0; i < 8; ++i) texts.push_back("message from thread " + std::to_string(i));
  std::vector<std::thread> threads;
  for (const std::string& text : texts) threads.emplace_back([&] { set_message(text.c_str()); });
  for (std::thread& t : threads) t.join();

  auto* record = static_cast<const char*>(get_message());
  FILE* maps = fopen("/proc/self/maps", "r");
  char line[512];
  bool named = false;
  while (fgets(line, sizeof(line), maps) != nullptr) named |= strstr(line, "[anon:fatal message]") != nullptr;
  fclose(maps);
  if (record == nullptr) {
    EXPECT_FALSE(named);
    GTEST_SKIP() << "the kernel cannot name anonymous mappings here: nothing was stored";
  }
  uint32_t size;
  memcpy(&size, record, sizeof(size));
  std::string text(record + 4);
  EXPECT_EQ(text.size() + 5, size);
  EXPECT_NE(texts.end(), std::find(texts.begin(), texts.end(), text));
  set_message("later");
  EXPECT_EQ(record, get_message());
  EXPECT_EQ(text, std::string(record + 4));
}

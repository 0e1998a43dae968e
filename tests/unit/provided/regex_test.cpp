// Guest regular expressions: host objects boxed in word 3, the object map, flag translation and
// the log lines of null and unsupported arguments.
#include "guest/regex.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <regex.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <thread>
#include <vector>

#include "provided/mapping.h"
#include "support/fake_log_daemon.h"

extern "C" {
int kelp_adaptor_regcomp(GuestRegex*, const char*, int);
int kelp_adaptor_regexec(const GuestRegex*, const char*, size_t, GuestRegmatch*, int);
void kelp_adaptor_regfree(GuestRegex*);
size_t kelp_adaptor_regerror(int, const GuestRegex*, char*, size_t);
int kelphost_regcomp_flags();
}

namespace {

// musl's numbering, as a guest passes it.
constexpr int kGuestExtended = 1, kGuestIcase = 2, kGuestNewline = 4, kGuestNosub = 8;
constexpr int kGuestNotbol = 1;
constexpr int kGuestNomatch = 1, kGuestEparen = 8, kGuestEbrack = 7;

// The host's own functions (the stand-in for bionic), for what the host answers directly.
template <typename Fn>
Fn Host(const char* name) {
  void* address = dlvsym(RTLD_DEFAULT, name, "KELPHOST_1");
  EXPECT_NE(nullptr, address) << name;
  return reinterpret_cast<Fn>(address);
}

uint32_t MapCount() {
  pthread_mutex_lock(&g_regextMapLock);
  uint32_t count = g_regextMap.count;
  pthread_mutex_unlock(&g_regextMapLock);
  return count;
}

struct Match {
  int result;
  int so, eo;
};

Match Exec(const GuestRegex& re, const char* s, int eflags = 0) {
  GuestRegmatch m[1] = {{-7, -7}};
  int result = kelp_adaptor_regexec(&re, s, 1, m, eflags);
  return {result, m[0].rm_so, m[0].rm_eo};
}

}  // namespace

TEST(regex, compile_flags_reach_the_host_in_its_numbering) {
  struct Row {
    int guest, host;
  } rows[] = {{0x0, 0x0}, {0x1, 0x1}, {0x2, 0x2}, {0x4, 0x8},  {0x8, 0x4},
              {0xF, 0xF}, {0x5, 0x9}, {0xA, 0x6}, {0x10, 0x0}, {0x7FFFFFF0, 0x0}};
  for (const Row& row : rows) {
    GuestRegex re = {};
    ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "a", row.guest)) << row.guest;
    EXPECT_EQ(row.host, kelphost_regcomp_flags()) << "guest flags " << row.guest;
    kelp_adaptor_regfree(&re);
  }
  for (int guest = 0; guest < 256; ++guest) {
    GuestRegex re = {};
    ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "a", guest));
    int expected =
        (guest & 1 ? 1 : 0) | (guest & 2 ? 2 : 0) | (guest & 4 ? 8 : 0) | (guest & 8 ? 4 : 0);
    EXPECT_EQ(expected, kelphost_regcomp_flags()) << "guest flags " << guest;
    kelp_adaptor_regfree(&re);
  }
}

TEST(regex, compile_flags_keep_their_guest_meaning) {
  GuestRegex re = {};
  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "a+", kGuestExtended));
  EXPECT_EQ(0, Exec(re, "xaaa").result);
  EXPECT_EQ(1, Exec(re, "xaaa").so);
  EXPECT_EQ(4, Exec(re, "xaaa").eo);
  kelp_adaptor_regfree(&re);
  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "a+", 0));
  EXPECT_EQ(kGuestNomatch, Exec(re, "aaa").result) << "a basic '+' is literal";
  EXPECT_EQ(0, Exec(re, "a+").result);
  kelp_adaptor_regfree(&re);

  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "abc", kGuestIcase));
  EXPECT_EQ(0, Exec(re, "xABc").result);
  kelp_adaptor_regfree(&re);

  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "^b", kGuestNewline));
  EXPECT_EQ(0, Exec(re, "a\nb").result);
  kelp_adaptor_regfree(&re);
  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "^b", 0));
  EXPECT_EQ(kGuestNomatch, Exec(re, "a\nb").result);
  kelp_adaptor_regfree(&re);

  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "b", kGuestNosub));
  Match nosub = Exec(re, "ab");
  EXPECT_EQ(0, nosub.result);
  EXPECT_EQ(-7, nosub.so) << "no offsets are reported";
  kelp_adaptor_regfree(&re);
}

TEST(regex, results_and_execution_flags_pass_unchanged) {
  struct Row {
    const char* pattern;
    int result;
  } rows[] = {{"a(", kGuestEparen}, {"[a", kGuestEbrack}, {"(a|b)", 0}};
  for (const Row& row : rows) {
    GuestRegex re = {};
    EXPECT_EQ(row.result, kelp_adaptor_regcomp(&re, row.pattern, kGuestExtended)) << row.pattern;
    kelp_adaptor_regfree(&re);
  }
  GuestRegex re = {};
  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "^a", 0));
  EXPECT_EQ(0, Exec(re, "ab").result);
  EXPECT_EQ(kGuestNomatch, Exec(re, "ab", kGuestNotbol).result);
  kelp_adaptor_regfree(&re);
}

TEST(regex, only_word_3_of_the_guest_object_is_written) {
  GuestRegex re;
  for (uint32_t& w : re.words) w = 0xA5A5A5A5u;
  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "(a)(b)", kGuestExtended));
  for (int i = 0; i < 8; ++i) {
    if (i == kGuestRegexHostWord) continue;
    EXPECT_EQ(0xA5A5A5A5u, re.words[i]) << "word " << i;
  }
  EXPECT_NE(0xA5A5A5A5u, re.words[kGuestRegexHostWord]);
  EXPECT_EQ(0, Exec(re, "ab").result);
  uint32_t host = re.words[kGuestRegexHostWord];
  kelp_adaptor_regfree(&re);
  EXPECT_EQ(host, re.words[kGuestRegexHostWord]) << "regfree leaves word 3 alone";
}

TEST(regex, regcomp_regfree_regcomp_leaves_one_map_entry) {
  uint32_t before = MapCount();
  GuestRegex re = {};
  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "x", 0));
  EXPECT_EQ(before + 1, MapCount());
  kelp_adaptor_regfree(&re);
  EXPECT_EQ(before, MapCount());
  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "y", 0));
  EXPECT_EQ(before + 1, MapCount());
  EXPECT_EQ(0, Exec(re, "y").result) << "compiled into a fresh host object";
  EXPECT_EQ(kGuestNomatch, Exec(re, "x").result);
  kelp_adaptor_regfree(&re);
  EXPECT_EQ(before, MapCount());
}

// A failed first compilation leaves nothing behind: the guest need not regfree, and the next
// object at that address (a reused stack slot) starts afresh.
TEST(regex, a_failed_first_compilation_leaves_the_object_unmapped) {
  uint32_t before = MapCount();
  GuestRegex re = {};
  EXPECT_EQ(kGuestEparen, kelp_adaptor_regcomp(&re, "a(", kGuestExtended));
  EXPECT_EQ(before, MapCount());
  kelp_adaptor_regfree(&re);  // not needed, and harmless
  EXPECT_EQ(before, MapCount());
  re = GuestRegex{};
  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "a", 0));
  EXPECT_EQ(before + 1, MapCount());
  EXPECT_EQ(0, Exec(re, "a").result);
  kelp_adaptor_regfree(&re);
  EXPECT_EQ(before, MapCount());
}

// A mapped object compiled again goes to the address in its word 0, not to word 3 or the map's.
TEST(regex, recompiling_a_mapped_object_uses_word_0) {
  auto host_regexec =
      Host<int (*)(const regex_t*, const char*, size_t, regmatch_t*, int)>("regexec");
  auto host_regfree = Host<void (*)(regex_t*)>("regfree");
  GuestRegex re = {};
  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "first", 0));
  auto* word0 = static_cast<regex_t*>(calloc(1, sizeof(regex_t)));
  re.words[kGuestRegexNsubWord] = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(word0));
  uint32_t before = MapCount();
  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "second", 0));
  EXPECT_EQ(before, MapCount());
  EXPECT_EQ(0, host_regexec(word0, "second", 0, nullptr, 0));
  EXPECT_EQ(0, Exec(re, "first").result) << "word 3 keeps the first pattern";
  EXPECT_EQ(kGuestNomatch, Exec(re, "second").result);
  host_regfree(word0);
  free(word0);
  kelp_adaptor_regfree(&re);
}

TEST(regex, threads_compile_execute_and_free_their_own_objects) {
  uint32_t before = MapCount();
  constexpr int kThreads = 8, kRounds = 150;
  std::vector<int> failures(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &failures] {
      std::string pattern = "^t" + std::to_string(t) + "-[0-9]+$";
      std::string hit = "t" + std::to_string(t) + "-42";
      std::string miss = "t" + std::to_string(t + 1) + "-42";
      for (int round = 0; round < kRounds; ++round) {
        GuestRegex re = {};
        if (kelp_adaptor_regcomp(&re, pattern.c_str(), kGuestExtended) != 0 ||
            kelp_adaptor_regexec(&re, hit.c_str(), 0, nullptr, 0) != 0 ||
            kelp_adaptor_regexec(&re, miss.c_str(), 0, nullptr, 0) != kGuestNomatch) {
          ++failures[t];
        }
        kelp_adaptor_regfree(&re);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(0, failures[t]) << "thread " << t;
  EXPECT_EQ(before, MapCount());
}

TEST(regex, regerror_logs_0_and_minus_1_and_still_asks_the_host) {
  auto host_regerror = Host<size_t (*)(int, const regex_t*, char*, size_t)>("regerror");
  struct Row {
    int code;
    const char* log;  // null: nothing logged
  } rows[] = {{0, "eflag is 0, the value isn't supported in bionic"},
              {-1, "eflag is -1, the value isn't supported in bionic"},
              {kGuestNomatch, nullptr},
              {kGuestEparen, nullptr}};
  GuestRegex re = {};
  ASSERT_EQ(0, kelp_adaptor_regcomp(&re, "a", 0));
  for (const Row& row : rows) {
    FakeLogDaemon daemon;
    char buf[128], expected[128];
    memset(buf, 'x', sizeof(buf));
    size_t n = kelp_adaptor_regerror(row.code, &re, buf, sizeof(buf));
    EXPECT_EQ(host_regerror(row.code, nullptr, expected, sizeof(expected)), n) << row.code;
    EXPECT_STREQ(expected, buf) << row.code;
    auto records = daemon.Drain();
    if (row.log == nullptr) {
      EXPECT_TRUE(records.empty()) << row.code;
    } else {
      ASSERT_EQ(1u, records.size()) << row.code;
      EXPECT_EQ(row.log, records[0].message);
      EXPECT_EQ(5, records[0].priority);
      EXPECT_EQ("KELP_LIBC_ADAPTOR", records[0].tag);
    }
  }
  char small[5];
  size_t full = kelp_adaptor_regerror(kGuestNomatch, &re, small, sizeof(small));
  EXPECT_GT(full, sizeof(small));
  EXPECT_EQ(4u, strlen(small)) << "truncated and terminated";
  kelp_adaptor_regfree(&re);
}

TEST(regex, null_objects_are_logged_and_handed_to_the_host) {
  auto host_regexec =
      Host<int (*)(const regex_t*, const char*, size_t, regmatch_t*, int)>("regexec");
  auto host_regcomp = Host<int (*)(regex_t*, const char*, int)>("regcomp");
  auto host_regerror = Host<size_t (*)(int, const regex_t*, char*, size_t)>("regerror");
  FakeLogDaemon daemon;
  uint32_t before = MapCount();

  EXPECT_EQ(host_regexec(nullptr, "a", 0, nullptr, 0),
            kelp_adaptor_regexec(nullptr, "a", 0, nullptr, 0));
  EXPECT_EQ(host_regcomp(nullptr, "a", 0), kelp_adaptor_regcomp(nullptr, "a", 0));
  kelp_adaptor_regfree(nullptr);
  char buf[64], expected[64];
  EXPECT_EQ(host_regerror(kGuestNomatch, nullptr, expected, sizeof(expected)),
            kelp_adaptor_regerror(kGuestNomatch, nullptr, buf, sizeof(buf)));
  EXPECT_STREQ(expected, buf);
  EXPECT_EQ(before, MapCount());

  auto records = daemon.Drain();
  ASSERT_EQ(4u, records.size());
  const struct {
    const char* message;
    int priority;
  } logs[] = {{"preg is NULL in regexec", 5},
              {"preg is NULL in regcomp", 5},
              {"preg is NULL in regfree", 6},
              {"preg is NULL in regerror", 5}};
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(logs[i].message, records[i].message);
    EXPECT_EQ(logs[i].priority, records[i].priority) << logs[i].message;
  }
}

// The host's extended expressions have no back-references, like the guest's own: "\1" is "1".
TEST(regex, extended_back_references_are_literal_digits) {
  const struct {
    const char* pattern;
    int flags;
    const char* subject;
    int result;
  } rows[] = {
      {"(a)\\1", kGuestExtended, "a1", 0},
      {"(a)\\1", kGuestExtended, "aa", kGuestNomatch},
      {"[\\1]a", kGuestExtended, "\\a", 0},
      {"\\\\1", kGuestExtended, "\\1", 0},
      {"\\(a\\)\\1", 0, "aa", 0},
      {"\\(a\\)\\1", 0, "a1", kGuestNomatch},
      {"[[:digit:]\\]x", kGuestExtended, "\\x", 0},
  };
  for (const auto& row : rows) {
    GuestRegex re = {};
    ASSERT_EQ(0, kelp_adaptor_regcomp(&re, row.pattern, row.flags)) << row.pattern;
    EXPECT_EQ(row.result, Exec(re, row.subject).result) << row.pattern << " on " << row.subject;
    kelp_adaptor_regfree(&re);
  }
}

// Names musl has and bionic lacks that the adaptor implements or forwards itself: each checked
// against its standard (POSIX, C, glibc's documented ABI for glibc's compatibility names).
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <pwd.h>
#include <stdint.h>
#include <stdlib.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/adaptor_symbol.h"
#include "support/fake_log_daemon.h"
#include "support/temp_dir.h"

namespace {

// glibc's class bits (its <ctype.h>, little-endian) and the members of each class in the C
// locale, after the C standard.
struct CtypeClass {
  uint16_t bit;
  const char* members;
};
const std::string kUpper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ", kLowerLetters = "abcdefghijklmnopqrstuvwxyz";
const std::string kDigits = "0123456789", kPunct = "!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~";
const std::string kSpaces = " \t\n\v\f\r";
std::string Printable() {
  std::string s;
  for (int c = 0x20; c < 0x7F; ++c) s += static_cast<char>(c);
  return s;
}
std::string Controls() {
  std::string s(1, '\0');
  for (int c = 1; c < 0x20; ++c) s += static_cast<char>(c);
  return s + '\x7F';
}
const std::vector<std::pair<uint16_t, std::string>> kClasses = {
    {0x0100, kUpper},
    {0x0200, kLowerLetters},
    {0x0400, kUpper + kLowerLetters},
    {0x0800, kDigits},
    {0x1000, kDigits + "abcdefABCDEF"},
    {0x2000, kSpaces},
    {0x4000, Printable()},
    {0x8000, Printable().substr(1)},
    {0x0001, " \t"},
    {0x0002, Controls()},
    {0x0004, kPunct},
    {0x0008, kUpper + kLowerLetters + kDigits},
};

TEST(musl_only, ctype_tables_hold_the_c_locale_from_minus_128_to_255) {
  ADAPTOR_FN(const uint16_t** (*)(), b_loc, "__ctype_b_loc");
  ADAPTOR_FN(const int32_t** (*)(), lower_loc, "__ctype_tolower_loc");
  ADAPTOR_FN(const int32_t** (*)(), upper_loc, "__ctype_toupper_loc");
  const uint16_t* classes = *b_loc();
  const int32_t* lower = *lower_loc();
  const int32_t* upper = *upper_loc();
  for (int c = -128; c < 256; ++c) {
    SCOPED_TRACE(c);
    uint16_t expected = 0;
    for (const auto& [bit, members] : kClasses) {
      bool member = c >= 0 && c < 128 && (c == 0 ? bit == 0x0002
                                                 : members.find(static_cast<char>(c)) !=
                                                       std::string::npos);
      if (member) expected |= bit;
    }
    EXPECT_EQ(expected, classes[c]);
    bool is_upper = c >= 'A' && c <= 'Z', is_lower = c >= 'a' && c <= 'z';
    EXPECT_EQ(is_upper ? c + 32 : c, lower[c]);
    EXPECT_EQ(is_lower ? c - 32 : c, upper[c]);
  }
}

TEST(musl_only, byte_classes_under_their_l_names) {
  struct Row {
    const char* name;
    std::string members;
  };
  const Row rows[] = {{"__isalnum_l", kUpper + kLowerLetters + kDigits},
                      {"__isalpha_l", kUpper + kLowerLetters},
                      {"__isblank_l", " \t"},
                      {"__iscntrl_l", Controls().substr(1)},
                      {"__isdigit_l", kDigits},
                      {"__isgraph_l", Printable().substr(1)},
                      {"__islower_l", kLowerLetters},
                      {"__isprint_l", Printable()},
                      {"__ispunct_l", kPunct},
                      {"__isspace_l", kSpaces},
                      {"__isupper_l", kUpper}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    auto fn = AdaptorSymbol<int (*)(int, locale_t)>(row.name);
    for (int c = 1; c < 256; ++c) {
      bool member = c < 128 && row.members.find(static_cast<char>(c)) != std::string::npos;
      EXPECT_EQ(member, fn(c, LC_GLOBAL_LOCALE) != 0) << c;
    }
  }
}

TEST(musl_only, bsd_string_calls_take_their_arguments_in_bsd_order) {
  ADAPTOR_FN(void (*)(const void*, void*, size_t), bcopy, "bcopy");
  ADAPTOR_FN(void (*)(void*, size_t), bzero, "bzero");
  ADAPTOR_FN(int (*)(const void*, const void*, size_t), bcmp, "bcmp");
  ADAPTOR_FN(char* (*)(const char*, int), index, "index");
  ADAPTOR_FN(char* (*)(const char*, int), rindex, "rindex");
  ADAPTOR_FN(wchar_t* (*)(const wchar_t*, const wchar_t*), wcswcs, "wcswcs");
  char buf[] = "abcdef";
  bcopy(buf, buf + 2, 3);  // overlapping, source first
  EXPECT_STREQ("ababcf", buf);
  bzero(buf + 1, 2);
  EXPECT_EQ(0, memcmp("a\0\0bcf", buf, 7));
  EXPECT_EQ(0, bcmp("abc", "abd", 2));
  EXPECT_NE(0, bcmp("abc", "abd", 3));
  const char* s = "a/b/c";
  EXPECT_EQ(s + 1, index(s, '/'));
  EXPECT_EQ(s + 3, rindex(s, '/'));
  EXPECT_EQ(s + 5, index(s, '\0'));
  EXPECT_EQ(nullptr, rindex(s, 'x'));
  const wchar_t* w = L"haystack";
  EXPECT_EQ(w + 3, wcswcs(w, L"st"));
  EXPECT_EQ(nullptr, wcswcs(w, L"sx"));
}

TEST(musl_only, isoc99_scanf_names_pass_the_leading_arguments_and_the_format) {
  ADAPTOR_FN(int (*)(const char*, const char*, ...), sscanf_, "__isoc99_sscanf");
  ADAPTOR_FN(int (*)(const wchar_t*, const wchar_t*, ...), swscanf_, "__isoc99_swscanf");
  int a = 0, b = 0;
  char word[8] = {};
  EXPECT_EQ(3, sscanf_("12 abc 0x1f", "%d %7s %i", &a, word, &b));
  EXPECT_EQ(12, a);
  EXPECT_STREQ("abc", word);
  EXPECT_EQ(31, b);
  EXPECT_EQ(2, swscanf_(L"7 9", L"%d %d", &a, &b));
  EXPECT_EQ(7, a);
  EXPECT_EQ(9, b);
}

int CompareInts(const void* a, const void* b, void* direction) {
  int x = *static_cast<const int*>(a), y = *static_cast<const int*>(b);
  return ((x > y) - (x < y)) * *static_cast<int*>(direction);
}

// A 3-byte element: sorted by its first byte, the other two must travel with it.
int CompareTriples(const void* a, const void* b, void* calls) {
  ++*static_cast<int*>(calls);
  return *static_cast<const unsigned char*>(a) - *static_cast<const unsigned char*>(b);
}

TEST(musl_only, qsort_r_sorts_with_the_callers_argument) {
  ADAPTOR_FN(void (*)(void*, size_t, size_t, int (*)(const void*, const void*, void*), void*),
             qsort_r, "qsort_r");
  std::mt19937 random(7);
  for (size_t n : {0u, 1u, 2u, 3u, 10u, 257u, 1000u}) {
    for (int direction : {1, -1}) {
      SCOPED_TRACE(testing::Message() << n << " elements, direction " << direction);
      std::vector<int> values(n);
      for (int& v : values) v = static_cast<int>(random() % 50) - 25;  // with repeats
      std::vector<int> expected = values;
      std::sort(expected.begin(), expected.end());
      if (direction < 0) std::reverse(expected.begin(), expected.end());
      qsort_r(values.data(), n, sizeof(int), CompareInts, &direction);
      EXPECT_EQ(expected, values);
    }
  }
  unsigned char triples[] = {9, 'i', 'I', 3, 'c', 'C', 7, 'g', 'G', 1, 'a', 'A'};
  int calls = 0;
  qsort_r(triples, 4, 3, CompareTriples, &calls);
  EXPECT_EQ(0, memcmp(triples, "\1aA\3cC\7gG\11iI", 12));
  EXPECT_GT(calls, 0);
}

TEST(musl_only, radix_64_after_posix) {
  ADAPTOR_FN(long (*)(const char*), a64l, "a64l");
  ADAPTOR_FN(char* (*)(long), l64a, "l64a");
  struct Row {
    long value;
    const char* digits;  // least significant first
  };
  const Row rows[] = {{0, ""},          {1, "/"},        {2, "0"},         {11, "9"},
                      {12, "A"},        {38, "a"},       {63, "z"},        {64, "./"},
                      {4095, "zz"},     {4096, "../"},   {-1, "zzzzz1"},   {0x7FFFFFFF, "zzzzz/"},
                      {123456789, "JowK5"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.value);
    EXPECT_STREQ(row.digits, l64a(row.value));
    EXPECT_EQ(row.value, a64l(row.digits));
  }
  EXPECT_EQ(1, a64l("/!ignored"));     // stops at the first non-digit
  EXPECT_EQ(-1, a64l("zzzzz1zzz"));    // at most six digits
}

TEST(musl_only, xpg_strerror_r_reports_a_short_buffer) {
  ADAPTOR_FN(int (*)(int, char*, size_t), xpg_strerror_r, "__xpg_strerror_r");
  const std::string message = strerror(ENOENT);
  char buf[256];
  errno = 1234;
  EXPECT_EQ(0, xpg_strerror_r(ENOENT, buf, sizeof buf));
  EXPECT_EQ(message, buf);
  EXPECT_EQ(ERANGE, xpg_strerror_r(ENOENT, buf, 5));
  EXPECT_EQ(message.substr(0, 4), buf);
  EXPECT_EQ(ERANGE, xpg_strerror_r(ENOENT, buf, message.size()));
  EXPECT_EQ(0, xpg_strerror_r(ENOENT, buf, message.size() + 1));
  EXPECT_EQ(1234, errno);
}

TEST(musl_only, confstr_by_name) {
  ADAPTOR_FN(size_t (*)(int, char*, size_t), confstr, "confstr");
  const std::string path =
      "/product/bin:/apex/com.android.runtime/bin:/apex/com.android.art/bin:/system_ext/bin:"
      "/system/bin:/system/xbin:/odm/bin:/vendor/bin:/vendor/xbin";  // bionic's _PATH_DEFPATH
  char buf[512];
  EXPECT_EQ(path.size() + 1, confstr(0, buf, sizeof buf));
  EXPECT_EQ(path, buf);
  EXPECT_EQ(path.size() + 1, confstr(0, buf, 8));
  EXPECT_STREQ("/produc", buf);
  EXPECT_EQ(path.size() + 1, confstr(0, nullptr, 0));
  for (int name : {1, 5, 1116, 1149}) {
    buf[0] = 'x';
    EXPECT_EQ(1u, confstr(name, buf, sizeof buf)) << name;
    EXPECT_STREQ("", buf);
  }
  for (int name : {2, 3, 4, 6, 1115, 1150, -1}) {
    errno = 0;
    EXPECT_EQ(0u, confstr(name, buf, sizeof buf)) << name;
    EXPECT_EQ(EINVAL, errno) << name;
  }
}

// Puts the file size limit back when the scope ends.
class FsizeRestorer {
 public:
  FsizeRestorer() { getrlimit(RLIMIT_FSIZE, &saved_); }
  ~FsizeRestorer() { setrlimit(RLIMIT_FSIZE, &saved_); }

 private:
  rlimit saved_;
};

TEST(musl_only, ulimit_reads_and_sets_the_file_size_limit_in_blocks) {
  ADAPTOR_FN(long (*)(int, ...), ulimit, "ulimit");
  FsizeRestorer restorer;
  rlimit now;
  ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &now));
  long expected = now.rlim_cur == RLIM_INFINITY ? LONG_MAX : static_cast<long>(now.rlim_cur / 512);
  EXPECT_EQ(expected, ulimit(1));
  EXPECT_EQ(1000, ulimit(2, 1000L));
  ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &now));
  EXPECT_EQ(512000u, now.rlim_cur);
  EXPECT_EQ(1000, ulimit(1));
  errno = 0;
  EXPECT_EQ(-1, ulimit(2, -1L));
  EXPECT_EQ(EINVAL, errno);
  errno = 0;
  EXPECT_EQ(-1, ulimit(3));
  EXPECT_EQ(EINVAL, errno);
}

TEST(musl_only, ualarm_answers_the_previous_timer_in_microseconds) {
  ADAPTOR_FN(useconds_t (*)(useconds_t, useconds_t), ualarm, "ualarm");
  EXPECT_EQ(0u, ualarm(3500000, 0));  // past one second: both fields carry
  useconds_t left = ualarm(0, 0);
  EXPECT_GT(left, 2500000u);
  EXPECT_LE(left, 3500000u);
  EXPECT_EQ(0u, ualarm(0, 0));
}

std::string ReadFile(const std::string& path) {
  std::string data;
  FILE* f = fopen(path.c_str(), "r");
  if (f == nullptr) return "<none>";
  char buf[256];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, f)) > 0) data.append(buf, n);
  fclose(f);
  return data;
}

TEST(musl_only, copy_file_range_with_and_without_offsets) {
  ADAPTOR_FN(ssize_t (*)(int, int64_t*, int, int64_t*, size_t, unsigned), copy, "copy_file_range");
  TempDir dir;
  std::string source(40000, '\0');
  for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<char>('a' + i % 26);
  FILE* f = fopen(dir.Path("in").c_str(), "w");
  fwrite(source.data(), 1, source.size(), f);
  fclose(f);
  int in = open(dir.Path("in").c_str(), O_RDONLY);
  int out = open(dir.Path("out").c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_GE(in, 0);
  ASSERT_GE(out, 0);

  int64_t off_in = 100, off_out = 0;
  EXPECT_EQ(30000, copy(in, &off_in, out, &off_out, 30000, 0));  // more than one chunk
  EXPECT_EQ(30100, off_in);
  EXPECT_EQ(30000, off_out);
  EXPECT_EQ(0, lseek(in, 0, SEEK_CUR));  // the descriptors' own offsets stay
  EXPECT_EQ(0, lseek(out, 0, SEEK_CUR));

  ASSERT_EQ(39990, lseek(in, 39990, SEEK_SET));
  ASSERT_EQ(30000, lseek(out, 30000, SEEK_SET));
  EXPECT_EQ(10, copy(in, nullptr, out, nullptr, 500, 0));  // short at the end of the source
  EXPECT_EQ(40000, lseek(in, 0, SEEK_CUR));
  EXPECT_EQ(30010, lseek(out, 0, SEEK_CUR));
  EXPECT_EQ(0, copy(in, nullptr, out, nullptr, 500, 0));
  EXPECT_EQ(source.substr(100, 30000) + source.substr(39990), ReadFile(dir.Path("out")));

  errno = 0;
  EXPECT_EQ(-1, copy(in, nullptr, out, nullptr, 10, 1));
  EXPECT_EQ(EINVAL, errno);
  int64_t a = 0, b = 5;
  errno = 0;
  EXPECT_EQ(-1, copy(out, &a, out, &b, 10, 0));  // overlapping within one file
  EXPECT_EQ(EINVAL, errno);
  b = 10;
  EXPECT_EQ(10, copy(out, &a, out, &b, 10, 0));
  errno = 0;
  EXPECT_EQ(-1, copy(-1, nullptr, out, nullptr, 10, 0));
  EXPECT_EQ(EBADF, errno);
  close(in);
  close(out);
}

TEST(musl_only, addmntent_appends_one_escaped_line) {
  struct Mntent {
    const char *fsname, *dir, *type, *opts;
    int freq, passno;
  };
  ADAPTOR_FN(int (*)(FILE*, const Mntent*), addmntent, "addmntent");
  TempDir dir;
  FILE* f = fopen(dir.Path("fstab").c_str(), "w+");
  fputs("first line\n", f);
  rewind(f);
  Mntent entry = {"/dev/a b", "/mnt/x\ty", "ext4", "rw,a\\b", 1, 2};
  EXPECT_EQ(0, addmntent(f, &entry));
  fclose(f);
  EXPECT_EQ("first line\n/dev/a\\040b /mnt/x\\011y ext4 rw,a\\134b 1 2\n",
            ReadFile(dir.Path("fstab")));
}

TEST(musl_only, getw_reads_one_word) {
  ADAPTOR_FN(int (*)(FILE*), getw, "getw");
  TempDir dir;
  FILE* f = fopen(dir.Path("words").c_str(), "w+");
  int words[] = {0x12345678, -2};
  fwrite(words, sizeof words, 1, f);
  fputc('x', f);
  rewind(f);
  EXPECT_EQ(0x12345678, getw(f));
  EXPECT_EQ(-2, getw(f));
  EXPECT_EQ(EOF, getw(f));  // one byte left: no whole word
  fclose(f);
}

TEST(musl_only, descriptors_that_are_no_streams_sockets_or_terminals) {
  ADAPTOR_FN(int (*)(int), isastream, "isastream");
  ADAPTOR_FN(int (*)(int, int), posix_close, "posix_close");
  ADAPTOR_FN(int (*)(int), sockatmark, "sockatmark");
  ADAPTOR_FN(int (*)(int, void*), tcgetwinsize, "tcgetwinsize");
  int fds[2];
  ASSERT_EQ(0, pipe(fds));
  EXPECT_EQ(0, isastream(fds[0]));
  errno = 0;
  EXPECT_EQ(-1, sockatmark(fds[0]));
  EXPECT_NE(0, errno);
  unsigned short size[4];
  errno = 0;
  EXPECT_EQ(-1, tcgetwinsize(fds[0], size));
  EXPECT_EQ(ENOTTY, errno);
  EXPECT_EQ(0, posix_close(fds[0], 0));
  EXPECT_EQ(0, posix_close(fds[1], 0));
  errno = 0;
  EXPECT_EQ(-1, isastream(fds[0]));
  EXPECT_EQ(EBADF, errno);
  errno = 0;
  EXPECT_EQ(-1, posix_close(fds[0], 0));
  EXPECT_EQ(EBADF, errno);
}

TEST(musl_only, robust_mutex_attributes_stay_stalled) {
  FakeLogDaemon daemon;
  ADAPTOR_FN(int (*)(const void*, int*), getrobust, "pthread_mutexattr_getrobust");
  ADAPTOR_FN(int (*)(void*, int), setrobust, "pthread_mutexattr_setrobust");
  ADAPTOR_FN(int (*)(void*), consistent, "pthread_mutex_consistent");
  unsigned attr = 0, mutex[6] = {};
  int robust = 7;
  EXPECT_EQ(0, setrobust(&attr, 0));
  EXPECT_EQ(0, getrobust(&attr, &robust));
  EXPECT_EQ(0, robust);
  EXPECT_EQ(22, setrobust(&attr, 2));
  EXPECT_TRUE(daemon.Messages().empty());
  EXPECT_EQ(95, setrobust(&attr, 1));
  EXPECT_EQ(1u, daemon.Messages().size());
  EXPECT_EQ(22, consistent(mutex));
}

TEST(musl_only, unsupported_names_log_once_and_fail_with_their_error) {
  struct Row {
    const char* name;
    const char* message;
    int error;
  };
  const Row rows[] = {
      {"aio_read", "aio_read unsupported api.", ENOSYS},
      {"aio_write", "aio_write unsupported api.", ENOSYS},
      {"aio_fsync", "aio_fsync unsupported api.", ENOSYS},
      {"aio_error", "aio_error unsupported api.", ENOSYS},
      {"aio_return", "aio_return unsupported api.", ENOSYS},
      {"aio_cancel", "aio_cancel unsupported api.", ENOSYS},
      {"__aio_suspend_time64", "aio_suspend unsupported api.", ENOSYS},
      {"lio_listio", "lio_listio unsupported api.", ENOSYS},
      {"__mq_timedsend_time64", "mq_timedsend unsupported api.", ENOSYS},
      {"__mq_timedreceive_time64", "mq_timedreceive unsupported api.", ENOSYS},
      {"fanotify_init", "fanotify_init unsupported api.", ENOSYS},
      {"fanotify_mark", "fanotify_mark unsupported api.", ENOSYS},
      {"name_to_handle_at", "name_to_handle_at unsupported api.", ENOSYS},
      {"open_by_handle_at", "open_by_handle_at unsupported api.", ENOSYS},
      {"remap_file_pages", "remap_file_pages unsupported api.", ENOSYS},
      {"pivot_root", "pivot_root unsupported api.", EPERM},
  };
  FakeLogDaemon daemon;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    auto fn = AdaptorSymbol<long (*)(long, long, long, long)>(row.name);
    errno = 0;
    EXPECT_EQ(-1, fn(1, 2, 3, 4));
    EXPECT_EQ(row.error, errno);
    auto records = daemon.Drain();
    ASSERT_EQ(1u, records.size());
    EXPECT_EQ(6, records[0].priority);
    EXPECT_EQ(row.message, records[0].message);
  }
}

TEST(musl_only, resolver_state_and_flag_table) {
  ADAPTOR_FN(void* (*)(), res_state, "__res_state");
  EXPECT_NE(nullptr, res_state());
  EXPECT_EQ(res_state(), res_state());
  const auto* flags = static_cast<const int*>(AdaptorSymbolAddress("_ns_flagdata"));
  ASSERT_NE(nullptr, flags);
  // qr, opcode, aa, tc, rd, ra, z, ad, cd, rcode: the DNS header's fields (RFC 1035, 2535).
  const int expected[][2] = {{0x8000, 15}, {0x7800, 11}, {0x0400, 10}, {0x0200, 9}, {0x0100, 8},
                             {0x0080, 7},  {0x0040, 6},  {0x0020, 5},  {0x0010, 4}, {0x000f, 0}};
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(expected[i][0], flags[2 * i]) << i;
    EXPECT_EQ(expected[i][1], flags[2 * i + 1]) << i;
  }
}

// Puts the working directory and $PWD back when the scope ends.
class CwdRestorer {
 public:
  CwdRestorer() : cwd_(getcwd(nullptr, 0)) {
    const char* pwd = getenv("PWD");
    had_pwd_ = pwd != nullptr;
    if (had_pwd_) pwd_ = pwd;
  }
  ~CwdRestorer() {
    EXPECT_EQ(0, chdir(cwd_));
    free(cwd_);
    if (had_pwd_) {
      setenv("PWD", pwd_.c_str(), 1);
    } else {
      unsetenv("PWD");
    }
  }

 private:
  char* cwd_;
  bool had_pwd_;
  std::string pwd_;
};

TEST(musl_only, get_current_dir_name_prefers_a_pwd_that_names_the_directory) {
  ADAPTOR_FN(char* (*)(), get_current_dir_name, "get_current_dir_name");
  CwdRestorer restorer;
  TempDir dir;
  ASSERT_EQ(0, mkdir(dir.Path("real").c_str(), 0700));
  ASSERT_EQ(0, symlink("real", dir.Path("link").c_str()));
  ASSERT_EQ(0, chdir(dir.Path("link").c_str()));
  char* physical = getcwd(nullptr, 0);
  struct Row {
    std::string pwd;  // empty: unset
    std::string expected;
  };
  const Row rows[] = {{dir.Path("link"), dir.Path("link")},
                      {"", physical},
                      {dir.path(), physical},  // another directory
                      {"link", physical},      // not absolute
                      {dir.Path("missing"), physical}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.pwd);
    if (row.pwd.empty()) {
      unsetenv("PWD");
    } else {
      setenv("PWD", row.pwd.c_str(), 1);
    }
    char* name = get_current_dir_name();
    ASSERT_NE(nullptr, name);
    EXPECT_EQ(row.expected, name);
    free(name);
  }
  free(physical);
}

TEST(musl_only, cuserid_names_the_effective_user) {
  ADAPTOR_FN(char* (*)(char*), cuserid, "cuserid");
  std::string expected = getpwuid(geteuid())->pw_name;
  expected = expected.substr(0, 19);
  char buf[20] = "junk";
  EXPECT_EQ(buf, cuserid(buf));
  EXPECT_EQ(expected, buf);
  char* own = cuserid(nullptr);
  ASSERT_NE(nullptr, own);
  EXPECT_EQ(expected, own);
}

// The read buffer of one of the adaptor's own streams (the host's stream record), read through
// the stdio calls a guest binds to.
struct MemorySource {
  std::string data;
  size_t pos = 0;
};
ssize_t MemoryRead(void* cookie, char* buf, size_t len) {
  auto* m = static_cast<MemorySource*>(cookie);
  size_t n = std::min(len, m->data.size() - m->pos);
  memcpy(buf, m->data.data() + m->pos, n);
  m->pos += n;
  return static_cast<ssize_t>(n);
}

TEST(musl_only, read_buffer_access_on_the_hosts_stream_record) {
  struct Io {
    ssize_t (*read)(void*, char*, size_t);
    void* write;
    void* seek;
    void* close;
  };
  ADAPTOR_FN(FILE* (*)(void*, const char*, Io), fopencookie_, "fopencookie");
  ADAPTOR_FN(size_t (*)(FILE*), freadahead, "__freadahead");
  ADAPTOR_FN(const char* (*)(FILE*, size_t*), freadptr, "__freadptr");
  ADAPTOR_FN(void (*)(FILE*, size_t), freadptrinc, "__freadptrinc");
  auto fgetc_ = reinterpret_cast<int (*)(FILE*)>(dlvsym(RTLD_DEFAULT, "fgetc", "KELPHOST_1"));
  auto fclose_ = reinterpret_cast<int (*)(FILE*)>(dlvsym(RTLD_DEFAULT, "fclose", "KELPHOST_1"));
  ASSERT_NE(nullptr, fgetc_);
  MemorySource source{"0123456789", 0};
  FILE* f = fopencookie_(&source, "r", Io{MemoryRead, nullptr, nullptr, nullptr});
  ASSERT_NE(nullptr, f);
  size_t size = 99;
  EXPECT_EQ(0u, freadahead(f));  // nothing read yet
  EXPECT_EQ(nullptr, freadptr(f, &size));
  EXPECT_EQ('0', fgetc_(f));
  EXPECT_EQ(9u, freadahead(f));
  const char* next = freadptr(f, &size);
  ASSERT_NE(nullptr, next);
  EXPECT_EQ(9u, size);
  EXPECT_EQ("123456789", std::string(next, size));
  freadptrinc(f, 4);
  EXPECT_EQ(5u, freadahead(f));
  EXPECT_EQ('5', fgetc_(f));
  freadptrinc(f, 4);
  EXPECT_EQ(0u, freadahead(f));
  EXPECT_EQ(nullptr, freadptr(f, &size));
  EXPECT_EQ(EOF, fgetc_(f));
  fclose_(f);
}

}  // namespace


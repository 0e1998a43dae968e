// The async-safe formatter and log writer.
#include "async_safe/log.h"

#include <errno.h>
#include <string.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "support/capture_fd.h"
#include "support/fake_log_daemon.h"

extern "C" const char* kelphost_abort_message();

namespace {

template <typename... Args>
std::string Format(int* result, const char* fmt, Args... args) {
  char buffer[128];
  memset(buffer, '#', sizeof(buffer));
  *result = async_safe_format_buffer(buffer, sizeof(buffer), fmt, args...);
  return buffer;
}

#define EXPECT_FORMAT(expected, ...)                          \
  do {                                                        \
    int result;                                               \
    std::string text = Format(&result, __VA_ARGS__);          \
    EXPECT_EQ(expected, text) << #__VA_ARGS__;                \
    EXPECT_EQ(static_cast<int>(strlen(expected)), result) << #__VA_ARGS__; \
  } while (0)

}  // namespace

#pragma GCC diagnostic ignored "-Wformat"
#pragma GCC diagnostic ignored "-Wformat-extra-args"
#pragma GCC diagnostic ignored "-Wformat-overflow"

TEST(async_safe_format_buffer, conversions_and_padding) {
  EXPECT_FORMAT("   42", "%5d", 42);
  EXPECT_FORMAT("42   |", "%-5d|", 42);
  EXPECT_FORMAT("00042", "%05d", 42);
  EXPECT_FORMAT("00-42", "%05d", -42);   // the fill goes before the whole text, sign included
  EXPECT_FORMAT("42000|", "%-05d|", 42);  // left-aligned zero padding fills on the right
  EXPECT_FORMAT("            -7", "%14d", -7);  // fill sent in pieces of eight
  EXPECT_FORMAT("-10", "%o", -8);         // octal is signed
  EXPECT_FORMAT("0x1f", "%p", reinterpret_cast<void*>(31));
  EXPECT_FORMAT("  0x1f", "%6p", reinterpret_cast<void*>(31));
  EXPECT_FORMAT("(null)", "%s", static_cast<const char*>(nullptr));
  EXPECT_FORMAT("ab  |", "%-4s|", "ab");
  EXPECT_FORMAT("x", "%c", 'x');
  EXPECT_FORMAT("ff FF 4294967295", "%x %X %u", 255, 255, -1);
  EXPECT_FORMAT("-1 255 1 -32768", "%hhd %hhu %hu %hd", 255, 255, 65537, 32768);
  EXPECT_FORMAT("100%", "100%%");
  EXPECT_FORMAT("abc%", "abc%");
  EXPECT_FORMAT("abc%", "abc%-");
  EXPECT_FORMAT("12 34", "%zu %ld", static_cast<size_t>(12), 34L);
}

TEST(async_safe_format_buffer, eight_byte_arguments) {
  EXPECT_FORMAT("1099511627776", "%lld", 1LL << 40);
  EXPECT_FORMAT("-9223372036854775808", "%lld", static_cast<long long>(1ULL << 63));
  EXPECT_FORMAT("18446744073709551615", "%llu", ~0ULL);
  // An 8-byte argument after a 4-byte one sits at the next 8-byte boundary.
  EXPECT_FORMAT("1 8589934592 7", "%d %lld %d", 1, 1LL << 33, 7);
  EXPECT_FORMAT("ffffffffff x", "%llx %s", 0xFFFFFFFFFFULL, "x");
  EXPECT_FORMAT("4294967296 1000000000000000000", "%llu %llu", 1ULL << 32, 1000000000000000000ULL);
  EXPECT_FORMAT("777777777777777777777", "%llo", static_cast<long long>(~0ULL >> 1));
}

TEST(async_safe_format_buffer, small_buffers) {
  char buffer[8];
  memset(buffer, '#', sizeof(buffer));
  EXPECT_EQ(6, async_safe_format_buffer(buffer, 4, "%s", "abcdef"));
  EXPECT_STREQ("abc", buffer);
  EXPECT_EQ('#', buffer[4]);

  memset(buffer, '#', sizeof(buffer));
  EXPECT_EQ(6, async_safe_format_buffer(buffer, 0, "%s", "abcdef"));
  EXPECT_EQ('#', buffer[0]);

  EXPECT_EQ(6, async_safe_format_buffer(buffer, 1, "%s", "abcdef"));
  EXPECT_EQ('\0', buffer[0]);
}

TEST(async_safe_format_buffer_death, unsupported_directives_stop_the_process) {
  char buffer[32];
  const char* precision =
      "bionic/libc/async_safe/async_safe_log:406: assertion \"sign/precision unsupported\" failed";
  const char* conversion =
      "bionic/libc/async_safe/async_safe_log:397: assertion \"conversion specifier unsupported\" "
      "failed";
  EXPECT_DEATH(async_safe_format_buffer(buffer, sizeof(buffer), "%.2d", 1), precision);
  EXPECT_DEATH(async_safe_format_buffer(buffer, sizeof(buffer), "%+d", 1), precision);
  EXPECT_DEATH(async_safe_format_buffer(buffer, sizeof(buffer), "% d", 1), precision);
  EXPECT_DEATH(async_safe_format_buffer(buffer, sizeof(buffer), "%f", 1.0), conversion);
  EXPECT_DEATH(async_safe_format_buffer(buffer, sizeof(buffer), "%m"), conversion);
  EXPECT_DEATH(async_safe_format_buffer(buffer, sizeof(buffer), "%jd", 1), conversion);
}

TEST(async_safe_format_fd, writes_everything_and_counts_it) {
  CaptureFd capture(2);
  EXPECT_EQ(10, async_safe_format_fd(2, "%s=%04x", "value", 0xbe));
  EXPECT_EQ("value=00be", capture.Text().substr(0, 10));
}

TEST(async_safe_format_log, record_reaches_the_daemon_byte_for_byte) {
  FakeLogDaemon daemon;
  struct timespec before;
  clock_gettime(CLOCK_REALTIME, &before);
  errno = 1234;
  int written = async_safe_format_log(6, "KELP_LIBC_ADAPTOR", "%s %d", "x", 5);
  EXPECT_EQ(1234, errno);

  auto records = daemon.Drain();
  ASSERT_EQ(1u, records.size());
  const LogRecord& r = records[0];
  std::string expected_tail = std::string("\x06KELP_LIBC_ADAPTOR\0x 5\0", 23);
  EXPECT_EQ(static_cast<int>(r.raw.size()), written);
  EXPECT_EQ(11u + expected_tail.size(), r.raw.size());
  EXPECT_EQ(expected_tail, r.raw.substr(11));
  EXPECT_EQ(0, r.log_id);
  EXPECT_EQ(static_cast<uint16_t>(syscall(SYS_gettid)), r.tid);
  EXPECT_LE(static_cast<uint32_t>(before.tv_sec), r.sec);
  EXPECT_GE(static_cast<uint32_t>(before.tv_sec) + 60, r.sec);
  EXPECT_LT(r.nsec, 1000000000u);
}

TEST(async_safe_format_log, fatal_priority_goes_to_the_crash_log) {
  FakeLogDaemon daemon;
  async_safe_write_log(7, "tag", "m");
  auto records = daemon.Drain();
  ASSERT_EQ(1u, records.size());
  EXPECT_EQ(4, records[0].log_id);
  EXPECT_EQ(7, records[0].priority);
}

TEST(async_safe_format_log, long_messages_are_cut_at_1023_characters) {
  FakeLogDaemon daemon;
  std::string long_text(2000, 'a');
  async_safe_format_log(4, "t", "%s", long_text.c_str());
  auto messages = daemon.Messages();
  ASSERT_EQ(1u, messages.size());
  EXPECT_EQ(std::string(1023, 'a'), messages[0]);
}

TEST(async_safe_format_log, without_a_daemon_the_line_goes_to_stderr) {
  kelphost_set_log_socket_path("/nonexistent/logdw");
  CaptureFd capture(2);
  errno = 77;
  int written = async_safe_format_log(6, "KELP_LIBC_ADAPTOR", "x");
  EXPECT_EQ(77, errno);
  EXPECT_EQ("KELP_LIBC_ADAPTOR: x\n", capture.Text());
  EXPECT_EQ(21, written);
  kelphost_set_log_socket_path(nullptr);
}

TEST(async_safe_fatal, writes_stderr_crash_log_and_abort_message) {
  FakeLogDaemon daemon;
  CaptureFd capture(2);
  async_safe_fatal_no_abort("fatal %d", 9);
  EXPECT_EQ("fatal 9\n", capture.Text());
  auto records = daemon.Drain();
  ASSERT_EQ(1u, records.size());
  EXPECT_EQ(7, records[0].priority);
  EXPECT_EQ("libc", records[0].tag);
  EXPECT_EQ("fatal 9", records[0].message);
  EXPECT_STREQ("fatal 9", kelphost_abort_message());
}

namespace {
void FatalWithPrefix(const char* prefix, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  async_safe_fatal_va_list(prefix, fmt, args);
  va_end(args);
}
}  // namespace

TEST(async_safe_fatal, prefix_is_joined_with_colon_and_blank) {
  FakeLogDaemon daemon;
  CaptureFd capture(2);
  FatalWithPrefix("pre", "%s", "msg");
  std::string long_prefix(1022, 'p');
  FatalWithPrefix(long_prefix.c_str(), "%s", "msg");  // room for ':' only
  EXPECT_EQ("pre: msg\n" + long_prefix + ":\n", capture.Text());
}

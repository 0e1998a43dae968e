// Guest/host time record converters, checked byte by byte.
#include "translate/time_convert.h"

#include <string.h>

#include <gtest/gtest.h>

namespace {
template <typename T>
void Fill(T* record, uint8_t byte) { memset(record, byte, sizeof(T)); }

bool BytesAre(const void* p, size_t from, size_t to, uint8_t byte) {
  for (size_t i = from; i < to; ++i) {
    if (static_cast<const uint8_t*>(p)[i] != byte) return false;
  }
  return true;
}
}  // namespace

TEST(time_convert, timespec_narrows_and_widens) {
  GuestTimespec guest;
  Fill(&guest, 0xAA);
  HostTimespec host = {-1, 5};
  timespec_bionic2musl(&guest, &host);
  EXPECT_EQ(-1, guest.tv_sec);
  EXPECT_EQ(5, guest.tv_nsec);
  EXPECT_TRUE(BytesAre(&guest, 12, 16, 0xAA)) << "padding word must be left alone";

  guest = {0x100000005LL, 7, 0};
  timespec_musl2bionic(&guest, &host);
  EXPECT_EQ(5, host.tv_sec);  // low word, no overflow error
  EXPECT_EQ(7, host.tv_nsec);
}

TEST(time_convert, timeval_and_utimbuf_take_low_words_and_sign_extend) {
  GuestTimeval tv = {-2, 0x1FFFFFFFFLL};
  HostTimeval htv;
  timeval_musl2bionic(&tv, &htv);
  EXPECT_EQ(-2, htv.tv_sec);
  EXPECT_EQ(-1, htv.tv_usec);  // low word of 0x1FFFFFFFF
  htv = {INT32_MIN, -3};
  timeval_bionic2musl(&tv, &htv);
  EXPECT_EQ(INT32_MIN, tv.tv_sec);
  EXPECT_EQ(-3, tv.tv_usec);

  GuestUtimbuf ub = {0x100000001LL, 2000000000};
  HostUtimbuf hub;
  utimbuf_musl2bionic(&ub, &hub);
  EXPECT_EQ(1, hub.actime);
  EXPECT_EQ(2000000000, hub.modtime);
  hub = {-5, -6};
  utimbuf_bionic2musl(&ub, &hub);
  EXPECT_EQ(-5, ub.actime);
  EXPECT_EQ(-6, ub.modtime);
}

TEST(time_convert, interval_records) {
  GuestItimerspec gs;
  Fill(&gs, 0xBB);
  HostItimerspec hs = {{-1, 2}, {3, 4}};
  itimerspec_bionic2musl(&gs, &hs);
  EXPECT_EQ(-1, gs.it_interval.tv_sec);
  EXPECT_EQ(2, gs.it_interval.tv_nsec);
  EXPECT_EQ(3, gs.it_value.tv_sec);
  EXPECT_EQ(4, gs.it_value.tv_nsec);
  EXPECT_TRUE(BytesAre(&gs, 12, 16, 0xBB) && BytesAre(&gs, 28, 32, 0xBB));
  itimerspec_musl2bionic(&gs, &hs);
  EXPECT_EQ(-1, hs.it_interval.tv_sec);
  EXPECT_EQ(4, hs.it_value.tv_nsec);

  GuestItimerval gv = {{0x100000001LL, 2}, {3, -4}};
  HostItimerval hv;
  itimerval_musl2bionic(&gv, &hv);
  EXPECT_EQ(1, hv.it_interval.tv_sec);
  EXPECT_EQ(-4, hv.it_value.tv_usec);
  hv = {{-7, -8}, {9, -10}};
  itimerval_bionic2musl(&gv, &hv);
  EXPECT_EQ(-7, gv.it_interval.tv_sec);
  EXPECT_EQ(-8, gv.it_interval.tv_usec);
  EXPECT_EQ(9, gv.it_value.tv_sec);
  EXPECT_EQ(-10, gv.it_value.tv_usec);
}

TEST(time_convert, timeb_fields) {
  GuestTimeb g = {0x1FFFFFFFFLL, 999, -60, 1, 0};
  HostTimeb h = {};
  timeb_musl2bionic(&g, &h);
  EXPECT_EQ(-1, h.time);
  EXPECT_EQ(999, h.millitm);
  EXPECT_EQ(-60, h.timezone);
  EXPECT_EQ(1, h.dstflag);
  h.time = -100;
  timeb_bionic2musl(&g, &h);
  EXPECT_EQ(-100, g.time);
  EXPECT_EQ(999, g.millitm);
}

TEST(time_convert, rusage_leaves_stime_alone_both_ways) {
  HostRusage host;
  Fill(&host, 0x11);
  host.ru_utime = {-1, 250000};
  for (int i = 0; i < kRusageCounters; ++i) host.counters[i] = 100 + i;
  GuestRusage guest;
  Fill(&guest, 0xCC);
  rusage_bionic2musl(&guest, &host);
  EXPECT_EQ(-1, guest.ru_utime.tv_sec);
  EXPECT_EQ(250000, guest.ru_utime.tv_usec);
  EXPECT_TRUE(BytesAre(&guest, 16, 32, 0xCC)) << "ru_stime is not carried";
  for (int i = 0; i < kRusageCounters; ++i) EXPECT_EQ(100 + i, guest.counters[i]);
  EXPECT_TRUE(BytesAre(&guest, 88, sizeof(guest), 0xCC)) << "reserved words untouched";

  HostRusage back;
  Fill(&back, 0x22);
  rusage_musl2bionic(&guest, &back);
  EXPECT_EQ(-1, back.ru_utime.tv_sec);
  EXPECT_TRUE(BytesAre(&back, 8, 16, 0x22)) << "ru_stime is not carried";
  EXPECT_EQ(0, memcmp(back.counters, host.counters, sizeof(back.counters)));
}

// Unsupported interfaces answer with one log line and a fixed result; no-ops stay silent.
#include <errno.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/adaptor_symbol.h"
#include "support/fake_log_daemon.h"

namespace {

enum Kind { kLong, kNull, kVoid };
constexpr int kUntouched = -1;

struct Stub {
  const char* name;
  int priority;
  const char* message;
  Kind kind;
  long result;
  int error;
};

// Transcribed independently of the adaptor's table.
const Stub kStubs[] = {
    {"mq_open", 6, "mq_open unsupported api.", kLong, -1, kUntouched},
    {"mq_close", 6, "mq_close unsupported api.", kLong, -1, kUntouched},
    {"mq_setattr", 6, "mq_setattr unsupported api.", kLong, -1, kUntouched},
    {"mq_getattr", 6, "mq_getattr unsupported api.", kLong, -1, kUntouched},
    {"mq_timedreceive", 6, "mq_timedreceive unsupported api.", kLong, -1, kUntouched},
    {"mq_receive", 6, "mq_receive unsupported api.", kLong, -1, kUntouched},
    {"mq_timedsend", 6, "mq_timedsend unsupported api.", kLong, -1, kUntouched},
    {"mq_send", 6, "mq_send unsupported api.", kLong, -1, kUntouched},
    {"mq_unlink", 6, "mq_unlink unsupported api.", kLong, -1, kUntouched},
    {"mq_notify", 6, "mq_notify unsupported api.", kLong, -1, kUntouched},
    {"shm_open", 6, "shm_open unsupported api.", kLong, -1, kUntouched},
    {"shm_unlink", 6, "shm_unlink unsupported api.", kLong, -1, kUntouched},
    {"dlinfo", 6, "dlinfo unsupported api.", kLong, -1, kUntouched},
    {"getspnam", 6, "getspnam unsupported api.", kNull, 0, 2},
    {"getspnam_r", 6, "getspnam_r unsupported api.", kLong, 0, 2},
    {"crypt", 6, "crypt unsupported api.", kNull, 0, kUntouched},
    {"crypt_r", 6, "crypt_r unsupported api.", kNull, 0, kUntouched},
    {"setutxent", 6, "setutxent unsupported api for musl libc.", kVoid, 0, kUntouched},
    {"getutxent", 6, "getutxent unsupported api for musl libc.", kNull, 0, kUntouched},
    {"endutxent", 6, "endutxent unsupported api for musl libc.", kVoid, 0, kUntouched},
    {"getspent", 6, "getspent empty implement for musl libc too.", kNull, 0, kUntouched},
    {"setspent", 4, "setspent empty implement for musl libc too.", kVoid, 0, kUntouched},
    {"endspent", 4, "endspent empty implement for musl libc too.", kVoid, 0, kUntouched},
    {"gethostid", 6, "gethostid empty implement for musl libc too.", kLong, 0, kUntouched},
    {"ether_hostton", 4, "ether_hostton empty implement for musl libc too.", kLong, -1, kUntouched},
    {"ether_line", 4, "ether_line empty implement for musl libc too.", kLong, -1, kUntouched},
    {"ether_ntohost", 4, "ether_ntohost empty implement for musl libc too.", kLong, -1, kUntouched},
    {"_dl_debug_state", 4, "_dl_debug_state empty implement for musl libc too.", kVoid, 0,
     kUntouched},
    {"posix_spawn_file_actions_addchdir_np", 6,
     "posix_spawn_file_actions_addchdir_np is not supported now", kLong, 0, kUntouched},
    {"posix_spawn_file_actions_addfchdir_np", 6,
     "posix_spawn_file_actions_addfchdir_np is not supported now", kLong, 0, kUntouched},
    {"pthread_cancel", 6, "pthread_cancel unsupported api", kLong, -1, kUntouched},
    {"pthread_setcancelstate", 6, "pthread_setcancelstate unsupported api", kLong, -1, kUntouched},
    {"pthread_setcanceltype", 6, "pthread_setcanceltype unsupported api", kLong, -1, kUntouched},
    {"pthread_testcancel", 6, "pthread_testcancel unsupported api", kVoid, 0, kUntouched},
    {"pthread_timedjoin_np", 6, "pthread_timedjoin_np unsupported api", kLong, -1, kUntouched},
    {"__pthread_timedjoin_np_time64", 6, "pthread_timedjoin_np unsupported api", kLong, -1,
     kUntouched},
    {"pthread_tryjoin_np", 6, "pthread_tryjoin_np unsupported api", kLong, -1, kUntouched},
    {"pthread_setattr_default_np", 6, "pthread_setattr_default_np unsupported api", kLong, -1,
     kUntouched},
    {"pthread_getconcurrency", 6, "pthread_getconcurrency unsupported api", kLong, 0, kUntouched},
    {"pthread_mutex_setprioceiling", 6, "pthread_mutex_setprioceiling unsupported api", kLong, 22,
     kUntouched},
    {"pthread_mutex_getprioceiling", 6, "pthread_mutex_getprioceiling unsupported api", kLong, 22,
     kUntouched},
    {"kelp_adaptor_acct", 6, "acct is not supported on android!", kLong, -1, 38},
    {"kelp_adaptor_issetugid", 4, "issetuigid can not be shared between processes on bionic",
     kLong, 0, kUntouched},
};

}  // namespace

TEST(stubs, each_logs_one_line_and_returns_its_fixed_result) {
  FakeLogDaemon daemon;
  for (const Stub& stub : kStubs) {
    SCOPED_TRACE(stub.name);
    void* address = AdaptorSymbolAddress(stub.name);
    ASSERT_NE(nullptr, address);
    errno = 9999;
    long result = 0;
    switch (stub.kind) {
      case kLong:
        result = reinterpret_cast<long (*)(long, long, long, long)>(address)(1, 2, 3, 4);
        break;
      case kNull:
        result = reinterpret_cast<long>(reinterpret_cast<void* (*)(long, long)>(address)(1, 2));
        break;
      case kVoid:
        reinterpret_cast<void (*)()>(address)();
        break;
    }
    if (stub.kind != kVoid) {
      EXPECT_EQ(stub.result, result);
    }
    EXPECT_EQ(stub.error == kUntouched ? 9999 : stub.error, errno);
    auto records = daemon.Drain();
    ASSERT_EQ(1u, records.size());
    EXPECT_EQ("KELP_LIBC_ADAPTOR", records[0].tag);
    EXPECT_EQ(stub.priority, records[0].priority);
    EXPECT_EQ(stub.message, records[0].message);
  }
}

TEST(stubs, pthread_setconcurrency_by_level) {
  FakeLogDaemon daemon;
  ADAPTOR_FN(int (*)(int), setconcurrency, "pthread_setconcurrency");
  EXPECT_EQ(22, setconcurrency(-1));
  EXPECT_EQ(11, setconcurrency(5));
  EXPECT_EQ(0, setconcurrency(0));
  auto records = daemon.Drain();
  ASSERT_EQ(3u, records.size());
  for (const LogRecord& r : records) {
    EXPECT_EQ(6, r.priority);
    EXPECT_EQ("pthread_setconcurrency unsupported api", r.message);
  }
}

TEST(stubs, silent_no_ops) {
  FakeLogDaemon daemon;
  for (const char* name : {"getutid", "getutxline", "getutline", "pututxline"}) {
    EXPECT_EQ(nullptr, AdaptorSymbol<void* (*)(const void*)>(name)(nullptr)) << name;
  }
  for (const char* name : {"lckpwdf", "ulckpwdf"}) {
    EXPECT_EQ(0, AdaptorSymbol<int (*)()>(name)()) << name;
  }
  AdaptorSymbol<void (*)(const char*, const void*)>("updwtmp")("x", nullptr);
  for (const char* name : {"utmpxname", "utmpname"}) {
    errno = 0;
    EXPECT_EQ(-1, AdaptorSymbol<int (*)(const char*)>(name)("x")) << name;
    EXPECT_EQ(95, errno) << name;
  }
  EXPECT_TRUE(daemon.Drain().empty());
}

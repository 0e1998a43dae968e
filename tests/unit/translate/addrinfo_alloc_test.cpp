// getaddrinfo's allocations: freeaddrinfo returns everything, and each allocation failure of the
// adaptor's own ends in EAI_MEMORY (-10) with nothing left behind. This binary counts and, when
// asked, fails the allocations of the whole process through its own malloc family.
#include <stddef.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include "translate/netdb_guest.h"

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* p, size_t size);
void __libc_free(void* p);
}

namespace {

long g_live = 0;  // blocks handed out and not yet freed

// Counting the allocations of one size; failing the n-th of them when n > 0.
size_t g_watch_size = 0;
int g_watch_seen = 0;
int g_watch_fail = 0;

bool Refuse(size_t size) {
  if (size != g_watch_size || g_watch_size == 0) return false;
  return ++g_watch_seen == g_watch_fail;
}

void* Counted(void* p) {
  if (p != nullptr) ++g_live;
  return p;
}

}  // namespace

extern "C" void* malloc(size_t size) noexcept {
  return Refuse(size) ? nullptr : Counted(__libc_malloc(size));
}
extern "C" void* calloc(size_t count, size_t size) noexcept {
  return count == 1 && Refuse(size) ? nullptr : Counted(__libc_calloc(count, size));
}
extern "C" void* realloc(void* p, size_t size) noexcept {
  if (p == nullptr) return malloc(size);
  return __libc_realloc(p, size);
}
extern "C" void free(void* p) noexcept {
  if (p != nullptr) --g_live;
  __libc_free(p);
}

namespace {

// Watches allocations of `size` bytes for the scope; fails the n-th when n > 0.
class Watch {
 public:
  Watch(size_t size, int fail) {
    g_watch_size = size;
    g_watch_seen = 0;
    g_watch_fail = fail;
  }
  ~Watch() { g_watch_size = 0; }
  int seen() const { return g_watch_seen; }
};

constexpr size_t kNodeSize = 160;  // a guest result node, and the host hints record
constexpr char kNode[] = "127.0.0.1";
constexpr size_t kNameSize = sizeof(kNode);  // the canonical name of a numeric query

int Query(GuestAddrinfo** res) {
  GuestAddrinfo hints = {};
  hints.ai_flags = 0x02 | 0x04;  // AI_CANONNAME | AI_NUMERICHOST
  hints.ai_family = AF_INET;     // no socket type: one node for each of three
  return kelp_adaptor_getaddrinfo(kNode, "80", &hints, res);
}

int Length(const GuestAddrinfo* list) {
  int n = 0;
  for (; list != nullptr; list = list->ai_next) ++n;
  return n;
}

}  // namespace

TEST(addrinfo_alloc, freeaddrinfo_returns_every_block) {
  GuestAddrinfo* res = nullptr;
  ASSERT_EQ(0, Query(&res));  // warm-up: anything the host keeps for the process
  ASSERT_EQ(3, Length(res));
  ASSERT_NE(nullptr, res->ai_canonname);
  kelp_adaptor_freeaddrinfo(res);

  long before = g_live;
  for (int i = 0; i < 50; ++i) {
    res = nullptr;
    ASSERT_EQ(0, Query(&res));
    kelp_adaptor_freeaddrinfo(res);
  }
  EXPECT_EQ(before, g_live) << "blocks leaked over 50 queries";

  before = g_live;
  GuestAddrinfo hints = {};
  hints.ai_flags = 0x04;
  EXPECT_EQ(-2, kelp_adaptor_getaddrinfo("not-a-number", "80", &hints, &res));  // EAI_NONAME
  EXPECT_EQ(before, g_live) << "a failed query leaves nothing behind";
}

TEST(addrinfo_alloc, own_allocation_failures_are_eai_memory_without_leaks) {
  GuestAddrinfo* res = nullptr;
  int nodes = 0;
  int names = 0;
  {
    Watch node_watch(kNodeSize, 0);
    ASSERT_EQ(0, Query(&res));
    nodes = node_watch.seen();
  }
  kelp_adaptor_freeaddrinfo(res);
  EXPECT_EQ(1 + 3, nodes) << "the hints record and one block per result node";
  {
    Watch name_watch(kNameSize, 0);
    ASSERT_EQ(0, Query(&res));
    names = name_watch.seen();
  }
  kelp_adaptor_freeaddrinfo(res);
  ASSERT_GE(names, 1);

  struct Case {
    const char* what;
    size_t size;
    int fail;
  };
  const Case kCases[] = {
      {"hints record", kNodeSize, 1},
      {"first node", kNodeSize, 2},
      {"last node", kNodeSize, nodes},
      {"canonical name copy", kNameSize, names},  // the guest's copy is the last of that size
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    long before = g_live;
    GuestAddrinfo* untouched = reinterpret_cast<GuestAddrinfo*>(0x5678);
    res = untouched;
    {
      Watch watch(c.size, c.fail);
      EXPECT_EQ(-10, Query(&res));
    }
    EXPECT_EQ(before, g_live);
    EXPECT_EQ(untouched, res);
  }
}

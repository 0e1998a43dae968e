// Library loading with guest modes, extended-open records and namespace records, checked
// against what the stand-in Android linker was asked.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdint.h>

#include <string>

#include "ld_namespace/linker_support.h"
#include "support/fake_log_daemon.h"

namespace {

KelphostOpen OnlyOpenSince(size_t first) {
  auto opens = OpensSince(first);
  EXPECT_EQ(1u, opens.size());
  return opens.empty() ? KelphostOpen{} : opens[0];
}

// The calls whose caller address is checked. The empty statement after each call keeps it a
// call (not a jump), so the return address lies inside these functions.
#define KEEP_CALL(expr)              \
  void* result = (expr);             \
  __asm__ volatile("" ::: "memory"); \
  return result
__attribute__((noinline)) void* OpenNs(const DlnsRecord* ns) {
  KEEP_CALL(dlopen_ns(ns, nullptr, RTLD_LAZY));
}
__attribute__((noinline)) void* OpenExt(const DlExtRecord* ext) {
  KEEP_CALL(dlopen_ext(nullptr, RTLD_LAZY, ext));
}
__attribute__((noinline)) void* OpenNsExt(const DlnsRecord* ns, const DlExtRecord* ext) {
  KEEP_CALL(dlopen_ns_ext(ns, nullptr, RTLD_LAZY, ext));
}

// Whether `caller` lies in the first bytes of `fn`, the test's own code.
bool InsideOf(const void* caller, const void* fn) {
  auto start = reinterpret_cast<uintptr_t>(fn) & ~uintptr_t{1};
  auto address = reinterpret_cast<uintptr_t>(caller);
  return address > start && address < start + 64;
}

}  // namespace

TEST(dlopen, translates_the_guest_mode_and_logs_it) {
  struct Case {
    int guest;
    int host;
  } cases[] = {
      {0x102, 0x2}, {0x1, 0x1},       {0x1005, 0x1005}, {0x2, 0x0}, {0x100, 0x2},
      {0x4, 0x4},   {0x1000, 0x1000}, {0x0, 0x0},       {0x8, 0x0}, {0x80, 0x0},
  };
  for (const Case& c : cases) {
    FakeLogDaemon daemon;
    size_t first = kelphost_open_count();
    EXPECT_NE(nullptr, kelp_adaptor_dlopen("libc.so.6", c.guest)) << c.guest;
    KelphostOpen open = OnlyOpenSince(first);
    EXPECT_EQ(KELPHOST_OPEN_DLOPEN, open.entry);
    EXPECT_STREQ("libc.so.6", open.filename);
    EXPECT_EQ(c.host, open.flags) << c.guest;
    auto records = daemon.Drain();
    ASSERT_EQ(1u, records.size());
    EXPECT_EQ(4, records[0].priority);
    EXPECT_EQ("dlopen libc.so.6 with input flag:" + std::to_string(c.guest) +
                  ", translated flag:" + std::to_string(c.host),
              records[0].message);
  }
}

TEST(dlopen, dlsym_maps_its_second_argument_and_time64_passes_both) {
  void* libc = kelp_adaptor_dlopen("libc.so.6", RTLD_LAZY);
  ASSERT_NE(nullptr, libc);
  const char* name = "strlen";
  const char* all_ones = reinterpret_cast<const char*>(uintptr_t{0xFFFFFFFF});
  struct Case {
    void* (*fn)(void*, const char*);
    const char* given;
    const char* asked;
  } cases[] = {
      {kelp_adaptor_dlsym, nullptr, all_ones},
      {kelp_adaptor_dlsym, all_ones, reinterpret_cast<const char*>(uintptr_t{0xFFFFFFFE})},
      {kelp_adaptor_dlsym, name, name},
      {__dlsym_time64, nullptr, nullptr},
      {__dlsym_time64, all_ones, all_ones},
      {__dlsym_time64, name, name},
  };
  for (const Case& c : cases) {
    size_t first = kelphost_dlsym_count();
    void* found = c.fn(libc, c.given);
    KelphostSymbolLookup lookup = {};
    ASSERT_TRUE(kelphost_dlsym_at(first, &lookup));
    EXPECT_EQ(first + 1, kelphost_dlsym_count());
    EXPECT_EQ(libc, lookup.handle);
    EXPECT_EQ(c.asked, lookup.symbol);
    EXPECT_EQ(c.given == name, found != nullptr);
  }
}

TEST(dlopen, ext_translates_the_record) {
  struct Case {
    uint32_t guest;
    uint64_t host;
  } cases[] = {
      {0x01, 0x004}, {0x02, 0x008}, {0x04, 0x400}, {0x08, 0x001},
      {0x10, 0x002}, {0x1F, 0x40F}, {0x00, 0x000},
  };
  for (const Case& c : cases) {
    DlExtRecord ext = {c.guest, 7, 0x40000000, 0x2000};
    size_t first = kelphost_open_count();
    dlopen_ext("libnone.so", 0x102, &ext);
    KelphostOpen open = OnlyOpenSince(first);
    EXPECT_EQ(KELPHOST_OPEN_LOADER_DLOPEN_EXT, open.entry);
    EXPECT_EQ(0x102, open.flags);  // untranslated
    ASSERT_TRUE(open.has_extinfo);
    EXPECT_EQ(c.host, open.extinfo.flags) << c.guest;
    EXPECT_EQ(reinterpret_cast<void*>(0x40000000), open.extinfo.reserved_addr);
    EXPECT_EQ(0x2000u, open.extinfo.reserved_size);
    EXPECT_EQ(7, open.extinfo.relro_fd);
    EXPECT_EQ(0, open.extinfo.library_fd);
    EXPECT_EQ(0, open.extinfo.library_fd_offset);
    EXPECT_EQ(nullptr, open.extinfo.library_namespace);
  }
  // No record reads as an empty one.
  size_t first = kelphost_open_count();
  dlopen_ext("libnone.so", RTLD_LAZY, nullptr);
  KelphostOpen open = OnlyOpenSince(first);
  ASSERT_TRUE(open.has_extinfo);
  EXPECT_EQ(0u, open.extinfo.flags);
}

TEST(dlopen, invalid_ext_flags_are_refused_with_a_line) {
  FakeLogDaemon daemon;
  DlnsRecord ns = Record("default");
  size_t first = kelphost_open_count();
  for (uint32_t flag : {32u, 0x40u, 0xFFFFFFFFu}) {
    DlExtRecord ext = {flag, 0, 0, 0};
    EXPECT_EQ(nullptr, dlopen_ext("libx.so", RTLD_LAZY, &ext));
    EXPECT_EQ(nullptr, dlopen_ns_ext(&ns, "liby.so", RTLD_LAZY, &ext));
  }
  EXPECT_EQ(first, kelphost_open_count());
  auto records = daemon.Drain();
  std::vector<std::string> expected = {
      "Error dlopen_ext libx.so: invalid flag 20",
      "Error dlopen_ns_ext liby.so: invalid flag 20",
      "Error dlopen_ext libx.so: invalid flag 40",
      "Error dlopen_ns_ext liby.so: invalid flag 40",
      "Error dlopen_ext libx.so: invalid flag ffffffff",
      "Error dlopen_ns_ext liby.so: invalid flag ffffffff",
  };
  ASSERT_EQ(expected.size(), records.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(expected[i], records[i].message);
    EXPECT_EQ(5, records[i].priority);
  }
}

TEST(dlopen, ns_uses_registered_namespaces_only) {
  DlnsRecord mine = Record("open-mine");
  ASSERT_EQ(0, dlns_create(&mine, "/p"));
  const android_namespace_t* handle = kelphost_namespace_at(kelphost_namespace_count() - 1);
  DlnsRecord unregistered = Record("open-unregistered");
  DlnsRecord exported_only = Record("default");  // exported, never registered

  size_t first = kelphost_open_count();
  EXPECT_EQ(nullptr, dlopen_ns(nullptr, "libx.so", RTLD_LAZY));
  EXPECT_EQ(nullptr, dlopen_ns_ext(nullptr, "libx.so", RTLD_LAZY, nullptr));
  EXPECT_EQ(first, kelphost_open_count());

  dlopen_ns(&mine, "libx.so", 0x102);
  dlopen_ns(&unregistered, "libx.so", RTLD_LAZY);
  dlopen_ns(&exported_only, "libx.so", RTLD_LAZY);
  DlExtRecord ext = {0x01, 3, 0, 0};
  dlopen_ns_ext(&mine, "libx.so", RTLD_LAZY, &ext);
  dlopen_ns_ext(&unregistered, "libx.so", RTLD_LAZY, &ext);
  auto opens = OpensSince(first);
  ASSERT_EQ(5u, opens.size());
  EXPECT_EQ(0x102, opens[0].flags);
  ASSERT_TRUE(opens[0].has_extinfo);
  EXPECT_EQ(0x200u, opens[0].extinfo.flags);
  EXPECT_EQ(handle, opens[0].extinfo.library_namespace);
  EXPECT_EQ(0, opens[0].extinfo.relro_fd);
  EXPECT_FALSE(opens[1].has_extinfo);
  EXPECT_FALSE(opens[2].has_extinfo);
  EXPECT_EQ(0x204u, opens[3].extinfo.flags);
  EXPECT_EQ(handle, opens[3].extinfo.library_namespace);
  EXPECT_EQ(3, opens[3].extinfo.relro_fd);
  EXPECT_EQ(0x004u, opens[4].extinfo.flags);
  EXPECT_EQ(nullptr, opens[4].extinfo.library_namespace);
  for (const KelphostOpen& open : opens) EXPECT_EQ(KELPHOST_OPEN_LOADER_DLOPEN_EXT, open.entry);
}

TEST(dlopen, passes_the_calling_code_as_caller) {
  DlnsRecord mine = Record("caller-ns");
  ASSERT_EQ(0, dlns_create(&mine, "/p"));
  DlnsRecord unregistered = Record("caller-unregistered");
  DlExtRecord ext = {0, 0, 0, 0};
  struct Case {
    const char* what;
    const void* fn;
    void (*call)(const DlnsRecord*, const DlExtRecord*);
    const DlnsRecord* ns;
  } cases[] = {
      {"dlopen_ns", reinterpret_cast<const void*>(OpenNs),
       [](const DlnsRecord* ns, const DlExtRecord*) { OpenNs(ns); }, &mine},
      {"dlopen_ns unregistered", reinterpret_cast<const void*>(OpenNs),
       [](const DlnsRecord* ns, const DlExtRecord*) { OpenNs(ns); }, &unregistered},
      {"dlopen_ext", reinterpret_cast<const void*>(OpenExt),
       [](const DlnsRecord*, const DlExtRecord* e) { OpenExt(e); }, nullptr},
      {"dlopen_ns_ext", reinterpret_cast<const void*>(OpenNsExt),
       [](const DlnsRecord* ns, const DlExtRecord* e) { OpenNsExt(ns, e); }, &mine},
  };
  for (const Case& c : cases) {
    size_t first = kelphost_open_count();
    c.call(c.ns, &ext);
    KelphostOpen open = OnlyOpenSince(first);
    EXPECT_TRUE(InsideOf(open.caller, c.fn))
        << c.what << ": caller " << open.caller << ", code at " << c.fn;
  }
}

// The hooked allocation entry points, the exported state and the library look-up, driven
// directly through the exported state (no signals: see lifecycle_test.cpp for those).
#include <elf.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <link.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>

#include <algorithm>
#include <string>
#include <utility>

#include "host/bionic_signal.h"
#include "malloc_hook/hook_support.h"
#include "support/capture_fd.h"
#include "support/temp_dir.h"

extern "C" void kelphost_set_mallinfo(const uint32_t* fields);

namespace {

// Puts the hook state back as the library starts: nothing attached.
class HookStateRestorer {
 public:
  ~HookStateRestorer() {
    __musl_libc_globals.current_dispatch_table = 0;
    __hook_enable_hook_flag = false;
    kelp_malloc_hook_shared_library = 0;
    memset(&function_of_shared_lib, 0, sizeof(function_of_shared_lib));
  }
};

int g_table_calls;
bool g_library_flag;
void* const kTableResult = reinterpret_cast<void*>(0x5A5A0000);

void* FakeMmap(void*, size_t, int, int, int, off64_t) { return g_table_calls++, kTableResult; }
int FakeMunmap(void*, size_t) { return g_table_calls++, 77; }
void* FakeMalloc(size_t) { return g_table_calls++, kTableResult; }
void* FakeCalloc(size_t, size_t) { return g_table_calls++, kTableResult; }
void* FakeRealloc(void*, size_t) { return g_table_calls++, kTableResult; }
void FakeFree(void*) { g_table_calls++; }
bool FakeGetHookFlag() { return g_library_flag; }
bool FakeSetHookFlag(bool flag) { return std::exchange(g_library_flag, flag); }
int g_finalize_calls;
void FakeFinalize() { g_finalize_calls++; }

const MallocDispatchType kFakeTable = {FakeMmap,    FakeMunmap, FakeMalloc, FakeCalloc,
                                       FakeRealloc, nullptr,    FakeFree,   {}};

// Calls each of the six entries once; returns how many reached the fake table. Host calls are
// made with real arguments and checked to work.
int TableCallsOfEachEntry() {
  g_table_calls = 0;
  int table = 0;
  void* p = kelp_adaptor_malloc(16);
  table += p == kTableResult;
  if (p != kTableResult) kelp_adaptor_free(p);
  p = kelp_adaptor_calloc(2, 8);
  table += p == kTableResult;
  p = p == kTableResult ? malloc(8) : p;
  void* q = kelp_adaptor_realloc(p, 64);
  table += q == kTableResult;
  free(q == kTableResult ? p : q);
  int before = g_table_calls;
  kelp_adaptor_free(malloc(8));
  table += g_table_calls > before;
  void* map = kelp_adaptor_mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  table += map == kTableResult;
  if (map != kTableResult) {
    EXPECT_NE(MAP_FAILED, map);
  }
  int unmapped = kelp_adaptor_munmap(map == kTableResult ? nullptr : map, 4096);
  table += unmapped == 77;
  EXPECT_EQ(table, g_table_calls);
  return table;
}

size_t SymbolSize(const char* name) {
  void* address = dlsym(RTLD_DEFAULT, name);
  Dl_info info;
  void* symbol = nullptr;
  if (address == nullptr || dladdr1(address, &info, &symbol, RTLD_DL_SYMENT) == 0 ||
      symbol == nullptr) {
    return 0;
  }
  return static_cast<const ElfW(Sym)*>(symbol)->st_size;
}

// The C library may add its own return trampoline to any handler it installs.
constexpr int kRestorerFlag = 0x04000000;

}  // namespace

TEST(malloc_hook, exported_state_has_the_platform_sizes) {
  struct Case {
    const char* name;
    size_t size;
  } cases[] = {{"__musl_libc_globals", 64},
               {"__hook_enable_hook_flag", 1},
               {"kelp_malloc_hook_shared_library", 8},
               {"function_of_shared_lib", 24},
               {"__libc_malloc_default_dispatch", 44}};
  for (const Case& c : cases) EXPECT_EQ(c.size, SymbolSize(c.name)) << c.name;
}

TEST(malloc_hook, default_dispatch_is_the_host_allocator_in_slot_order) {
  const MallocDispatchType& table = __libc_malloc_default_dispatch;
  EXPECT_EQ(reinterpret_cast<void*>(mmap64), reinterpret_cast<void*>(table.mmap));
  EXPECT_EQ(reinterpret_cast<void*>(munmap), reinterpret_cast<void*>(table.munmap));
  EXPECT_EQ(reinterpret_cast<void*>(malloc), reinterpret_cast<void*>(table.malloc));
  EXPECT_EQ(reinterpret_cast<void*>(calloc), reinterpret_cast<void*>(table.calloc));
  EXPECT_EQ(reinterpret_cast<void*>(realloc), reinterpret_cast<void*>(table.realloc));
  EXPECT_EQ(nullptr, table.unused);
  EXPECT_EQ(reinterpret_cast<void*>(free), reinterpret_cast<void*>(table.free));
  for (void* slot : table.reserved) EXPECT_EQ(nullptr, slot);
}

TEST(malloc_hook, entries_choose_host_or_table_in_five_steps) {
  HookStateRestorer restorer;
  const uint32_t kHandle = 0x12340000;
  struct Case {
    const char* what;
    bool current;  // the fake table in force
    bool flag;
    uint32_t handle;
    bool library_flag;
    bool uses_table;
  } cases[] = {
      {"nothing attached", false, false, 0, false, false},
      {"no table", false, true, kHandle, true, false},
      {"hook flag off", true, false, kHandle, true, false},
      {"never loaded", true, true, 0, true, false},
      {"loading", true, true, kLoading, false, true},
      {"library wants hooking", true, true, kHandle, true, true},
      {"library does not", true, true, kHandle, false, false},
  };
  function_of_shared_lib.get_hook_flag = FakeGetHookFlag;
  for (const Case& c : cases) {
    __musl_libc_globals.current_dispatch_table = c.current ? WordOf(&kFakeTable) : 0;
    __hook_enable_hook_flag = c.flag;
    kelp_malloc_hook_shared_library = c.handle;
    g_library_flag = c.library_flag;
    EXPECT_EQ(c.uses_table ? 6 : 0, TableCallsOfEachEntry()) << c.what;
  }
}

TEST(malloc_hook, mmap_takes_a_64_bit_offset) {
  TempDir dir;
  int fd = open(dir.Path("pages").c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_GE(fd, 0);
  std::string pages(3 * 4096, 'a');
  pages.replace(2 * 4096, 6, "marker");
  ASSERT_EQ(static_cast<ssize_t>(pages.size()), write(fd, pages.data(), pages.size()));
  void* map = kelp_adaptor_mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fd, off64_t{2 * 4096});
  ASSERT_NE(MAP_FAILED, map);
  EXPECT_EQ(0, memcmp(map, "marker", 6));
  EXPECT_EQ(0, kelp_adaptor_munmap(map, 4096));
  close(fd);
}

TEST(malloc_hook, mallinfo_clamps_and_mallinfo2_passes) {
  const uint32_t host[10] = {0,          1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF,
                             0x90000000, 6, 7,          0x80000001, 9};
  const int32_t clamped[10] = {0,          1, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF,
                               0x7FFFFFFF, 6, 7,          0x7FFFFFFF, 9};
  struct Ten {
    uint32_t words[10];
  };
  auto guest_mallinfo = reinterpret_cast<Ten (*)()>(dlsym(RTLD_DEFAULT, "kelp_adaptor_mallinfo"));
  auto guest_mallinfo2 =
      reinterpret_cast<Ten (*)()>(dlvsym(RTLD_DEFAULT, "mallinfo2", "KELP_ADAPTOR_1"));
  ASSERT_NE(nullptr, guest_mallinfo);
  ASSERT_NE(nullptr, guest_mallinfo2);
  kelphost_set_mallinfo(host);
  Ten narrow = guest_mallinfo(), wide = guest_mallinfo2();
  kelphost_set_mallinfo(nullptr);
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(static_cast<uint32_t>(clamped[i]), narrow.words[i]) << i;
    EXPECT_EQ(host[i], wide.words[i]) << i;
  }
}

TEST(malloc_hook, signals_36_and_37_switch_the_hook) {
  struct Case {
    int sig;
    const char* handler;
    int masked;
  } cases[] = {{36, "__install_malloc_hook", 37}, {37, "__uninstal_malloc_hook", 36}};
  for (const Case& c : cases) {
    struct sigaction64 action = {};
    ASSERT_EQ(0, sigaction64(c.sig, nullptr, &action));
    EXPECT_EQ(dlsym(RTLD_DEFAULT, c.handler), reinterpret_cast<void*>(action.sa_handler));
    EXPECT_EQ(0, action.sa_flags & ~kRestorerFlag) << c.sig;
    for (int sig = 1; sig <= 64; ++sig) {
      EXPECT_EQ(sig == c.masked, sigismember64(&action.sa_mask, sig) == 1) << c.sig << " " << sig;
    }
  }
}

TEST(malloc_hook, library_symbols_are_looked_up_in_order) {
  HookStateRestorer restorer;
  void* partial = dlopen((HookDir("partial") + "/" + kHookFile).c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(nullptr, partial) << dlerror();
  MallocDispatchType table = {};
  EXPECT_FALSE(init_malloc_hook_shared_library(partial, "kelp_malloc_hook", &table));
  HookLibraryFunctions none = {};
  EXPECT_EQ(0, memcmp(&none, &function_of_shared_lib, sizeof(none)));
  // malloc, free and mmap come before the missing munmap; calloc and realloc after it.
  EXPECT_EQ(dlsym(partial, "kelp_malloc_hook_malloc"), reinterpret_cast<void*>(table.malloc));
  EXPECT_EQ(dlsym(partial, "kelp_malloc_hook_free"), reinterpret_cast<void*>(table.free));
  EXPECT_EQ(dlsym(partial, "kelp_malloc_hook_mmap"), reinterpret_cast<void*>(table.mmap));
  EXPECT_EQ(nullptr, table.calloc);
  EXPECT_EQ(nullptr, table.realloc);
  dlclose(partial);

  void* ok = dlopen((HookDir("ok") + "/" + kHookFile).c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(nullptr, ok) << dlerror();
  table = {};
  EXPECT_FALSE(init_malloc_hook_shared_library(ok, "kelp_other_prefix", &table));
  ASSERT_TRUE(init_malloc_hook_shared_library(ok, "kelp_malloc_hook", &table));
  const char* const functions[] = {"initialize",    "finalize", "get_hook_flag",
                                   "set_hook_flag", "on_start", "on_end"};
  void* slots[6];
  memcpy(slots, &function_of_shared_lib, sizeof(slots));
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(dlsym(ok, (std::string("kelp_malloc_hook_") + functions[i]).c_str()), slots[i]);
  }
  EXPECT_EQ(dlsym(ok, "kelp_malloc_hook_munmap"), reinterpret_cast<void*>(table.munmap));
  EXPECT_EQ(dlsym(ok, "kelp_malloc_hook_calloc"), reinterpret_cast<void*>(table.calloc));
  EXPECT_EQ(dlsym(ok, "kelp_malloc_hook_realloc"), reinterpret_cast<void*>(table.realloc));
  dlclose(ok);
}

TEST(malloc_hook, load_reports_a_missing_library_on_standard_output) {
  HookStateRestorer restorer;
  SearchDefaultNamespaceIn(HookDir("ok"));
  MallocDispatchType table = {};
  size_t first = kelphost_open_count();
  CaptureFd out(1);
  EXPECT_EQ(nullptr,
            load_malloc_hook_shared_library("libnot_there.z.so", "kelp_malloc_hook", &table));
  // A library without every symbol is closed again, without a line.
  EXPECT_EQ(nullptr, load_malloc_hook_shared_library((HookDir("partial") + "/" + kHookFile).c_str(),
                                                     "kelp_malloc_hook", &table));
  std::string text = out.Text();
  KelphostOpen open;
  ASSERT_TRUE(kelphost_open_at(first, &open));
  EXPECT_EQ(KELPHOST_OPEN_ANDROID_DLOPEN_EXT, open.entry);
  EXPECT_STREQ("libnot_there.z.so", open.filename);
  EXPECT_EQ(0, open.flags);
  ASSERT_TRUE(open.has_extinfo);
  EXPECT_EQ(0x200u, open.extinfo.flags);
  EXPECT_EQ(android_get_exported_namespace("default"), open.extinfo.library_namespace);
  const std::string prefix = "Unable to open shared library libnot_there.z.so: ";
  EXPECT_EQ(prefix, text.substr(0, prefix.size())) << text;
  EXPECT_NE(std::string::npos, text.find("libnot_there.z.so", prefix.size())) << text;
  EXPECT_EQ(1, std::count(text.begin(), text.end(), '\n')) << text;
  EXPECT_EQ(nullptr,
            dlopen((HookDir("partial") + "/" + kHookFile).c_str(), RTLD_NOW | RTLD_NOLOAD));
}

TEST(malloc_hook, finalize_switches_the_library_off_and_closes_the_standard_streams) {
  EXPECT_EXIT(
      {
        function_of_shared_lib.set_hook_flag = FakeSetHookFlag;
        function_of_shared_lib.finalize = FakeFinalize;
        kelp_malloc_hook_shared_library = 0x12340000;
        g_library_flag = true;
        malloc_finalize();
        bool closed = fcntl(0, F_GETFD) == -1 && fcntl(1, F_GETFD) == -1 && fcntl(2, F_GETFD) == -1;
        _exit(g_finalize_calls == 1 && !g_library_flag && closed ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

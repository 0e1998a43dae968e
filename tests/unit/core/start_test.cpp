// Start-up and exit: the guest's errno word and termination functions.
#include <stdint.h>
#include <string.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/bionic_errno.h"
#include "host/bionic_libc_init.h"
#include "support/adaptor_symbol.h"

extern "C" long __syscall_ret(unsigned long r);
extern "C" void MuslLibcFini(void* fini_slot);
ADAPTOR_FN(int* (*)(), GuestErrnoLocation, "__errno_location");

TEST(syscall_ret, error_range_sets_errno) {
  struct Case {
    unsigned long raw;
    long result;
    int error;  // 0: errno must be left as it was
  } cases[] = {
      {0, 0, 0},
      {5, 5, 0},
      {0x7FFFFFFF, 0x7FFFFFFF, 0},
      {0xFFFFF000, -4096, 0},  // -4096 is a value, not an error
      {0xFFFFF001, -1, 4095},
      {static_cast<unsigned long>(-22), -1, 22},
      {0xFFFFFFFF, -1, 1},
  };
  for (const Case& c : cases) {
    errno = 12345;
    EXPECT_EQ(c.result, __syscall_ret(c.raw)) << std::hex << c.raw;
    EXPECT_EQ(c.error != 0 ? c.error : 12345, errno) << std::hex << c.raw;
  }
}

TEST(errno_location, is_the_hosts_per_thread_word) {
  EXPECT_EQ(__errno(), GuestErrnoLocation());
  errno = 0;
  EXPECT_EQ(-1, close(-1));
  EXPECT_EQ(EBADF, *GuestErrnoLocation());
}

namespace {

std::vector<std::string> g_calls;
void First() { g_calls.push_back("first"); }
void Second() { g_calls.push_back("second"); }
void Third() { g_calls.push_back("third"); }
void Fini() { g_calls.push_back("fini"); }

// Points the loader's record at a test termination array for the duration of a test.
class SharedGlobalsOverride {
 public:
  SharedGlobalsOverride(void (**array)(), uint32_t count) {
    memcpy(saved_, Word(kSharedGlobalsFiniArray), sizeof(saved_));
    uint32_t words[2] = {static_cast<uint32_t>(reinterpret_cast<uintptr_t>(array)), count};
    memcpy(Word(kSharedGlobalsFiniArray), words, sizeof(words));
  }
  ~SharedGlobalsOverride() { memcpy(Word(kSharedGlobalsFiniArray), saved_, sizeof(saved_)); }

 private:
  static uint8_t* Word(uint32_t offset) {
    return static_cast<uint8_t*>(__loader_shared_globals()) + offset;
  }
  uint8_t saved_[8];
};

}  // namespace

TEST(MuslLibcFini, runs_array_backwards_skipping_all_ones_then_fini) {
  auto all_ones = reinterpret_cast<void (*)()>(uintptr_t{0xFFFFFFFF});
  void (*array[])() = {First, all_ones, Second, Third};
  SharedGlobalsOverride globals(array, 4);

  struct Case {
    void (*fini)();
    std::vector<std::string> calls;
  } cases[] = {
      {Fini, {"third", "second", "first", "fini"}},
      {nullptr, {"third", "second", "first"}},
      {all_ones, {"third", "second", "first"}},
  };
  for (const Case& c : cases) {
    g_calls.clear();
    void (*slot)() = c.fini;
    MuslLibcFini(&slot);
    EXPECT_EQ(c.calls, g_calls);
  }
}

TEST(MuslLibcFini, empty_array_calls_only_fini) {
  SharedGlobalsOverride globals(nullptr, 0);
  g_calls.clear();
  void (*slot)() = Fini;
  MuslLibcFini(&slot);
  EXPECT_EQ(std::vector<std::string>{"fini"}, g_calls);
}

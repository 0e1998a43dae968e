// Non-local jumps on the guest's jump buffer.
#include "guest/signal.h"

#include <pthread.h>
#include <signal.h>
#include <stdint.h>
#include <string.h>
#include <sys/auxv.h>

#include <gtest/gtest.h>

extern "C" {
int kelp_adaptor_setjmp(void* buf) __attribute__((returns_twice));
int kelp_adaptor_sigsetjmp(void* buf, int savemask) __attribute__((returns_twice));
[[noreturn]] void kelp_adaptor_longjmp(void* buf, int val);
[[noreturn]] void kelp_adaptor_siglongjmp(void* buf, int val);
int kelp_adaptor_sigaction(int, const GuestSigaction*, GuestSigaction*);

// Sets r4-r11 to known values, calls setjmp, clobbers them all and longjmps with 0; records
// r4-r11, sp and the second result into out[0..9] and sp at the setjmp call into out[10].
int JumpKeepsRegisters(void* buf, uint32_t* out);
}

asm(R"(
    .text
    .arm
    .p2align 2
    .type JumpKeepsRegisters, %function
JumpKeepsRegisters:
    push    {r4-r11, lr}
    sub     sp, sp, #8
    str     r0, [sp]
    str     r1, [sp, #4]
    str     sp, [r1, #40]
    movw r4, #0x4444
    movt r4, #0x4444
    movw r5, #0x5555
    movt r5, #0x5555
    movw r6, #0x6666
    movt r6, #0x6666
    movw r7, #0x7777
    movt r7, #0x7777
    movw r8, #0x8888
    movt r8, #0x8888
    movw r9, #0x9999
    movt r9, #0x9999
    movw r10, #0xAAAA
    movt r10, #0xAAAA
    movw r11, #0xBBBB
    movt r11, #0xBBBB
    bl      kelp_adaptor_setjmp
    cmp     r0, #0
    bne     1f
    mov     r4, #0
    mov     r5, #0
    mov     r6, #0
    mov     r7, #0
    mov     r8, #0
    mov     r9, #0
    mov     r10, #0
    mov     r11, #0
    ldr     r0, [sp]
    mov     r1, #0
    bl      kelp_adaptor_longjmp
1:  ldr     r1, [sp, #4]
    stmia   r1!, {r4-r11}
    str     sp, [r1], #4
    str     r0, [r1]
    add     sp, sp, #8
    pop     {r4-r11, pc}
    .size JumpKeepsRegisters, .-JumpKeepsRegisters
)");

namespace {
alignas(8) uint8_t g_buf[kGuestJmpBufSize];

// ARM Linux hardware capabilities (AT_HWCAP).
constexpr unsigned long kHwcapFpa = 0x20, kHwcapVfp = 0x40;

sigset_t CurrentMask() {
  sigset_t mask;
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  return mask;
}

class MaskRestorer {
 public:
  MaskRestorer() : mask_(CurrentMask()) {}
  ~MaskRestorer() { pthread_sigmask(SIG_SETMASK, &mask_, nullptr); }

 private:
  sigset_t mask_;
};

void BlockUsr1() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void JumpFromHandler(int) { kelp_adaptor_siglongjmp(g_buf, 9); }
}  // namespace

TEST(setjmp, callee_saved_registers_and_stack_pointer_come_back) {
  uint32_t out[11] = {};
  alignas(8) uint8_t buf[kGuestJmpBufSize];
  memset(buf, 0xEE, sizeof(buf));
  JumpKeepsRegisters(buf, out);
  const uint32_t expected[] = {0x44444444, 0x55555555, 0x66666666, 0x77777777,
                               0x88888888, 0x99999999, 0xAAAAAAAA, 0xBBBBBBBB};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(expected[i], out[i]) << "r" << i + 4;
  EXPECT_EQ(out[10], out[8]) << "stack pointer";
  EXPECT_EQ(1u, out[9]) << "longjmp(buf, 0) makes setjmp return 1";
  uint32_t saved[8];
  memcpy(saved, buf, sizeof(saved));
  for (int i = 0; i < 8; ++i) EXPECT_EQ(expected[i], saved[i]) << "buffer word " << i;
  // The VFP block (d8-d15) follows the FPA block's place when the processor reports VFP.
  unsigned long hwcap = getauxval(AT_HWCAP);
  size_t vfp = kJmpBufCoprocessor + ((hwcap & kHwcapFpa) != 0 ? 48 : 0);
  auto untouched = [&](size_t from, size_t to) {
    for (size_t i = from; i < to; ++i) {
      if (buf[i] != 0xEE) return false;
    }
    return true;
  };
  EXPECT_TRUE(untouched(kJmpBufCoprocessor, vfp)) << "the FPA block is only skipped";
  EXPECT_EQ((hwcap & kHwcapVfp) == 0, untouched(vfp, vfp + 64)) << "hwcap " << hwcap;
  EXPECT_TRUE(untouched(vfp + 64, kGuestJmpBufSize)) << "nothing else; setjmp saves no mask";
}

TEST(setjmp, longjmp_value_reaches_setjmp) {
  volatile int rounds = 0;
  int value = kelp_adaptor_setjmp(g_buf);
  if (rounds < 3) {
    rounds = rounds + 1;
    kelp_adaptor_longjmp(g_buf, rounds == 3 ? 0 : 40 + rounds);
  }
  EXPECT_EQ(3, rounds);
  EXPECT_EQ(1, value);
}

TEST(sigsetjmp, restores_the_mask_only_when_saved) {
  MaskRestorer restore;
  for (int savemask : {1, 0}) {
    SCOPED_TRACE(savemask);
    sigset_t empty;
    sigemptyset(&empty);
    pthread_sigmask(SIG_SETMASK, &empty, nullptr);
    volatile bool jumped = false;
    int value = kelp_adaptor_sigsetjmp(g_buf, savemask);
    if (!jumped) {
      jumped = true;
      BlockUsr1();
      kelp_adaptor_siglongjmp(g_buf, 5);
    }
    EXPECT_EQ(5, value);
    sigset_t now = CurrentMask();
    EXPECT_EQ(savemask ? 0 : 1, sigismember(&now, SIGUSR1));
  }
}

TEST(sigsetjmp, jump_out_of_a_signal_handler) {
  MaskRestorer restore;
  struct sigaction saved;
  sigaction(SIGUSR1, nullptr, &saved);
  GuestSigaction act = {};
  act.handler = reinterpret_cast<void*>(JumpFromHandler);
  ASSERT_EQ(0, kelp_adaptor_sigaction(SIGUSR1, &act, nullptr));
  volatile int entered = 0;
  int value = kelp_adaptor_sigsetjmp(g_buf, 1);
  entered = entered + 1;
  if (entered == 1) {
    raise(SIGUSR1);
    ADD_FAILURE() << "the handler did not jump";
  }
  EXPECT_EQ(9, value);
  sigset_t now = CurrentMask();
  EXPECT_EQ(0, sigismember(&now, SIGUSR1)) << "the handler's blocked signal is unblocked again";
  sigaction(SIGUSR1, &saved, nullptr);
}

/* VFP registers d8-d15 are callee-saved under the hard-float ABI: a value that a caller keeps in
 * one of them across a call that ends in a longjmp must still be there afterwards. */
#include <setjmp.h>
#include <stdio.h>

static jmp_buf target;
static volatile double factor = 2.5; /* read at run time: the product cannot be folded */

/* Overwrites every callee-saved VFP register (its own prologue saves them, but the epilogue that
 * would restore them never runs), then jumps. */
__attribute__((noinline)) static void clobber_and_jump(void) {
  __asm__ volatile(
      "vmov.f64 d8, #-1.0\n\tvmov.f64 d9, #-1.0\n\tvmov.f64 d10, #-1.0\n\t"
      "vmov.f64 d11, #-1.0\n\tvmov.f64 d12, #-1.0\n\tvmov.f64 d13, #-1.0\n\t"
      "vmov.f64 d14, #-1.0\n\tvmov.f64 d15, #-1.0"
      ::: "d8", "d9", "d10", "d11", "d12", "d13", "d14", "d15");
  longjmp(target, 1);
}

__attribute__((noinline)) static void jump_back(void) {
  if (setjmp(target) == 0) clobber_and_jump();
}

/* At -O2 `kept` lives in a callee-saved VFP register (d8) across the call. */
__attribute__((noinline, optimize("O2"))) static double keeper(double seed) {
  double kept = seed * factor;
  jump_back();
  return kept * factor;
}

int main(void) {
  printf("kept across longjmp: %g (expected 25)\n", keeper(4.0));
  return 0;
}

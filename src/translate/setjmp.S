@ Non-local jumps on the guest's 388-byte jump buffer (layout in guest/signal.h):
@   0..31 r4-r11, 32 sp, 36 lr, 40.. coprocessor blocks present per the capability word,
@   256 the caller's lr and 268 its r4 during sigsetjmp, 260 the saved signal mask.
@ bionic's own buffer differs in size and layout, so these are never forwarded.
@ Written in ARM state; callers in either state reach them by BLX/BX.

    .syntax unified
    .arm
    .fpu vfpv3-d16
    .text

@ The capability word: AT_HWCAP, stored once at load (sigsetjmp_tail.cpp); with HWCAP_VFP the
@ callee-saved d8-d15 travel too. FPA and iWMMXt do not exist on ARMv7; their blocks keep
@ their places in the layout.
    .section .bss.kelp_jmp_hwcap, "aw", %nobits
    .p2align 2
    .globl  kelp_jmp_hwcap
    .hidden kelp_jmp_hwcap
kelp_jmp_hwcap:
    .space 4

    .text

@ Loads the capability word into \reg (position independent).
.macro load_hwcap reg, label
    ldr     \reg, \label
1:  add     \reg, pc, \reg
    ldr     \reg, [\reg]
.endm

@ int setjmp(jmp_buf buf)
    .globl  setjmp
    .globl  __setjmp
    .globl  kelp_adaptor_setjmp
    .globl  kelp_adaptor__setjmp
    .type   setjmp, %function
    .type   __setjmp, %function
    .type   kelp_adaptor_setjmp, %function
    .type   kelp_adaptor__setjmp, %function
    .p2align 2
setjmp:
__setjmp:
kelp_adaptor_setjmp:
kelp_adaptor__setjmp:
    mov     ip, r0
    stmia   ip!, {r4-r11}
    str     sp, [ip], #4
    str     lr, [ip], #4
    ldr     r1, .Lhwcap_setjmp
.Lpc_setjmp:
    add     r1, pc, r1
    ldr     r1, [r1]
    mov     r0, #0
    tst     r1, #0x260
    bxeq    lr
    tst     r1, #0x20           @ FPA f4-f7
    addne   ip, ip, #48
    tst     r1, #0x40           @ VFP d8-d15
    vstmiane ip!, {d8-d15}
    bx      lr
.Lhwcap_setjmp:
    .word   kelp_jmp_hwcap - (.Lpc_setjmp + 8)
    .size   setjmp, .-setjmp
    .size   __setjmp, .-__setjmp
    .size   kelp_adaptor_setjmp, .-kelp_adaptor_setjmp
    .size   kelp_adaptor__setjmp, .-kelp_adaptor__setjmp

@ void longjmp(jmp_buf buf, int val): setjmp returns again, with val or 1 for 0.
    .globl  kelp_adaptor_longjmp
    .globl  kelp_adaptor_siglongjmp
    .globl  kelp_adaptor__longjmp
    .type   kelp_adaptor_longjmp, %function
    .type   kelp_adaptor_siglongjmp, %function
    .type   kelp_adaptor__longjmp, %function
    .p2align 2
kelp_adaptor_longjmp:
kelp_adaptor_siglongjmp:
kelp_adaptor__longjmp:
    mov     ip, r0
    movs    r0, r1
    moveq   r0, #1
    ldmia   ip!, {r4-r11}
    ldr     sp, [ip], #4
    ldr     lr, [ip], #4
    ldr     r1, .Lhwcap_longjmp
.Lpc_longjmp:
    add     r1, pc, r1
    ldr     r1, [r1]
    tst     r1, #0x260
    bxeq    lr
    tst     r1, #0x20
    addne   ip, ip, #48
    tst     r1, #0x40
    vldmiane ip!, {d8-d15}
    bx      lr
.Lhwcap_longjmp:
    .word   kelp_jmp_hwcap - (.Lpc_longjmp + 8)
    .size   kelp_adaptor_longjmp, .-kelp_adaptor_longjmp
    .size   kelp_adaptor_siglongjmp, .-kelp_adaptor_siglongjmp
    .size   kelp_adaptor__longjmp, .-kelp_adaptor__longjmp

@ int sigsetjmp(sigjmp_buf buf, int savemask)
    .globl  __sigsetjmp
    .globl  kelp_adaptor_sigsetjmp
    .type   __sigsetjmp, %function
    .type   kelp_adaptor_sigsetjmp, %function
    .p2align 2
__sigsetjmp:
kelp_adaptor_sigsetjmp:
    teq     r1, #0
    beq     setjmp(PLT)             @ through the exported, interposable entry
    str     lr, [r0, #256]
    str     r4, [r0, #268]
    mov     r4, r0
    bl      setjmp(PLT)             @ records r4 = buf and a return address here
    mov     r1, r0                  @ 0 now, the longjmp value later
    mov     r0, r4
    ldr     lr, [r0, #256]
    ldr     r4, [r0, #268]
    b       __sigsetjmp_tail(PLT)
    .size   __sigsetjmp, .-__sigsetjmp
    .size   kelp_adaptor_sigsetjmp, .-kelp_adaptor_sigsetjmp

    .section .note.GNU-stack, "", %progbits

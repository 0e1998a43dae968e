@ long RawSyscall(long number, long a0, long a1, long a2, long a3, long a4, long a5)
@ The EABI system call: number in r7, arguments in r0-r5, the kernel's result in r0. Assembly,
@ because r7 may be the frame pointer of compiled Thumb code.
    .syntax unified
    .arm
    .text
    .globl  RawSyscall
    .hidden RawSyscall
    .type   RawSyscall, %function
    .p2align 2
RawSyscall:
    mov     ip, sp
    push    {r4, r5, r7, lr}
    mov     r7, r0
    mov     r0, r1
    mov     r1, r2
    mov     r2, r3
    ldmia   ip, {r3, r4, r5}
    svc     #0
    pop     {r4, r5, r7, lr}
    bx      lr
    .size   RawSyscall, .-RawSyscall

    .section .note.GNU-stack, "", %progbits

# Test host: Debian's 32-bit ARM hard-float cross toolchain, binaries run under qemu-arm.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(KELP_TRIPLE arm-linux-gnueabihf)
set(KELP_SYSROOT /usr/${KELP_TRIPLE})
set(CMAKE_C_COMPILER ${KELP_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${KELP_TRIPLE}-g++)
set(CMAKE_ASM_COMPILER ${KELP_TRIPLE}-gcc)

# Debian's multiarch armhf packages (GoogleTest, Google Benchmark) live here.
set(CMAKE_FIND_ROOT_PATH ${KELP_SYSROOT} /usr/lib/${KELP_TRIPLE} /usr)
set(CMAKE_LIBRARY_ARCHITECTURE ${KELP_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# Programs run on Debian's multiarch armhf runtime (libc6:armhf, /lib/ld-linux-armhf.so.3), not
# under -L on the cross sysroot: that glibc build crashes in every fork() child under qemu-arm.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm)

# Android 12 (API 31), armeabi-v7a, without an NDK: the system's clang and lld over the bionic
# sysroot tarball, which is unpacked into the build tree on first use.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7-a)
set(KELP_ANDROID ON)

set(KELP_ANDROID_TRIPLE armv7a-linux-androideabi31)
set(KELP_ANDROID_SYSROOT_TARBALL "${CMAKE_CURRENT_LIST_DIR}/../../shared/android/api31-arm-sysroot.tar.xz"
    CACHE FILEPATH "Bionic API-31 sysroot tarball for 32-bit ARM")

# try_compile projects receive the unpacked sysroot's path and do not unpack again.
if(NOT KELP_ANDROID_SYSROOT)
  set(KELP_ANDROID_SYSROOT "${CMAKE_BINARY_DIR}/android-sysroot")
  set(stamp "${KELP_ANDROID_SYSROOT}/.unpacked")
  if(NOT EXISTS "${KELP_ANDROID_SYSROOT_TARBALL}")
    message(FATAL_ERROR "Android sysroot tarball not found: ${KELP_ANDROID_SYSROOT_TARBALL}")
  endif()
  if(NOT EXISTS "${stamp}" OR "${KELP_ANDROID_SYSROOT_TARBALL}" IS_NEWER_THAN "${stamp}")
    file(REMOVE_RECURSE "${KELP_ANDROID_SYSROOT}")
    file(ARCHIVE_EXTRACT INPUT "${KELP_ANDROID_SYSROOT_TARBALL}" DESTINATION "${KELP_ANDROID_SYSROOT}")
    file(TOUCH "${stamp}")
  endif()
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KELP_ANDROID_SYSROOT KELP_ANDROID_BUILTINS)
set(CMAKE_SYSROOT "${KELP_ANDROID_SYSROOT}")

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_ASM_COMPILER clang)
set(CMAKE_C_COMPILER_TARGET ${KELP_ANDROID_TRIPLE})
set(CMAKE_CXX_COMPILER_TARGET ${KELP_ANDROID_TRIPLE})
set(CMAKE_ASM_COMPILER_TARGET ${KELP_ANDROID_TRIPLE})

execute_process(COMMAND clang --print-resource-dir OUTPUT_VARIABLE kelp_resource_dir
                OUTPUT_STRIP_TRAILING_WHITESPACE)
# The sysroot carries no C++ headers: the system's libc++ headers serve (header-only use; nothing
# of the C++ runtime is linked). They must come ahead of bionic's, which -isystem ensures.
get_filename_component(kelp_libcxx_headers "${kelp_resource_dir}/../../../include/c++/v1" ABSOLUTE)
if(NOT EXISTS "${kelp_libcxx_headers}/__config")
  message(FATAL_ERROR "libc++ headers not found at ${kelp_libcxx_headers} (scripts/bootstrap)")
endif()

# The NDK's default flags for armeabi-v7a.
set(kelp_flags "-DANDROID -mthumb -fstack-protector-strong -D_FORTIFY_SOURCE=2 -ffunction-sections -fdata-sections -funwind-tables -no-canonical-prefixes")
set(CMAKE_C_FLAGS_INIT "${kelp_flags}")
set(CMAKE_CXX_FLAGS_INIT "${kelp_flags} -nostdinc++ -isystem ${kelp_libcxx_headers}")
set(CMAKE_ASM_FLAGS_INIT "${kelp_flags}")
set(kelp_link "-fuse-ld=lld -Wl,--build-id=sha1 -Wl,--gc-sections -Wl,--fatal-warnings")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${kelp_link}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${kelp_link}")

# The compiler's own runtime for the arithmetic helpers (__aeabi_ldivmod, __aeabi_l2d, ...),
# linked statically. Clang looks for an Android build of it that Debian does not ship; its
# armhf build serves, since every __aeabi_* entry follows the base procedure-call standard
# whatever the float ABI. CMakeLists.txt links it by path.
if(NOT KELP_ANDROID_BUILTINS)
  set(KELP_ANDROID_BUILTINS "${kelp_resource_dir}/lib/linux/libclang_rt.builtins-armhf.a")
endif()

# No executable can be linked without the adaptor's own start files: check compilers by compiling.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

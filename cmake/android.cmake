# Links libkelpadaptor.so for Android: bionic's libc, libm and libdl, the compiler's builtins
# statically, no C++ runtime. Included by CMakeLists.txt for the NDK and the sysroot toolchain.
# Also records the C++ compile command for the host-seam check (tests/android/seam_check.sh).

# Every Android shared library's start file crtbegin_so.o defines a hidden atexit (and
# pthread_atfork) that registers with the library's own __dso_handle. The adaptor exports the
# guest's atexit under that very name, and a linker keeps one symbol per name: so the adaptor
# links a copy of the start file in which those two are local. The start file's own code never
# calls them, and every other part of it (__dso_handle, the dlclose hook) is unchanged.
set(kelp_target_flag "")
if(CMAKE_C_COMPILER_TARGET)
  set(kelp_target_flag "--target=${CMAKE_C_COMPILER_TARGET}")
endif()
foreach(crt crtbegin_so crtend_so)
  execute_process(
    COMMAND ${CMAKE_C_COMPILER} ${kelp_target_flag} --sysroot=${CMAKE_SYSROOT}
            -print-file-name=${crt}.o
    OUTPUT_VARIABLE kelp_${crt} OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${kelp_${crt}}" OR NOT EXISTS "${kelp_${crt}}")
    message(FATAL_ERROR "Android start file ${crt}.o not found (got '${kelp_${crt}}')")
  endif()
endforeach()

find_program(KELP_OBJCOPY NAMES llvm-objcopy objcopy HINTS ${ANDROID_TOOLCHAIN_ROOT}/bin REQUIRED)
set(kelp_crtbegin_local ${CMAKE_BINARY_DIR}/crtbegin_so.local.o)
add_custom_command(
  OUTPUT ${kelp_crtbegin_local}
  COMMAND ${KELP_OBJCOPY} --localize-symbol=atexit --localize-symbol=pthread_atfork
          ${kelp_crtbegin_so} ${kelp_crtbegin_local}
  DEPENDS ${kelp_crtbegin_so}
  COMMENT "Start file with its atexit local")
add_custom_target(kelp_android_crtbegin DEPENDS ${kelp_crtbegin_local})
add_dependencies(kelpadaptor kelp_android_crtbegin)

# Start files by hand: the copy above first, crtend_so.o last.
target_link_options(kelpadaptor PRIVATE -nostartfiles -nostdlib++ ${kelp_crtbegin_local})
set_property(TARGET kelpadaptor APPEND PROPERTY LINK_DEPENDS ${kelp_crtbegin_local})
if(KELP_ANDROID_BUILTINS)
  # Without an NDK clang knows no Android builtins library: name every library instead.
  if(NOT EXISTS "${KELP_ANDROID_BUILTINS}")
    message(FATAL_ERROR "Compiler builtins not found: ${KELP_ANDROID_BUILTINS} (scripts/bootstrap)")
  endif()
  # The why-extract record lets a test see which helpers came from the builtins archive.
  # The archive is built for the hard-float ABI and says so in each member's attributes, which
  # would mark the library hard-float too; a copy without them is linked. A test checks that
  # only __aeabi_* helpers, whose convention is the same under both ABIs, are taken from it.
  set(kelp_builtins ${CMAKE_BINARY_DIR}/libkelp_builtins.a)
  add_custom_command(
    OUTPUT ${kelp_builtins}
    COMMAND ${KELP_OBJCOPY} --remove-section=.ARM.attributes ${KELP_ANDROID_BUILTINS} ${kelp_builtins}
    DEPENDS ${KELP_ANDROID_BUILTINS}
    COMMENT "Compiler builtins without their float-ABI attributes")
  add_custom_target(kelp_android_builtins DEPENDS ${kelp_builtins})
  add_dependencies(kelpadaptor kelp_android_builtins)
  target_link_options(kelpadaptor PRIVATE -nodefaultlibs
                      -Wl,--why-extract=${CMAKE_BINARY_DIR}/builtins-extracted.txt)
  target_link_libraries(kelpadaptor PRIVATE m dl ${kelp_builtins} c ${kelp_crtend_so})
else()
  # The NDK's clang adds bionic's libc and its own builtins.
  target_link_libraries(kelpadaptor PRIVATE m dl ${kelp_crtend_so})
endif()

# The compiler and flags of the adaptor's C++ sources, one argument a line.
string(TOUPPER "${CMAKE_BUILD_TYPE}" kelp_build_type)
separate_arguments(kelp_cxx_flags UNIX_COMMAND
                   "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${kelp_build_type}}")
set(kelp_seam_command ${CMAKE_CXX_COMPILER})
if(CMAKE_CXX_COMPILER_TARGET)
  list(APPEND kelp_seam_command --target=${CMAKE_CXX_COMPILER_TARGET})
endif()
list(APPEND kelp_seam_command --sysroot=${CMAKE_SYSROOT} ${kelp_cxx_flags} -std=gnu++20
     -I${CMAKE_SOURCE_DIR}/src ${KELP_WARNINGS} ${KELP_NO_CXX_RUNTIME})
list(JOIN kelp_seam_command "\n" kelp_seam_command)
file(WRITE ${CMAKE_BINARY_DIR}/seam-check.command "${kelp_seam_command}\n")

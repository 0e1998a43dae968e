# The test hook library libnative_hook.z.so, in variants that each live in a directory of their
# own under ${CMAKE_BINARY_DIR}/hook: ok, init-fails (initialize returns false) and partial
# (lacks kelp_malloc_hook_munmap). Malloc-hook tests find them through KELP_HOOK_DIR.
set(KELP_HOOK_DIR ${CMAKE_BINARY_DIR}/hook)
set(KELP_HOOK_VARIANTS ok init-fails partial)
set(KELP_HOOK_DEFINES_ok "")
set(KELP_HOOK_DEFINES_init-fails NATIVE_HOOK_INITIALIZE_RESULT=0)
set(KELP_HOOK_DEFINES_partial NATIVE_HOOK_WITHOUT_MUNMAP)
foreach(variant IN LISTS KELP_HOOK_VARIANTS)
  set(target native_hook_${variant})
  add_library(${target} SHARED ${CMAKE_CURRENT_LIST_DIR}/native_hook.c)
  target_compile_definitions(${target} PRIVATE ${KELP_HOOK_DEFINES_${variant}})
  target_compile_options(${target} PRIVATE ${KELP_WARNINGS})
  set_target_properties(${target} PROPERTIES OUTPUT_NAME native_hook.z C_VISIBILITY_PRESET hidden
                        LIBRARY_OUTPUT_DIRECTORY ${KELP_HOOK_DIR}/${variant})
  list(APPEND KELP_HOOK_TARGETS ${target})
endforeach()

file(GLOB KELP_HOOK_TESTS CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*_test.cpp)
foreach(source IN LISTS KELP_HOOK_TESTS)
  get_filename_component(name ${source} NAME_WE)
  string(REGEX REPLACE "_test$" "" name ${name})
  target_compile_definitions(unit_malloc_hook_${name} PRIVATE KELP_HOOK_DIR="${KELP_HOOK_DIR}")
  add_dependencies(unit_malloc_hook_${name} ${KELP_HOOK_TARGETS})
endforeach()

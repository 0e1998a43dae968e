# kelp_guest_program(NAME SOURCE OUTDIR [EXTRA kelp-cc options...])
# Builds OUTDIR/adaptor/NAME (through the adaptor) and OUTDIR/reference/NAME (real musl)
# with tools/kelp-cc, and sets KELP_GUEST_OUTPUTS_<NAME> to both paths.
set(KELP_CC ${CMAKE_SOURCE_DIR}/tools/kelp-cc)
function(kelp_guest_program name source outdir)
  set(adaptor ${outdir}/adaptor/${name})
  set(reference ${outdir}/reference/${name})
  file(GLOB guest_headers ${CMAKE_SOURCE_DIR}/tests/guest/*.h)
  add_custom_command(
    OUTPUT ${adaptor} ${reference}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${outdir}/adaptor ${outdir}/reference
    COMMAND ${CMAKE_COMMAND} -E env KELP_BUILD_DIR=${CMAKE_BINARY_DIR}
            ${KELP_CC} -O1 -g -Wall -Werror ${ARGN} -o ${adaptor} ${source}
    COMMAND ${CMAKE_COMMAND} -E env KELP_BUILD_DIR=${CMAKE_BINARY_DIR}
            ${KELP_CC} --reference -O1 -g -Wall -Werror ${ARGN} -o ${reference} ${source}
    DEPENDS ${source} ${guest_headers} ${KELP_CC} kelpadaptor kelphost kelp_export_lists
    COMMENT "Building guest program ${name}"
    VERBATIM)
  set(KELP_GUEST_OUTPUTS_${name} ${adaptor} ${reference} PARENT_SCOPE)
endfunction()

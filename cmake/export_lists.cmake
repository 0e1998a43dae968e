# Reads the adaptor's version script and writes:
#   EXPORTS:  every exported name, one per line;
#   REDEFINE: "X kelp_adaptor_X" for every exported kelp_adaptor_X (objcopy --redefine-syms).
file(READ "${MAP}" text)
string(REGEX REPLACE "/\\*[^*]*\\*+([^/*][^*]*\\*+)*/" "" text "${text}")
string(REGEX MATCH "global:(.*)local:" body "${text}")
set(body "${CMAKE_MATCH_1}")
# With comments gone the body holds only names, semicolons and blanks.
string(REGEX MATCHALL "[A-Za-z_][A-Za-z0-9_]*" names "${body}")
set(exports "")
set(redefine "")
foreach(name IN LISTS names)
  string(APPEND exports "${name}\n")
  if(name MATCHES "^kelp_adaptor_(.+)$")
    string(APPEND redefine "${CMAKE_MATCH_1} ${name}\n")
  endif()
endforeach()
file(WRITE "${EXPORTS}" "${exports}")
file(WRITE "${REDEFINE}" "${redefine}")

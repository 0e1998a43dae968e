# Reads the adaptor's version script and writes:
#   EXPORTS:  every exported name, one per line;
#   REDEFINE: "X kelp_adaptor_X" for every exported kelp_adaptor_X (objcopy --redefine-syms).
file(READ "${MAP}" text)
string(REGEX REPLACE "/\\*[^*]*\\*+([^/*][^*]*\\*+)*/" "" text "${text}")
string(REGEX MATCH "global:(.*)local:" body "${text}")
set(body "${CMAKE_MATCH_1}")
string(REGEX MATCHALL "[A-Za-z_][A-Za-z0-9_]*[ \t]*;" entries "${body}")
set(exports "")
set(redefine "")
foreach(e IN LISTS entries)
  string(REGEX REPLACE "[ \t]*;" "" name "${e}")
  string(APPEND exports "${name}\n")
  if(name MATCHES "^kelp_adaptor_(.+)$")
    string(APPEND redefine "${CMAKE_MATCH_1} ${name}\n")
  endif()
endforeach()
file(WRITE "${EXPORTS}" "${exports}")
file(WRITE "${REDEFINE}" "${redefine}")

// The adaptor's static initialisers, in the one order they run when the library is loaded:
//   1. InitMallocHook      malloc-hook state and the signals that switch it
//   2. InitNamespaces      linker-namespace registry
//   3. InitLangInfoTable   nl_langinfo item table
//   4. InitRegexMap        regular-expression object map
// Each slot is defined by its subsystem (a missing one is skipped). A slot builds the state it
// owns itself, so nothing depends on the order of C++ global constructors across files.
#pragma once

void InitMallocHook() __attribute__((weak, visibility("hidden")));
void InitNamespaces() __attribute__((weak, visibility("hidden")));
void InitLangInfoTable() __attribute__((weak, visibility("hidden")));
void InitRegexMap() __attribute__((weak, visibility("hidden")));

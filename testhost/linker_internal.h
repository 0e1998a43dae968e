// Test host: shared between the stand-in linker and its record.
#pragma once

#include <stddef.h>

#include "linker_record.h"

// Copies `from` (null reads as "") into `to`, truncated and terminated.
void CopyText(char* to, size_t size, const char* from);

void RecordNamespace(const android_namespace_t* ns);
void RecordLink(const KelphostLink& link);
void RecordOpen(const KelphostOpen& open);
void RecordSymbolLookup(const KelphostSymbolLookup& lookup);
// Whether a KelphostLinkerFailure is switched on.
bool Failing(unsigned failure);

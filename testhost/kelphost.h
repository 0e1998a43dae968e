// Marks libkelphost.so's exports; libkelphost.map lists them.
#pragma once

#define KELPHOST_EXPORT extern "C" __attribute__((visibility("default")))

// For exported data, inside an extern "C" block.
#define KELPHOST_EXPORT_DATA __attribute__((visibility("default")))

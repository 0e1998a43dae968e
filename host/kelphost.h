// Marks libkelphost.so's exports; libkelphost.map lists them.
#pragma once

#define KELPHOST_EXPORT extern "C" __attribute__((visibility("default")))

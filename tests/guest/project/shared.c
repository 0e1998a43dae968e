#include <stdio.h>

#include "project.h"

static int constructed;
__attribute__((constructor)) static void shared_init(void) { constructed = 1; }
__attribute__((destructor)) static void shared_fini(void) { puts("libshared: destructor"); }

const char* shared_greeting(void) { return "hello from libshared"; }
int shared_constructed(void) { return constructed; }

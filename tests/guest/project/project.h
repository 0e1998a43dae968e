#ifndef PROJECT_H
#define PROJECT_H
#include <stddef.h>

/* util.c */
int util_sum(const int* values, int count);
/* part.c, in libpart.a */
double part_hypot(double a, double b);
long long part_seconds_since(long long then);
/* shared.c, in libshared.so */
const char* shared_greeting(void);
int shared_constructed(void);
/* plugin.c, in libplugin.so, found with dlsym */
typedef int (*plugin_fn)(char* out, size_t size);
#endif

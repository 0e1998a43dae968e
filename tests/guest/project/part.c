#include <math.h>
#include <time.h>

#include "project.h"

double part_hypot(double a, double b) { return sqrt(a * a + b * b); }

long long part_seconds_since(long long then) { return (long long)time(NULL) - then; }

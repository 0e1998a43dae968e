// bionic's floating-point classification and default environment. glibc's headers declare the
// classification functions with another exception specification, hence the asm labels.
#pragma once

#include <fenv.h>

extern "C" {
int BionicFpclassify(double x) __asm__("__fpclassify");
int BionicFpclassifyf(float x) __asm__("__fpclassifyf");
int BionicFpclassifyl(long double x) __asm__("__fpclassifyl");
extern const fenv_t __fe_dfl_env;
}

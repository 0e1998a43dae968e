// Powers of ten: whole exponents give exactly the double (or float) nearest to 10^n, which the
// compiler's own reading of the decimal literal gives independently.
#include <errno.h>
#include <gtest/gtest.h>
#include <math.h>

#include "support/adaptor_symbol.h"

namespace {

using DoubleFn = double (*)(double);
using FloatFn = float (*)(float);

const char* const kDoubleNames[] = {"exp10", "exp10l", "pow10", "pow10l"};
const char* const kFloatNames[] = {"exp10f", "pow10f"};

struct DoubleCase {
  double x, expected;
};
const DoubleCase kWholeDoubles[] = {
    {0, 1},         {1, 10},        {2, 100},        {15, 1e15},      {22, 1e22},
    {23, 1e23},     {24, 1e24},     {37, 1e37},      {100, 1e100},    {200, 1e200},
    {300, 1e300},   {307, 1e307},   {308, 1e308},    {-1, 1e-1},      {-2, 1e-2},
    {-5, 1e-5},     {-22, 1e-22},   {-23, 1e-23},    {-100, 1e-100},  {-300, 1e-300},
    {-307, 1e-307}, {-308, 1e-308}, {-310, 1e-310},  {-320, 1e-320},  {-323, 1e-323},
    {-324, 0.0},    {-399, 0.0},    {309, HUGE_VAL}, {399, HUGE_VAL}, {1000, HUGE_VAL},
    {-1000, 0.0},
};

struct FloatCase {
  float x, expected;
};
const FloatCase kWholeFloats[] = {
    {0, 1},        {1, 10},     {10, 1e10f},     {11, 1e11f},      {20, 1e20f},   {38, 1e38f},
    {-1, 1e-1f},   {-3, 1e-3f}, {-10, 1e-10f},   {-37, 1e-37f},    {-38, 1e-38f}, {-40, 1e-40f},
    {-45, 1e-45f}, {-46, 0.0f}, {39, HUGE_VALF}, {100, HUGE_VALF},
};

}  // namespace

TEST(exp10, whole_exponents_are_exact) {
  for (const char* name : kDoubleNames) {
    auto fn = AdaptorSymbol<DoubleFn>(name);
    for (const DoubleCase& c : kWholeDoubles) {
      EXPECT_EQ(c.expected, fn(c.x)) << name << "(" << c.x << ")";
    }
  }
}

TEST(exp10f, whole_exponents_are_exact) {
  for (const char* name : kFloatNames) {
    auto fn = AdaptorSymbol<FloatFn>(name);
    for (const FloatCase& c : kWholeFloats) {
      EXPECT_EQ(c.expected, fn(c.x)) << name << "(" << c.x << ")";
    }
  }
}

TEST(exp10, other_exponents_within_an_ulp) {
  static const DoubleCase kCases[] = {
      {0.5, 3.1622776601683795},       {-0.5, 0.31622776601683794},
      {2.5, 316.22776601683796},       {0.30102999566398120, 2.0000000000000000},
      {-3.25, 5.6234132519034908e-4},  {1e-20, 1.0000000000000000},
      {307.5, 3.1622776601683795e307},
  };
  for (const char* name : kDoubleNames) {
    auto fn = AdaptorSymbol<DoubleFn>(name);
    for (const DoubleCase& c : kCases) {
      double got = fn(c.x);
      EXPECT_LE(fabs(got - c.expected), nextafter(c.expected, HUGE_VAL) - c.expected)
          << name << "(" << c.x << ") = " << got;
    }
  }
  auto f = AdaptorSymbol<FloatFn>("exp10f");
  EXPECT_NEAR(3.1622777f, f(0.5f), 3e-7f);
}

TEST(exp10, special_values_and_range_errors) {
  for (const char* name : kDoubleNames) {
    auto fn = AdaptorSymbol<DoubleFn>(name);
    EXPECT_TRUE(isnan(fn(NAN))) << name;
    EXPECT_EQ(HUGE_VAL, fn(HUGE_VAL)) << name;
    EXPECT_EQ(0.0, fn(-HUGE_VAL)) << name;
    errno = 0;
    EXPECT_EQ(HUGE_VAL, fn(400.5)) << name;
    EXPECT_EQ(ERANGE, errno) << name;
    errno = 0;
    EXPECT_EQ(HUGE_VAL, fn(309)) << name;
    EXPECT_EQ(ERANGE, errno) << name;
  }
  auto f = AdaptorSymbol<FloatFn>("exp10f");
  EXPECT_TRUE(isnan(f(NAN)));
  EXPECT_EQ(0.0f, f(-HUGE_VALF));
}

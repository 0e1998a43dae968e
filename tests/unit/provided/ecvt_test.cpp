// ecvt, fcvt and gcvt against the legacy definitions: ecvt gives ndigit significant digits,
// fcvt ndigit digits after the radix character, both without sign or radix; gcvt is %g.
#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include "support/adaptor_symbol.h"

namespace {

using CvtFn = char* (*)(double, int, int*, int*);
using GcvtFn = char* (*)(double, int, char*);

struct Case {
  double value;
  int ndigit;
  const char* digits;
  int decpt;
  int sign;
};

const Case kEcvt[] = {
    {123.456, 5, "12346", 3, 0}, {-123.456, 3, "123", 3, 1},
    {0.00123, 2, "12", -2, 0},   {9.996, 3, "100", 2, 0},
    {9.996, 4, "9996", 1, 0},    {1.0, 1, "1", 1, 0},
    {0.5, 3, "500", 0, 0},       {1e300, 4, "1000", 301, 0},
    {-1e-300, 2, "10", -299, 1}, {0.0, 3, "000", 1, 0},
    {-0.0, 2, "00", 1, 1},       {2.5, 1, "2", 1, 0},
    {3.5, 1, "4", 1, 0},         {12345678901234567890.0, 20, "12345678901234567168", 20, 0},
    {123.0, 0, "", 3, 0},
};

const Case kFcvt[] = {
    {123.456, 2, "12346", 3, 0}, {-123.456, 0, "123", 3, 1},
    {0.00123, 3, "1", -2, 0},    {0.00123, 5, "123", -2, 0},
    {0.001, 2, "000", 1, 0},     {9.996, 2, "1000", 2, 0},
    {0.5, 1, "5", 0, 0},         {1e20, 1, "1000000000000000000000", 21, 0},
    {0.0, 2, "000", 1, 0},       {-5.5, 0, "6", 1, 1},
    {0.25, 1, "2", 0, 0},        {123.456, -2, "123", 3, 0},
};

}  // namespace

TEST(ecvt, significant_digits) {
  ADAPTOR_FN(CvtFn, ecvt, "ecvt");
  for (const Case& c : kEcvt) {
    int decpt = 99, sign = 99;
    EXPECT_STREQ(c.digits, ecvt(c.value, c.ndigit, &decpt, &sign)) << c.value << " " << c.ndigit;
    EXPECT_EQ(c.decpt, decpt) << c.value << " " << c.ndigit;
    EXPECT_EQ(c.sign, sign != 0) << c.value;
  }
}

TEST(fcvt, fraction_digits) {
  ADAPTOR_FN(CvtFn, fcvt, "fcvt");
  for (const Case& c : kFcvt) {
    int decpt = 99, sign = 99;
    EXPECT_STREQ(c.digits, fcvt(c.value, c.ndigit, &decpt, &sign)) << c.value << " " << c.ndigit;
    EXPECT_EQ(c.decpt, decpt) << c.value << " " << c.ndigit;
    EXPECT_EQ(c.sign, sign != 0) << c.value;
  }
}

TEST(ecvt, each_function_has_its_own_static_buffer) {
  ADAPTOR_FN(CvtFn, ecvt, "ecvt");
  ADAPTOR_FN(CvtFn, fcvt, "fcvt");
  int decpt, sign;
  char* e = ecvt(1.5, 2, &decpt, &sign);
  char* f = fcvt(2.25, 2, &decpt, &sign);
  EXPECT_STREQ("15", e);
  EXPECT_STREQ("225", f);
  EXPECT_EQ(e, ecvt(7.0, 1, &decpt, &sign));  // the same buffer, overwritten
  EXPECT_STREQ("7", e);
}

TEST(ecvt, long_digit_strings_are_complete) {
  ADAPTOR_FN(CvtFn, ecvt, "ecvt");
  ADAPTOR_FN(CvtFn, fcvt, "fcvt");
  int decpt, sign;
  std::string digits = ecvt(1.0 / 3.0, 60, &decpt, &sign);
  EXPECT_EQ(60u, digits.size());
  EXPECT_EQ(0, decpt);
  EXPECT_EQ(0u, digits.find("3333333333333333148"));  // the double's exact expansion
  digits = fcvt(1e300, 5, &decpt, &sign);
  EXPECT_EQ(306u, digits.size());
  EXPECT_EQ(301, decpt);
}

TEST(gcvt, like_percent_g) {
  ADAPTOR_FN(GcvtFn, gcvt, "gcvt");
  static const struct {
    double value;
    int ndigit;
    const char* text;
  } kCases[] = {{123.456, 5, "123.46"},     {123.456, 2, "1.2e+02"},
                {0.0001234, 3, "0.000123"}, {0.00001234, 3, "1.23e-05"},
                {-2.5, 4, "-2.5"},          {100.0, 6, "100"},
                {1e21, 10, "1e+21"},        {0.0, 3, "0"}};
  for (const auto& c : kCases) {
    char buf[64];
    memset(buf, 'x', sizeof(buf));
    EXPECT_EQ(buf, gcvt(c.value, c.ndigit, buf));
    EXPECT_STREQ(c.text, buf) << c.value;
  }
}

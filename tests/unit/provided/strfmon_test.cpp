// strfmon in the C locale: the standard's examples without currency symbol and grouping (the
// C locale has neither), '.' as radix character, two fraction digits unless asked otherwise.
#include <errno.h>
#include <gtest/gtest.h>
#include <locale.h>
#include <sys/types.h>

#include "support/adaptor_symbol.h"

namespace {

using StrfmonFn = ssize_t (*)(char*, size_t, const char*, ...);
using StrfmonLFn = ssize_t (*)(char*, size_t, locale_t, const char*, ...);

struct Case {
  const char* format;
  const char* positive;  // of 123.45
  const char* negative;  // of -123.45
  const char* large;     // of 3456.781
};
const Case kCases[] = {
    {"%n", "123.45", "-123.45", "3456.78"},
    {"%i", "123.45", "-123.45", "3456.78"},
    {"%11n", "     123.45", "    -123.45", "    3456.78"},
    {"%#5n", "   123.45", "-  123.45", "  3456.78"},
    {"%=*#5n", " **123.45", "-**123.45", " *3456.78"},
    {"%=0#5n", " 00123.45", "-00123.45", " 03456.78"},
    {"%^#5n", "   123.45", "-  123.45", "  3456.78"},
    {"%^#5.0n", "   123", "-  123", "  3457"},
    {"%^#5.4n", "   123.4500", "-  123.4500", "  3456.7810"},
    {"%(#5n", "   123.45 ", "(  123.45)", "  3456.78 "},
    {"%!(#5n", "   123.45 ", "(  123.45)", "  3456.78 "},
    {"%-14#5.4n", "   123.4500   ", "-  123.4500   ", "  3456.7810   "},
    {"%14#5.4n", "      123.4500", "   -  123.4500", "     3456.7810"},
    {"%(n", "123.45", "(123.45)", "3456.78"},
    {"%+n", "123.45", "-123.45", "3456.78"},
    {"%-10n|", "123.45    |", "-123.45   |", "3456.78   |"},
    {"%.1n", "123.5", "-123.5", "3456.8"},
    {"[%n] costs %%", "[123.45] costs %", "[-123.45] costs %", "[3456.78] costs %"},
};

}  // namespace

TEST(strfmon, the_standard_examples_in_the_c_locale) {
  ADAPTOR_FN(StrfmonFn, strfmon, "strfmon");
  ADAPTOR_FN(StrfmonLFn, strfmon_l, "strfmon_l");
  for (const Case& c : kCases) {
    const double values[] = {123.45, -123.45, 3456.781};
    const char* expected[] = {c.positive, c.negative, c.large};
    for (int i = 0; i < 3; ++i) {
      char buf[64];
      ssize_t n = strfmon(buf, sizeof(buf), c.format, values[i]);
      EXPECT_STREQ(expected[i], buf) << c.format << " " << values[i];
      EXPECT_EQ(static_cast<ssize_t>(strlen(expected[i])), n) << c.format;
      n = strfmon_l(buf, sizeof(buf), nullptr, c.format, values[i]);
      EXPECT_STREQ(expected[i], buf) << "strfmon_l " << c.format;
    }
  }
}

TEST(strfmon, several_amounts) {
  ADAPTOR_FN(StrfmonFn, strfmon, "strfmon");
  char buf[64];
  EXPECT_EQ(18, strfmon(buf, sizeof(buf), "%n + %.0n = %#3n", 1.5, 2.0, 3.5));
  EXPECT_STREQ("1.50 + 2 =    3.50", buf);
}

TEST(strfmon, too_small_a_buffer_is_e2big) {
  ADAPTOR_FN(StrfmonFn, strfmon, "strfmon");
  char buf[16];
  errno = 0;
  EXPECT_EQ(-1, strfmon(buf, 6, "%n", 123.45));
  EXPECT_EQ(E2BIG, errno);
  EXPECT_EQ(6, strfmon(buf, 7, "%n", 123.45));  // exactly room for the terminator
  EXPECT_STREQ("123.45", buf);
  errno = 0;
  EXPECT_EQ(-1, strfmon(buf, 3, "abc"));
  EXPECT_EQ(E2BIG, errno);
  EXPECT_EQ(-1, strfmon(buf, 0, ""));
}

TEST(strfmon, malformed_specifications_are_einval) {
  ADAPTOR_FN(StrfmonFn, strfmon, "strfmon");
  for (const char* format : {"%q", "%", "abc%", "%+(n", "%#n5", "%="}) {
    char buf[32];
    errno = 0;
    EXPECT_EQ(-1, strfmon(buf, sizeof(buf), format, 1.0)) << format;
    EXPECT_EQ(EINVAL, errno) << format;
  }
}

// fmtmsg on standard error: the standard's layout, its example, and MSGVERB's selection.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "support/adaptor_symbol.h"
#include "support/capture_fd.h"

namespace {

using FmtmsgFn = int (*)(long, const char*, int, const char*, const char*, const char*);

constexpr long kPrint = 256;
constexpr int kHalt = 1, kError = 2, kWarning = 3, kInfo = 4, kNoSev = 0;

struct Case {
  const char* msgverb;  // null: unset
  const char* label;
  int severity;
  const char* text;
  const char* action;
  const char* tag;
  const char* expected;
};

const char kAction[] = "refer to cat in user's reference manual";
const Case kCases[] = {
    {nullptr, "XSI:cat", kError, "illegal option", kAction, "XSI:cat:001",
     "XSI:cat: ERROR: illegal option\nTO FIX: refer to cat in user's reference manual "
     "XSI:cat:001\n"},
    {"severity:text:action", "XSI:cat", kError, "illegal option", kAction, "XSI:cat:001",
     "ERROR: illegal option\nTO FIX: refer to cat in user's reference manual\n"},
    {"", "XSI:cat", kError, "illegal option", "a", "t",
     "XSI:cat: ERROR: illegal option\nTO FIX: a t\n"},
    {"text:bogus", "L:x", kError, "t", "a", "g", "L:x: ERROR: t\nTO FIX: a g\n"},
    {"text:", "L:x", kError, "t", "a", "g", "L:x: ERROR: t\nTO FIX: a g\n"},
    {"tag:label", "L:x", kError, "t", "a", "g", "L:x\ng\n"},
    {"action", "L:x", kError, "t", "a", "g", "TO FIX: a\n"},
    {nullptr, nullptr, kHalt, "stopped", nullptr, nullptr, "HALT: stopped\n"},
    {nullptr, "L:x", kWarning, nullptr, "act", nullptr, "L:x: WARNING\nTO FIX: act\n"},
    {nullptr, "L:x", kInfo, "t", nullptr, "L:x:9", "L:x: INFO: t\nL:x:9\n"},
    {nullptr, "L:x", kNoSev, "t", nullptr, nullptr, "L:x: t\n"},
    {nullptr, nullptr, kNoSev, nullptr, nullptr, nullptr, "\n"},
};

}  // namespace

TEST(fmtmsg, standard_error_layout) {
  ADAPTOR_FN(FmtmsgFn, fmtmsg, "fmtmsg");
  for (const Case& c : kCases) {
    if (c.msgverb != nullptr) {
      setenv("MSGVERB", c.msgverb, 1);
    } else {
      unsetenv("MSGVERB");
    }
    CaptureFd err(2);
    int result = fmtmsg(kPrint, c.label, c.severity, c.text, c.action, c.tag);
    EXPECT_EQ(c.expected, err.Text()) << (c.msgverb ? c.msgverb : "(unset)");
    EXPECT_EQ(0, result);
  }
  unsetenv("MSGVERB");
}

TEST(fmtmsg, no_destination_prints_nothing) {
  ADAPTOR_FN(FmtmsgFn, fmtmsg, "fmtmsg");
  CaptureFd err(2);
  EXPECT_EQ(0, fmtmsg(0, "L:x", kError, "t", "a", "g"));
  EXPECT_EQ("", err.Text());
}

TEST(fmtmsg, unknown_severity_fails_without_output) {
  ADAPTOR_FN(FmtmsgFn, fmtmsg, "fmtmsg");
  for (int severity : {-1, 5, 99}) {
    CaptureFd err(2);
    EXPECT_EQ(-1, fmtmsg(kPrint, "L:x", severity, "t", "a", "g")) << severity;
    EXPECT_EQ("", err.Text());
  }
}

TEST(fmtmsg, unwritable_standard_error_is_mm_nomsg) {
  ADAPTOR_FN(FmtmsgFn, fmtmsg, "fmtmsg");
  int saved = dup(2);
  close(2);
  int result = fmtmsg(kPrint, "L:x", kError, "t", "a", "g");
  dup2(saved, 2);
  close(saved);
  EXPECT_EQ(1, result);
}

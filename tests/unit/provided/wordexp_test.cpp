// wordexp: the shell's expansions of command arguments, the WRDE_* flags and errors (musl's
// numbering), and wordfree.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/adaptor_symbol.h"
#include "support/capture_fd.h"
#include "support/temp_dir.h"

namespace {

struct GuestWordexp {
  uint32_t we_wordc;
  char** we_wordv;
  uint32_t we_offs;
};

constexpr int kDoOffs = 1, kAppend = 2, kNoCmd = 4, kReuse = 8, kShowErr = 16, kUndef = 32;
constexpr int kBadChar = 2, kBadVal = 3, kCmdSub = 4, kSyntax = 5;

int Wordexp(const char* words, GuestWordexp* we, int flags) {
  ADAPTOR_FN(int (*)(const char*, GuestWordexp*, int), fn, "wordexp");
  return fn(words, we, flags);
}
void Wordfree(GuestWordexp* we) {
  ADAPTOR_FN(void (*)(GuestWordexp*), fn, "wordfree");
  fn(we);
}

// The words joined as "[a][b]", or "error N".
std::string Expand(const char* words, int flags = 0) {
  GuestWordexp we = {};
  int result = Wordexp(words, &we, flags);
  if (result != 0) return "error " + std::to_string(result);
  std::string text;
  for (uint32_t i = 0; i < we.we_wordc; ++i) text += std::string("[") + we.we_wordv[i] + "]";
  EXPECT_EQ(nullptr, we.we_wordv[we.we_wordc]);
  Wordfree(&we);
  return text;
}

class WordexpTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("A", "x  y", 1);
    setenv("E", "", 1);
    setenv("P", "a*b", 1);
    setenv("N", "7", 1);
    setenv("HOME", "/home/q", 1);
    setenv("F", "file.tar.gz", 1);
    unsetenv("U");
    unsetenv("IFS");
  }
};

struct Case {
  const char* words;
  const char* expected;
};

}  // namespace

TEST_F(WordexpTest, quoting_parameters_and_splitting) {
  static const Case kCases[] = {
      {"a b  c", "[a][b][c]"},
      {" \t lead and trail \t", "[lead][and][trail]"},
      {"'a b' \"c d\"", "[a b][c d]"},
      {"a'b'\"c\"d", "[abcd]"},
      {"$A", "[x][y]"},
      {"\"$A\"", "[x  y]"},
      {"${A}z", "[x][yz]"},
      {"z$A", "[zx][y]"},
      {"${#A}", "[4]"},
      {"${#U}", "[0]"},
      {"${U:-def ault}", "[def][ault]"},
      {"\"${U:-def ault}\"", "[def ault]"},
      {"${U:-'a b'}", "[a b]"},
      {"${U-d}", "[d]"},
      {"${E:-d}", "[d]"},
      {"${E-d}", ""},
      {"\"${E-d}\"", "[]"},
      {"${A:+set}", "[set]"},
      {"${E:+set}", ""},
      {"${E+set}", "[set]"},
      {"${U+set}", ""},
      {"${U:=v}", "[v]"},
      {"${A:?gone}", "[x][y]"},
      {"\\$A", "[$A]"},
      {"'$A'", "[$A]"},
      {"\"\\$A \\\" \\\\ \\a\"", "[$A \" \\ \\a]"},
      {"a\\ b", "[a b]"},
      {"a\\\nb", "[ab]"},
      {"x$Ey", "[x]"},
      {"$E", ""},
      {"\"$E\"", "[]"},
      {"''", "[]"},
      {"$U", ""},
      {"$", "[$]"},
      {"a$", "[a$]"},
      {"$1$#$?", "[00]"},
      {"${F%.*}", "[file.tar]"},
      {"${F%%.*}", "[file]"},
      {"${F#*.}", "[tar.gz]"},
      {"${F##*.}", "[gz]"},
      {"${F%.zip}", "[file.tar.gz]"},
      {"${F#\"file\"}", "[.tar.gz]"},
      {"${U%x}", ""},
      {"\"${A% *}\"", "[x ]"},
      {"{a}", "error 2"},
      {"a|b", "error 2"},
      {"a;b", "error 2"},
      {"a&b", "error 2"},
      {"a<b", "error 2"},
      {"a>b", "error 2"},
      {"(a)", "error 2"},
      {"a\nb", "error 2"},
      {"\"a|b;c&(d)\"", "[a|b;c&(d)]"},
      {"'{a}'", "[{a}]"},
      {"\"open", "error 5"},
      {"'open", "error 5"},
      {"a\\", "error 5"},
      {"${A", "error 5"},
      {"${}", "error 5"},
      {"${A!}", "error 5"},
      {"$(echo", "error 5"},
      {"`echo", "error 5"},
  };
  for (const Case& c : kCases) EXPECT_EQ(c.expected, Expand(c.words)) << c.words;
}

TEST_F(WordexpTest, tilde_prefixes) {
  static const Case kCases[] = {
      {"~", "[/home/q]"},
      {"~/x", "[/home/q/x]"},
      {"a~", "[a~]"},
      {"a ~/b", "[a][/home/q/b]"},
      {"\"~\"", "[~]"},
      {"'~'/x", "[~/x]"},
      {"\\~", "[~]"},
      {"~root/x", "[/root/x]"},
      {"~no_such_user_here", "[~no_such_user_here]"},
  };
  for (const Case& c : kCases) EXPECT_EQ(c.expected, Expand(c.words)) << c.words;
  setenv("HOME", "/with space*", 1);
  EXPECT_EQ("[/with space*/d]", Expand("~/d"));  // neither split nor a pattern
}

TEST_F(WordexpTest, field_splitting_on_ifs) {
  static const struct {
    const char* ifs;  // null: unset
    const char* value;
    const char* expected;
  } kCases[] = {
      {nullptr, " a \t b\n", "[a][b]"}, {":", "p:q::r", "[p][q][][r]"}, {":", ":p:", "[][p]"},
      {" :", " p : q  ", "[p][q]"},     {" :", "p::q", "[p][][q]"},     {"", "a b", "[a b]"},
      {"x", "axb c", "[a][b c]"},
  };
  for (const auto& c : kCases) {
    if (c.ifs != nullptr) {
      setenv("IFS", c.ifs, 1);
    } else {
      unsetenv("IFS");
    }
    setenv("V", c.value, 1);
    EXPECT_EQ(c.expected, Expand("$V")) << "IFS '" << (c.ifs ? c.ifs : "(unset)") << "'";
    EXPECT_EQ(std::string("[") + c.value + "]", Expand("\"$V\""));
  }
}

TEST_F(WordexpTest, arithmetic) {
  static const Case kCases[] = {
      {"$((1+2*3))", "[7]"},
      {"$(( (1+2)*3 ))", "[9]"},
      {"$((N*N))", "[49]"},
      {"$(($N-10))", "[-3]"},
      {"$((-7/2)) $((-7%2))", "[-3][-1]"},
      {"$((1<<10))", "[1024]"},
      {"$((0x1f+010))", "[39]"},
      {"$((3>2 && 2>=2))", "[1]"},
      {"$((!0 + ~0))", "[0]"},
      {"$((U+1))", "[1]"},
      {"$((1/0))", "error 5"},
      {"$((1+))", "error 5"},
      {"$((2 3))", "error 5"},
      {"x$((4|1))y", "[x5y]"},
      {"$((7 != 7 || 6 == 6))", "[1]"},
  };
  for (const Case& c : kCases) EXPECT_EQ(c.expected, Expand(c.words)) << c.words;
}

TEST_F(WordexpTest, command_substitution) {
  static const Case kCases[] = {
      {"$(echo hi)", "[hi]"},
      {"`echo hi`", "[hi]"},
      {"$(printf 'a  b\\n\\n\\n')", "[a][b]"},
      {"\"$(printf 'a  b\\n\\n')\"", "[a  b]"},
      {"x$(echo $((2+3)))y", "[x5y]"},
      {"$(echo \"(nested)\")", "[(nested)]"},
      {"$(echo $(echo inner))", "[inner]"},
      {"$(exit 3)", ""},
  };
  for (const Case& c : kCases) EXPECT_EQ(c.expected, Expand(c.words)) << c.words;
  CaptureFd err(2);
  EXPECT_EQ("", Expand("$(echo hidden >&2)"));
  EXPECT_EQ("", Expand("$(echo shown >&2)", kShowErr));
  EXPECT_EQ("shown\n", err.Text());
}

TEST_F(WordexpTest, nocmd_undef_and_showerr) {
  static const struct {
    const char* words;
    int flags;
    const char* expected;
  } kCases[] = {
      {"$(echo hi)", kNoCmd, "error 4"},
      {"`echo hi`", kNoCmd, "error 4"},
      {"\"$(x)\"", kNoCmd, "error 4"},
      {"'$(x)'", kNoCmd, "[$(x)]"},
      {"\\$(x)", kNoCmd, "error 2"},
      {"$((1+1))", kNoCmd, "[2]"},
      {"$U", kUndef, "error 3"},
      {"${U}", kUndef, "error 3"},
      {"${#U}", kUndef, "error 3"},
      {"${U:-ok}", kUndef, "[ok]"},
      {"$E", kUndef, ""},
      {"${U?}", 0, "error 3"},
      {"${E:?}", 0, "error 3"},
      {"${E?}", 0, ""},
  };
  for (const auto& c : kCases) EXPECT_EQ(c.expected, Expand(c.words, c.flags)) << c.words;
  static_assert(kCmdSub == 4 && kBadVal == 3 && kBadChar == 2 && kSyntax == 5);
  CaptureFd err(2);
  EXPECT_EQ("error 3", Expand("${U?no value here}"));
  EXPECT_EQ("error 3", Expand("${U?no value}", kShowErr));
  EXPECT_EQ("error 3", Expand("${U:?}", kShowErr));
  EXPECT_EQ("U: no value\nU: parameter not set\n", err.Text());
}

TEST_F(WordexpTest, pathname_expansion) {
  TempDir dir;
  for (const char* name : {"b.c", "a.c", "c.h", "*.c"}) {
    close(open(dir.Path(name).c_str(), O_CREAT | O_WRONLY, 0600));
  }
  std::string d = dir.path();
  EXPECT_EQ("[" + d + "/*.c][" + d + "/a.c][" + d + "/b.c]", Expand((d + "/*.c").c_str()));
  EXPECT_EQ("[" + d + "/*.c]", Expand((d + "/'*'.c").c_str()));
  EXPECT_EQ("[" + d + "/*.c]", Expand((d + "/\\*.c").c_str()));
  EXPECT_EQ("[" + d + "/c.h]", Expand((d + "/?.h").c_str()));
  EXPECT_EQ("[" + d + "/*.none]", Expand((d + "/*.none").c_str()));
  setenv("G", (d + "/[ab].c").c_str(), 1);
  EXPECT_EQ("[" + d + "/a.c][" + d + "/b.c]", Expand("$G"));
  EXPECT_EQ("[" + d + "/[ab].c]", Expand("\"$G\""));
}

TEST_F(WordexpTest, offsets_append_and_reuse) {
  GuestWordexp we = {};
  we.we_offs = 2;
  ASSERT_EQ(0, Wordexp("a b", &we, kDoOffs));
  ASSERT_EQ(2u, we.we_wordc);
  EXPECT_EQ(nullptr, we.we_wordv[0]);
  EXPECT_EQ(nullptr, we.we_wordv[1]);
  EXPECT_STREQ("a", we.we_wordv[2]);
  EXPECT_STREQ("b", we.we_wordv[3]);
  EXPECT_EQ(nullptr, we.we_wordv[4]);
  ASSERT_EQ(0, Wordexp("c", &we, kDoOffs | kAppend));
  ASSERT_EQ(3u, we.we_wordc);
  EXPECT_EQ(nullptr, we.we_wordv[1]);
  EXPECT_STREQ("b", we.we_wordv[3]);
  EXPECT_STREQ("c", we.we_wordv[4]);
  EXPECT_EQ(nullptr, we.we_wordv[5]);
  ASSERT_EQ(0, Wordexp("d e f g", &we, kDoOffs | kReuse));
  ASSERT_EQ(4u, we.we_wordc);
  EXPECT_STREQ("d", we.we_wordv[2]);
  EXPECT_STREQ("g", we.we_wordv[5]);
  ASSERT_EQ(0, Wordexp("h", &we, kAppend | kDoOffs));
  EXPECT_STREQ("h", we.we_wordv[6]);
  Wordfree(&we);
  EXPECT_EQ(nullptr, we.we_wordv);

  GuestWordexp plain = {};
  plain.we_offs = 5;  // ignored without WRDE_DOOFFS
  ASSERT_EQ(0, Wordexp("one", &plain, 0));
  EXPECT_STREQ("one", plain.we_wordv[0]);
  ASSERT_EQ(kBadChar, Wordexp("two|", &plain, kAppend));
  EXPECT_EQ(1u, plain.we_wordc);  // a failed expansion leaves the words as they were
  Wordfree(&plain);
}

// Word expansion as the shell does it for the arguments of a command, without a shell: tilde,
// parameter, command (through the host's popen) and arithmetic expansion, field splitting on
// IFS, pathname expansion and quote removal.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace kelp_wordexp {

// musl's WRDE_* numbering.
enum Flag {
  kDoOffs = 1,
  kAppend = 2,
  kNoCmd = 4,
  kReuse = 8,
  kShowErr = 16,
  kUndef = 32,
};
enum Error {
  kOk = 0,
  kNoSpace = 1,
  kBadChar = 2,
  kBadVal = 3,
  kCmdSub = 4,
  kSyntax = 5,
};

// A growable NUL-terminated byte string; `failed` latches an allocation failure.
struct Text {
  char* data = nullptr;
  size_t size = 0;
  size_t capacity = 0;
  bool failed = false;
  Text() = default;
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  ~Text();
  void Add(char c);
  void Add(const char* s, size_t n);
  void Clear();
  const char* c_str() const { return data != nullptr ? data : ""; }
  char* Release();  // hands over the heap string (never null unless allocation failed)
};

// The expansion of one input string into fields.
class Expander {
 public:
  explicit Expander(int flags) : flags_(flags) {}
  ~Expander();
  Expander(const Expander&) = delete;
  Expander& operator=(const Expander&) = delete;

  // Expands [begin, end) in place of the source text; returns an Error.
  int Parse(const char* begin, const char* end, bool in_quotes);
  // Ends the input: closes the last field.
  int Finish();

  // Collect mode: no field splitting and no pathname expansion; everything joins into one
  // field, whose literal and pattern forms `Collected` hands back.
  void SetCollect() { collect_ = true; }
  const Text& Collected() const { return value_; }
  const Text& CollectedPattern() const { return pattern_; }

  char** fields() const { return fields_; }
  size_t field_count() const { return count_; }
  char** ReleaseFields(size_t* count);

 private:
  int Dollar(const char** p, const char* end, bool in_quotes);
  int Braced(const char** p, const char* end, bool in_quotes);
  int Substitute(const char* name, size_t name_len, const char* op, const char* word,
                 const char* word_end, bool in_quotes);
  int Command(const char* begin, const char* end, bool backquoted, bool in_quotes);
  int Arithmetic(const char* begin, const char* end, bool in_quotes);
  int Tilde(const char** p, const char* end);
  int ExpandWord(const char* begin, const char* end, Text* literal, Text* pattern);

  void Literal(char c, bool quoted);
  void Result(const char* s, size_t n, bool in_quotes);
  int EndField(bool force);
  int AddField(const char* s);
  int AddMatches();

  int flags_;
  bool collect_ = false;
  Text value_;                // the current field, quotes removed
  Text pattern_;              // the same for pattern matching: quoted pattern characters escaped
  bool started_ = false;      // the current field exists (has bytes or came from quotes)
  bool has_glob_ = false;     // it holds an unquoted pattern character
  bool after_white_ = false;  // IFS white space just ended a field
  char** fields_ = nullptr;
  size_t count_ = 0, capacity_ = 0;
  bool no_space_ = false;
};

// Finds the end of a $( ... ) or ${ ... } body starting at p (just after the opening bracket):
// the matching close, skipping quotes and nested brackets; null when there is none.
const char* MatchingClose(const char* p, const char* end, char open, char close);

// Evaluates a shell arithmetic expression (already expanded); false on a syntax error or a
// division by zero.
bool EvaluateArithmetic(const char* text, int64_t* value);

}  // namespace kelp_wordexp

// Word expansion: the scan of quotes, the special characters, and the expansions introduced by
// '$', '`' and '~'.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "provided/wordexp_internal.h"

namespace kelp_wordexp {

namespace {

bool IsNameStart(char c) { return c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsNameChar(char c) { return IsNameStart(c) || (c >= '0' && c <= '9'); }
bool IsBlank(char c) { return c == ' ' || c == '\t'; }
// Characters the shell would take as operators: not allowed unquoted in words.
bool IsSpecial(char c) { return c != '\0' && strchr("|&;<>(){}\n", c) != nullptr; }

// Skips a quoted run that starts at p (a quote character); returns the closing quote or null.
const char* SkipQuoted(const char* p, const char* end) {
  char quote = *p;
  for (++p; p < end; ++p) {
    if (*p == quote) return p;
    if (quote == '"' && *p == '\\' && p + 1 < end) ++p;
  }
  return nullptr;
}

}  // namespace

const char* MatchingClose(const char* p, const char* end, char open, char close) {
  int depth = 1;
  for (; p < end; ++p) {
    if (*p == '\\') {
      ++p;
    } else if (*p == '\'' || *p == '"') {
      p = SkipQuoted(p, end);
      if (p == nullptr) return nullptr;
    } else if (*p == open) {
      ++depth;
    } else if (*p == close && --depth == 0) {
      return p;
    }
  }
  return nullptr;
}

int Expander::Parse(const char* begin, const char* end, bool in_quotes) {
  bool double_quoted = in_quotes;
  for (const char* p = begin; p < end;) {
    char c = *p;
    int error = kOk;
    if (c == '"') {
      if (!in_quotes) double_quoted = !double_quoted;
      started_ = true;
      ++p;
    } else if (c == '$') {
      error = Dollar(&p, end, double_quoted);
    } else if (c == '`') {
      const char* close = p + 1;
      while (close < end && *close != '`') close += *close == '\\' ? 2 : 1;
      if (close >= end) return kSyntax;
      error = Command(p + 1, close, true, double_quoted);
      p = close + 1;
    } else if (c == '\\') {
      if (p + 1 >= end) return kSyntax;
      bool escapes = !double_quoted || strchr("$`\"\\\n", p[1]) != nullptr;
      if (!escapes) Literal('\\', true);
      if (p[1] != '\n' || !escapes) Literal(p[1], true);
      p += 2;
    } else if (double_quoted) {
      Literal(c, true);
      ++p;
    } else if (c == '\'') {
      const char* close = SkipQuoted(p, end);
      if (close == nullptr) return kSyntax;
      started_ = true;
      for (++p; p < close; ++p) Literal(*p, true);
      ++p;
    } else if (IsBlank(c) && !collect_) {
      error = EndField(false);
      ++p;
    } else if (IsSpecial(c) && !collect_) {
      return kBadChar;
    } else if (c == '~' && (p == begin || IsBlank(p[-1])) && !collect_) {
      error = Tilde(&p, end);
    } else {
      Literal(c, false);
      ++p;
    }
    if (error != kOk) return error;
  }
  return double_quoted && !in_quotes ? kSyntax : kOk;
}

int Expander::Dollar(const char** p, const char* end, bool in_quotes) {
  const char* q = *p + 1;
  if (q < end && *q == '{') return Braced(p, end, in_quotes);
  if (q < end && *q == '(') {
    if (q + 1 < end && q[1] == '(') {
      const char* inner = MatchingClose(q + 2, end, '(', ')');
      if (inner != nullptr && inner + 1 < end && inner[1] == ')') {
        *p = inner + 2;
        return Arithmetic(q + 2, inner, in_quotes);
      }
    }
    const char* close = MatchingClose(q + 1, end, '(', ')');
    if (close == nullptr) return kSyntax;
    *p = close + 1;
    return Command(q + 1, close, false, in_quotes);
  }
  size_t n = 0;
  if (q < end && IsNameStart(*q)) {
    while (q + n < end && IsNameChar(q[n])) ++n;
  } else if (q < end && strchr("0123456789$#?@*!-", *q) != nullptr) {
    n = 1;
  }
  if (n == 0) {  // a lone '$' stands for itself
    Literal('$', in_quotes);
    ++*p;
    return kOk;
  }
  *p = q + n;
  return Substitute(q, n, nullptr, nullptr, nullptr, in_quotes);
}

int Expander::Braced(const char** p, const char* end, bool in_quotes) {
  const char* q = *p + 2;
  const char* close = MatchingClose(q, end, '{', '}');
  if (close == nullptr) return kSyntax;
  *p = close + 1;
  const char* op = nullptr;
  if (*q == '#' && q + 1 < close) {  // ${#name}: the length of the value
    op = "#length";
    ++q;
  }
  size_t n = 0;
  if (IsNameStart(*q)) {
    while (q + n < close && IsNameChar(q[n])) ++n;
  } else if (q < close && strchr("0123456789$#?@*!-", *q) != nullptr) {
    n = 1;
  }
  if (n == 0) return kSyntax;
  const char* rest = q + n;
  if (op != nullptr) {
    return rest == close ? Substitute(q, n, op, nullptr, nullptr, in_quotes) : kSyntax;
  }
  if (rest == close) return Substitute(q, n, nullptr, nullptr, nullptr, in_quotes);
  static const char* const kOperators[] = {":-", ":=", ":+", ":?", "%%", "##",
                                           "-",  "=",  "+",  "?",  "%",  "#"};
  for (const char* candidate : kOperators) {
    size_t len = strlen(candidate);
    if (static_cast<size_t>(close - rest) >= len && strncmp(rest, candidate, len) == 0) {
      return Substitute(q, n, candidate, rest + len, close, in_quotes);
    }
  }
  return kSyntax;
}

int Expander::Command(const char* begin, const char* end, bool backquoted, bool in_quotes) {
  if (flags_ & kNoCmd) return kCmdSub;
  Text command;
  const char kQuiet[] = "exec 2>/dev/null\n";
  if (!(flags_ & kShowErr)) command.Add(kQuiet, sizeof(kQuiet) - 1);
  for (const char* p = begin; p < end; ++p) {
    // Inside backquotes a backslash quotes only '$', '`' and another backslash.
    if (backquoted && *p == '\\' && p + 1 < end && strchr("$`\\", p[1]) != nullptr) ++p;
    command.Add(*p);
  }
  if (command.failed) return kNoSpace;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return kNoSpace;
  Text output;
  char buffer[512];
  size_t n;
  while ((n = fread(buffer, 1, sizeof(buffer), pipe)) > 0) output.Add(buffer, n);
  pclose(pipe);
  if (output.failed) return kNoSpace;
  while (output.size > 0 && output.data[output.size - 1] == '\n') --output.size;
  Result(output.c_str(), output.size, in_quotes);
  return kOk;
}

int Expander::Arithmetic(const char* begin, const char* end, bool in_quotes) {
  Text expression, pattern;
  int error = ExpandWord(begin, end, &expression, &pattern);
  if (error != kOk) return error;
  int64_t value;
  if (!EvaluateArithmetic(expression.c_str(), &value)) return kSyntax;
  char digits[24];
  snprintf(digits, sizeof(digits), "%lld", static_cast<long long>(value));
  Result(digits, strlen(digits), in_quotes);
  return kOk;
}

int Expander::ExpandWord(const char* begin, const char* end, Text* literal, Text* pattern) {
  Expander word(flags_);
  word.SetCollect();
  int error = word.Parse(begin, end, false);
  if (error != kOk) return error;
  literal->Add(word.Collected().c_str(), word.Collected().size);
  pattern->Add(word.CollectedPattern().c_str(), word.CollectedPattern().size);
  return literal->failed || pattern->failed ? kNoSpace : kOk;
}

}  // namespace kelp_wordexp

// Word expansion: shell arithmetic on 64-bit integers. Operators, loosest first:
//   || && | ^ & (== !=) (< <= > >=) (<< >>) (+ -) (* / %) and the unary + - ! ~,
// with parentheses, decimal, octal (leading 0) and hexadecimal (0x) constants, and variable
// names, whose values come from the environment (unset or empty is 0).
#include <stdlib.h>
#include <string.h>

#include "provided/wordexp_internal.h"

namespace kelp_wordexp {

namespace {

class Arith {
 public:
  explicit Arith(const char* text) : p_(text) {}

  bool Evaluate(int64_t* value) {
    *value = Binary(0);
    Skip();
    return ok_ && *p_ == '\0';
  }

 private:
  // Binary operators by precedence level, loosest first.
  struct Op {
    const char* text;
    int level;
  };
  static constexpr Op kOps[] = {
      {"||", 0}, {"&&", 1}, {"==", 5}, {"!=", 5}, {"<=", 6}, {">=", 6},
      {"<<", 7}, {">>", 7}, {"|", 2},  {"^", 3},  {"&", 4},  {"<", 6},
      {">", 6},  {"+", 8},  {"-", 8},  {"*", 9},  {"/", 9},  {"%", 9},
  };
  static constexpr int kLevels = 10;

  void Skip() {
    while (*p_ == ' ' || *p_ == '\t' || *p_ == '\n') ++p_;
  }

  // The operator at the cursor (the longest that fits) if it belongs to `level`.
  const Op* PeekOp(int level) {
    Skip();
    const Op* found = nullptr;
    for (const Op& op : kOps) {
      size_t n = strlen(op.text);
      if (strncmp(p_, op.text, n) == 0 && (found == nullptr || n > strlen(found->text))) {
        found = &op;
      }
    }
    return found != nullptr && found->level == level ? found : nullptr;
  }

  int64_t Apply(const char* op, int64_t a, int64_t b) {
    uint64_t ua = static_cast<uint64_t>(a), ub = static_cast<uint64_t>(b);
    switch (op[0]) {
      case '|':
        return op[1] == '|' ? (a || b) : a | b;
      case '&':
        return op[1] == '&' ? (a && b) : a & b;
      case '^':
        return a ^ b;
      case '=':
        return a == b;
      case '!':
        return a != b;
      case '<':
        if (op[1] == '<') return static_cast<int64_t>(ua << (ub & 63));
        return op[1] == '=' ? a <= b : a < b;
      case '>':
        return op[1] == '>' ? a >> (ub & 63) : (op[1] == '=' ? a >= b : a > b);
      case '+':
        return static_cast<int64_t>(ua + ub);
      case '-':
        return static_cast<int64_t>(ua - ub);
      case '*':
        return static_cast<int64_t>(ua * ub);
      default:
        if (b == 0 || (a == INT64_MIN && b == -1)) {
          ok_ = false;
          return 0;
        }
        return op[0] == '/' ? a / b : a % b;
    }
  }

  int64_t Binary(int level) {
    if (level == kLevels) return Unary();
    int64_t value = Binary(level + 1);
    while (ok_) {
      const Op* op = PeekOp(level);
      if (op == nullptr) break;
      p_ += strlen(op->text);
      value = Apply(op->text, value, Binary(level + 1));
    }
    return value;
  }

  int64_t Unary() {
    Skip();
    char c = *p_;
    if (c == '+' || c == '-' || c == '!' || c == '~') {
      ++p_;
      int64_t v = Unary();
      if (c == '-') return static_cast<int64_t>(0 - static_cast<uint64_t>(v));
      return c == '+' ? v : (c == '!' ? !v : ~v);
    }
    if (c == '(') {
      ++p_;
      int64_t v = Binary(0);
      Skip();
      if (*p_ != ')') ok_ = false;
      ++p_;
      return v;
    }
    return Primary();
  }

  int64_t Constant(const char* text, const char** end) {
    *end = text;
    if (*text < '0' || *text > '9') return 0;
    return static_cast<int64_t>(strtoull(text, const_cast<char**>(end), 0));
  }

  static bool IsLetter(char c) { return c == '_' || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z'); }

  int64_t Primary() {
    const char* start = p_;
    if (IsLetter(*p_)) {
      char name[256];
      size_t n = 0;
      while ((IsLetter(*p_) || (*p_ >= '0' && *p_ <= '9')) && n < sizeof(name) - 1) {
        name[n++] = *p_++;
      }
      name[n] = '\0';
      const char* value = getenv(name);
      if (value == nullptr || *value == '\0') return 0;
      const char* end;
      int64_t v = Constant(value, &end);
      if (end == value || *end != '\0') ok_ = false;
      return v;
    }
    const char* end;
    int64_t v = Constant(p_, &end);
    if (end == start || IsLetter(*end)) ok_ = false;
    p_ = end;
    return v;
  }

  const char* p_;
  bool ok_ = true;
};

}  // namespace

bool EvaluateArithmetic(const char* text, int64_t* value) { return Arith(text).Evaluate(value); }

}  // namespace kelp_wordexp

// getpass without a controlling terminal: the prompt goes to standard error and the line comes
// from standard input. Each case runs in a child in a new session, so that no terminal of the
// test run is ever touched.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "support/adaptor_symbol.h"

namespace {

using GetpassFn = char* (*)(const char*);

std::string ReadAll(int fd) {
  std::string text;
  char buffer[256];
  ssize_t n;
  while ((n = read(fd, buffer, sizeof(buffer))) > 0) text.append(buffer, static_cast<size_t>(n));
  close(fd);
  return text;
}

struct Outcome {
  std::string prompt;  // what reached standard error
  std::string result;  // "(null)" for a null pointer
};

// Runs getpass(prompt) in a child whose standard input holds `input`.
Outcome RunGetpass(const char* prompt, const std::string& input) {
  ADAPTOR_FN(GetpassFn, getpass, "getpass");
  int in[2], err[2], out[2];
  EXPECT_EQ(0, pipe(in));
  EXPECT_EQ(0, pipe(err));
  EXPECT_EQ(0, pipe(out));
  EXPECT_EQ(static_cast<ssize_t>(input.size()), write(in[1], input.data(), input.size()));
  close(in[1]);
  pid_t pid = fork();
  if (pid == 0) {
    setsid();
    dup2(in[0], 0);
    dup2(err[1], 2);
    char* line = getpass(prompt);
    const char* text = line != nullptr ? line : "(null)";
    ssize_t written = write(out[1], text, strlen(text));
    _exit(written < 0);
  }
  close(in[0]);
  close(err[1]);
  close(out[1]);
  Outcome outcome;
  outcome.result = ReadAll(out[0]);
  outcome.prompt = ReadAll(err[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  return outcome;
}

}  // namespace

TEST(getpass, reads_one_line_from_standard_input) {
  static const struct {
    const char* input;
    const char* result;
  } kCases[] = {
      {"secret\nnext line\n", "secret"},
      {"no newline", "no newline"},
      {"\n", ""},
      {"", "(null)"},
      {"tab\tand space \n", "tab\tand space "},
  };
  for (const auto& c : kCases) {
    Outcome outcome = RunGetpass("Password: ", c.input);
    EXPECT_EQ("Password: ", outcome.prompt) << c.input;
    EXPECT_EQ(c.result, outcome.result) << c.input;
  }
}

TEST(getpass, long_lines_keep_their_first_127_bytes) {
  std::string line(300, 'p');
  line[0] = 'A';
  Outcome outcome = RunGetpass("", line + "\nrest\n");
  EXPECT_EQ(line.substr(0, 127), outcome.result);
  EXPECT_EQ("", outcome.prompt);
}

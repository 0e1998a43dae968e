// The login shell list: a file's absolute paths in order, or the platform's shell alone.
#include "provided/usershell.h"

#include <stdio.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace {

std::vector<std::string> ReadAll(const std::string& path) {
  std::vector<std::string> shells;
  kelp_usershell::Rewind();
  for (const char* s; (s = kelp_usershell::Next(path.c_str())) != nullptr;) shells.push_back(s);
  return shells;
}

TEST(usershell, lists_each_absolute_path_of_the_file) {
  TempDir dir;
  std::string path = dir.Path("shells");
  FILE* f = fopen(path.c_str(), "w");
  fputs("# comment\n/bin/sh\n\nrelative/sh\n/bin/bash  # trailing\n", f);
  fputs(("/very/long/" + std::string(5000, 'x') + "\n").c_str(), f);
  fputs("/usr/bin/zsh", f);  // no final newline
  fclose(f);
  std::vector<std::string> expected = {"/bin/sh", "/bin/bash",
                                       "/very/long/" + std::string(4095 - 11, 'x'),
                                       "/usr/bin/zsh"};
  EXPECT_EQ(expected, ReadAll(path));
  EXPECT_EQ(expected, ReadAll(path));  // a rewind starts again
  EXPECT_EQ(nullptr, kelp_usershell::Next(path.c_str()));  // the end stays the end
  kelp_usershell::Rewind();
}

TEST(usershell, without_a_file_the_platform_shell_alone) {
  TempDir dir;
  std::vector<std::string> expected = {"/system/bin/sh"};
  EXPECT_EQ(expected, ReadAll(dir.Path("missing")));
  EXPECT_EQ(expected, ReadAll(dir.Path("missing")));
  kelp_usershell::Rewind();
}

}  // namespace
